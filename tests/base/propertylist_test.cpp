#include "base/PropertyList.h"

#include <string>

#include <boost/smart_ptr/make_shared.hpp>
#include <gtest/gtest.h>

#include "base/FileManager.h"
#include "base/PropertyListFormat.h"

#include "tests/support/ScratchSupport.h"

namespace {

using Base::PropertyList;
using Base::PropertyListError;
using Base::FileManager::readFile;
using Dictionary = PropertyList::Dictionary;
using Array = PropertyList::Array;
using boost::filesystem::path;
using namespace std::string_literals;

void save(const path& file, const boost::any& root) {
    PropertyList(file, boost::make_shared<boost::any>(root)).saveList();
}

// What is written for the value that is read.
std::string rewritten(const path& file) {
    return Base::writePropertyList(*PropertyList(file).list());
}

std::string plist(const std::string& body) {
    return "<plist version='1.0'>\n" + body + "</plist>\n";
}

class PropertyListTest : public testing::Test {
  protected:
    Support::Scratch scratch;
};

// A list of values of every kind, as this library and other tools wrote it. That a value of any type comes
// back is told by the fuzzer "property_list".
TEST_F(PropertyListTest, FilesOfOtherToolsAreReadAndTheTextThatTheyAcceptedIsWritten) {
    const std::string own = readFile(Support::recorded("own.plist"));
    EXPECT_EQ(own, rewritten(Support::recorded("own.plist")));
    EXPECT_EQ(own, rewritten(Support::recorded("plistlib.plist")));
    auto root = boost::any_cast<Dictionary>(*PropertyList(Support::recorded("own.plist")).list());
    ASSERT_EQ(1U, root.erase("special"));  // numbers that plistutil does not know
    save(scratch / "list", root);
    EXPECT_EQ(readFile(scratch / "list"), rewritten(Support::recorded("plistutil.plist")));
}

TEST_F(PropertyListTest, FormsThatOthersMayWriteAreRead) {
    const std::pair<std::string, std::string> cases[] = {
        {"<integer> 0x1F\n</integer>", "<integer>31</integer>"},
        {"<integer>-0</integer>", "<integer>0</integer>"},
        {"<integer>+5</integer>", "<integer>5</integer>"},
        {"<real> +1e3 </real>", "<real>1000</real>"},
        {"<real>-INF</real>", "<real>-inf</real>"},
        {"<data>\n\tY W\r\nJj\n</data>", "<data>\nYWJj\n</data>"},
        {"<true></true>", "<true/>"},
        {"<date> 1-01-01T00:00:00Z\n</date>", "<date>1-01-01T00:00:00Z</date>"},
        {"<string>a<![CDATA[<b>]]><!-- x -->\r\nc&#xE4;&#13;</string>",
         "<string>a&lt;b&gt;\nc\xC3\xA4&#13;</string>"},
        {"<dict><key>a</key><true/><key>a</key><false/></dict>",
         "<dict>\n\t<key>a</key>\n\t<false/>\n</dict>"},
    };
    for (const auto& [text, value] : cases) {
        const std::string written = rewritten(scratch.write("list", plist(text)));
        EXPECT_TRUE(written.ends_with("\n<plist version=\"1.0\">\n" + value + "\n</plist>\n")) << written;
    }
}

TEST_F(PropertyListTest, DamageIsToldWithFileLineAndReasonAndKept) {
    const struct {
        std::string content;
        int line;
        std::string reason;
    } cases[] = {
        {"bplist00", 0, "binary property list"},
        {"\xFF\xFE<\0p\0"s, 1, "UTF-16"},
        {"<dict/>", 1, "expected a property list, found <dict>"},
        {"<plist/>", 1, "exactly one value"},
        {plist("<true/>\n<true/>"), 1, "exactly one value"},
        {plist("a"), 1, "no text in <plist>"},
        {plist("<string>a<b/></string>"), 2, "expected text only in <string>"},
        {plist("<set/>"), 2, "<set> is no value"},
        {plist("<dict>\n<true/></dict>"), 3, "expected <key>, found <true>"},
        {plist("<dict>\n<key>a</key></dict>"), 3, "the key 'a' has no value"},
        {plist("<dict>\n<key>a</key><key>b</key><true/></dict>"), 3, "the key 'a' has no value"},
        {plist("<array>text</array>"), 2, "no text in <array>"},
        {plist("<true>yes</true>"), 2, "no text in <true>"},
        {plist("<integer>1.5</integer>"), 2, "expected an integer, found '1.5'"},
        {plist("<integer>0x</integer>"), 2, "expected an integer"},
        {plist("<integer>18446744073709551616</integer>"), 2, "does not fit"},
        {plist("<integer>-9223372036854775809</integer>"), 2, "does not fit"},
        {plist("<real>1,5</real>"), 2, "expected a real number"},
        {plist("<data>YW</data>"), 2, "no base64"},
        {plist("<date>2024</date>"), 2, "expected a date"},
    };
    const path file = scratch / "list";
    for (const auto& [content, line, reason] : cases) {
        scratch.write("list", content);
        try {
            rewritten(file);
            ADD_FAILURE() << "no error: " << content;
        } catch (const PropertyListError& error) {
            const std::string message = error.what();
            EXPECT_EQ(line, error.line()) << message;
            EXPECT_EQ(0U, message.find(Base::FileManager::native(file) +
                                       (line ? ":" + std::to_string(line) : "") + ": "));
            EXPECT_NE(std::string::npos, message.find(reason)) << message << "\nexpected: " << reason;
        }
    }
    EXPECT_THROW(PropertyList(scratch / ""), PropertyListError) << "a folder was read";
}

TEST_F(PropertyListTest, NestingIsBounded) {
    const auto nested = [](int depth) {
        boost::any value = true;
        for (int i = 0; i < depth; ++i) {
            Array array(1);
            array.front().swap(value);
            value = std::move(array);
        }
        return value;
    };
    save(scratch / "list", nested(512));
    EXPECT_EQ(readFile(scratch / "list"), rewritten(scratch / "list"));
    EXPECT_THROW(save(scratch / "list", nested(513)), PropertyListError);
    std::string deep = "<true/>";
    for (int i = 0; i < 513; ++i) {
        deep = "<array>" + deep + "</array>";
    }
    EXPECT_THROW(rewritten(scratch.write("list", plist(deep))), PropertyListError);
}

TEST_F(PropertyListTest, WhatTheFormatCannotCarryIsNotWritten) {
    const std::pair<boost::any, std::string> cases[] = {
        {std::string("\x1B"), "control character"}, {std::string("\xED\xA0\x80"), "not UTF-8"},
        {PropertyList::Date{"now"}, "no date"},     {boost::any(), "no value"},
        {'c', "cannot stand in a property list"},   {Dictionary{{"\x7F\x80", true}}, "not UTF-8"},
    };
    for (const auto& [value, reason] : cases) {
        try {
            save(scratch / "list", Dictionary{{"outer", Array{true, Dictionary{{"inner", value}}}}});
            ADD_FAILURE() << "written: " << reason;
        } catch (const PropertyListError& error) {
            const std::string message = error.what();
            EXPECT_NE(std::string::npos, message.find("key 'outer/1/inner")) << message;
            EXPECT_NE(std::string::npos, message.find(reason)) << message;
        }
    }
    EXPECT_THROW(PropertyList(scratch / "list", nullptr).saveList(), PropertyListError);
    EXPECT_FALSE(boost::filesystem::exists(scratch / "list"));
}

TEST_F(PropertyListTest, PropertiesAreSetInTheRootDictionary) {
    const path file = scratch / "a $HOME of ${ITS.plist";  // taken as it stands
    PropertyList list(file);
    EXPECT_EQ(nullptr, list.list());
    EXPECT_FALSE(list.hasProperty("Type"));
    EXPECT_TRUE(list.getProperty("Type").empty());
    list.setProperty("Type", std::string("Production"));
    list.setProperty("Type", std::string("Test"));
    list.saveList();
    EXPECT_EQ("Test", boost::any_cast<std::string>(PropertyList(file).getProperty("Type")));
    list.setList(boost::make_shared<boost::any>(Array()));
    EXPECT_THROW(list.setProperty("Type", true), PropertyListError);
    EXPECT_FALSE(list.hasProperty("Type"));
}

}  // namespace
