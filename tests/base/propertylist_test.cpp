#include "base/PropertyList.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include <boost/smart_ptr/make_shared.hpp>
#include <gtest/gtest.h>

#include "tests/support/ScratchSupport.h"

namespace {

using Base::PropertyList;
using Base::PropertyListError;
using Dictionary = PropertyList::Dictionary;
using Array = PropertyList::Array;
using boost::filesystem::path;
using namespace std::string_literals;

const double kInfinity = std::numeric_limits<double>::infinity();

// A value with its type, so that two values can be compared and a difference be seen.
std::string show(const boost::any& any) {
    const auto number = [](const char* type, auto value) { return type + (' ' + std::to_string(value)); };
    if (const auto* dictionary = boost::any_cast<Dictionary>(&any)) {
        std::string text = "{";
        for (const auto& [key, value] : *dictionary) {
            text += "\n" + key + ": " + show(value);
        }
        return text + "}";
    }
    if (const auto* array = boost::any_cast<Array>(&any)) {
        std::string text = "[";
        for (const boost::any& value : *array) {
            text += show(value) + ", ";
        }
        return text + "]";
    }
    if (const auto* text = boost::any_cast<std::string>(&any)) {
        return "'" + *text + "'";
    }
    if (const auto* bytes = boost::any_cast<std::vector<char>>(&any)) {
        return "data " + std::string(bytes->begin(), bytes->end());
    }
    if (const auto* date = boost::any_cast<PropertyList::Date>(&any)) {
        return "date " + date->text;
    }
    if (const auto* value = boost::any_cast<bool>(&any)) {
        return *value ? "true" : "false";
    }
    if (const auto* value = boost::any_cast<double>(&any)) {
        char digits[32];
        std::snprintf(digits, sizeof digits, "real %.17g", *value);
        return std::isnan(*value) ? "nan" : digits;
    }
    if (const auto* value = boost::any_cast<unsigned int>(&any)) {
        return number("unsigned", *value);
    }
    if (const auto* value = boost::any_cast<int>(&any)) {
        return number("int", *value);
    }
    if (const auto* value = boost::any_cast<long long>(&any)) {
        return number("long long", *value);
    }
    if (const auto* value = boost::any_cast<unsigned long long>(&any)) {
        return number("unsigned long long", *value);
    }
    return std::string("? ") + any.type().name();
}

Dictionary everything() {
    std::string allBytes;
    for (int i = 0; i < 256; ++i) {
        allBytes += static_cast<char>(i);
    }
    const auto data = [](const std::string& bytes) { return std::vector<char>(bytes.begin(), bytes.end()); };
    return {
        {"", std::string()},
        {"Bl\xC3\xA4nke <&>\"' \xF0\x9F\x94\xA7", std::string(" \xC3\xA4 ]]> <&amp;> \"'\n\t ")},
        {"blanks", std::string("  \n")},
        {"dates",
         Array{PropertyList::Date{"2024-02-29T23:59:59Z"}, PropertyList::Date{"1999-12-31T00:00:00Z"}}},
        {"data", Array{data(""), data("a"), data("ab"), data("abc"), data(allBytes)}},
        {"integers", Array{0U, 1U, 4294967295U, 4294967296LL, -1, -2147483647 - 1, -2147483649LL,
                           std::numeric_limits<long long>::max(), std::numeric_limits<long long>::min()}},
        {"large", 18446744073709551615ULL},
        {"nested",
         Dictionary{{"empty", Dictionary()}, {"list", Array{Array(), Dictionary()}}, {"yes", true}}},
        {"no", false},
        {"reals", Array{0.5, -0.1, 1e300, 3.0, 5e-324}},
        {"special", Array{kInfinity, -kInfinity, std::nan("")}},
    };
}

void save(const path& file, const boost::any& root) {
    PropertyList(file, boost::make_shared<boost::any>(root)).saveList();
}

std::string load(const path& file) {
    const PropertyList list(file);
    return list.list() ? show(*list.list()) : "no root";
}

std::string plist(const std::string& body) {
    return "<plist version='1.0'>\n" + body + "</plist>\n";
}

class PropertyListTest : public testing::Test {
  protected:
    // Runs a program that is quiet when all is well; false when it cannot be run or fails.
    static bool run(const std::string& command) { return std::system(command.c_str()) == 0; }

    Support::Scratch scratch;
};

TEST_F(PropertyListTest, EveryKindOfValueComesBack) {
    Dictionary root = everything();
    root["carriage"] = std::string("\r\n \r");
    save(scratch / "list", root);
    EXPECT_EQ(show(root), load(scratch / "list"));
    for (const boost::any& other : {boost::any(Array{1U}), boost::any(std::string(" ")), boost::any(false)}) {
        save(scratch / "list", other);
        EXPECT_EQ(show(other), load(scratch / "list"));
    }
}

TEST_F(PropertyListTest, RecordedFilesOfOtherToolsAreRead) {
    EXPECT_EQ(show(everything()), load(Support::recorded("plistlib.plist")));
    Dictionary root = everything();
    root.erase("special");
    EXPECT_EQ(show(root), load(Support::recorded("plistutil.plist")));
}

TEST_F(PropertyListTest, TheWrittenTextIsTheOneThatOtherToolsWereShown) {
    save(scratch / "list", everything());
    EXPECT_EQ(Support::bytesOf(Support::recorded("own.plist")), Support::bytesOf(scratch / "list"));
}

// The judges are programs of the host; the recorded files above carry their verdict to Windows.
class PropertyListJudge : public PropertyListTest {};

TEST_F(PropertyListJudge, PlistlibReadsWhatIsWrittenAndWritesWhatIsRead) {
    ASSERT_TRUE(run("python3 --version"));
    Dictionary root = everything();
    root["carriage"] = std::string("\r\n \r");
    save(scratch / "list", root);
    const path script = scratch.write("judge.py",
                                      "import plistlib, sys\n"
                                      "with open(sys.argv[1], 'rb') as f: root = plistlib.load(f)\n"
                                      "root['carriage'] = root['carriage'].replace('\\r', '(CR)')\n"
                                      "with open(sys.argv[2], 'wb') as f: plistlib.dump(root, f)\n");
    ASSERT_TRUE(run("python3 " + script.string() + " " + (scratch / "list").string() + " " +
                    (scratch / "answer").string()));
    root["carriage"] = std::string("(CR)\n (CR)");
    EXPECT_EQ(show(root), load(scratch / "answer"));
}

TEST_F(PropertyListJudge, LibplistReadsWhatIsWrittenAndWritesWhatIsRead) {
    ASSERT_TRUE(run("plistutil --version"));
    Dictionary root = everything();
    root.erase("special");
    save(scratch / "list", root);
    const auto convert = [&](const char* from, const char* to) {
        return run("plistutil -i " + (scratch / from).string() + " -o " + (scratch / to).string());
    };
    ASSERT_TRUE(convert("list", "binary"));
    ASSERT_TRUE(convert("binary", "answer"));
    EXPECT_EQ(show(root), load(scratch / "answer"));
    try {
        load(scratch / "binary");
        ADD_FAILURE() << "a binary property list was read";
    } catch (const PropertyListError& error) {
        EXPECT_NE(std::string::npos, std::string(error.what()).find("binary property list")) << error.what();
    }
}

TEST_F(PropertyListTest, FormsThatOthersMayWriteAreRead) {
    const std::pair<std::string, std::string> cases[] = {
        {"<integer> 0x1F\n</integer>", "unsigned 31"},
        {"<integer>-0</integer>", "unsigned 0"},
        {"<integer>+5</integer>", "unsigned 5"},
        {"<real> +1e3 </real>", "real 1000"},
        {"<real>-INF</real>", "real -inf"},
        {"<data>\n\tY W\r\nJj\n</data>", "data abc"},
        {"<true></true>", "true"},
        {"<date> 1-01-01T00:00:00Z\n</date>", "date 1-01-01T00:00:00Z"},
        {"<string>a<![CDATA[<b>]]><!-- x -->\r\nc&#xE4;</string>", "'a<b>\nc\xC3\xA4'"},
        {"<dict><key>a</key><true/><key>a</key><false/></dict>", "{\na: false}"},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(value, load(scratch.write("list", plist(text)))) << text;
    }
}

TEST_F(PropertyListTest, DamageIsToldWithFileLineAndReason) {
    const struct {
        std::string content;
        int line;
        std::string reason;
    } cases[] = {
        {"", 0, "empty"},
        {"bplist00", 0, "binary property list"},
        {"\xFF\xFE<\0p\0"s, 1, "UTF-16"},
        {"{ a = b; }", 1, "outside of the root"},
        {"<dict/>", 1, "expected a property list, found <dict>"},
        {"<plist/>", 1, "exactly one value"},
        {plist("<true/>\n<true/>"), 1, "exactly one value"},
        {plist("a"), 1, "no text in <plist>"},
        {plist("<true>\n"), 3, "damaged file"},
        {plist("<string>\xE4</string>"), 2, "not UTF-8"},
        {plist("<string>\0</string>"s), 2, "control character"},
        {plist("<string>&nbsp;</string>"), 2, "\"&\" begins no"},
        {plist("<string>a<b/></string>"), 2, "expected text only in <string>"},
        {plist("<set/>"), 2, "<set> is no value"},
        {plist("<dict>\n<true/></dict>"), 3, "expected <key>, found <true>"},
        {plist("<dict>\n<key>a</key></dict>"), 3, "the key 'a' has no value"},
        {plist("<dict>\n<key>a</key><key>b</key><true/></dict>"), 3, "the key 'a' has no value"},
        {plist("<dict>text</dict>"), 2, "no text in <dict>"},
        {plist("<array>text</array>"), 2, "no text in <array>"},
        {plist("<array><key>a</key></array>"), 2, "<key> is no value"},
        {plist("<true>yes</true>"), 2, "no text in <true>"},
        {plist("<dict><key>a</key>\n<true a='1' a='1'/></dict>"), 3, "an attribute stands twice"},
        {plist("<integer/>"), 2, "expected an integer, found ''"},
        {plist("<integer>1.5</integer>"), 2, "expected an integer, found '1.5'"},
        {plist("<integer>--1</integer>"), 2, "expected an integer"},
        {plist("<integer>0x</integer>"), 2, "expected an integer"},
        {plist("<integer>18446744073709551616</integer>"), 2, "does not fit"},
        {plist("<integer>-9223372036854775809</integer>"), 2, "does not fit"},
        {plist("<real>1,5</real>"), 2, "expected a real number"},
        {plist("<data>YW</data>"), 2, "no base64"},
        {plist("<data>Y*Jj</data>"), 2, "no base64"},
        {plist("<date>yesterday</date>"), 2, "expected a date"},
        {plist("<date>2024</date>"), 2, "expected a date"},
    };
    for (const auto& [content, line, reason] : cases) {
        const path file = scratch.write("list", content);
        try {
            load(file);
            ADD_FAILURE() << "no error: " << content;
        } catch (const PropertyListError& error) {
            const std::string message = error.what();
            EXPECT_EQ(line, error.line()) << message;
            EXPECT_EQ(0U, message.find(file.string() + (line ? ":" + std::to_string(line) : "") + ": "));
            EXPECT_NE(std::string::npos, message.find(reason)) << message << "\nexpected: " << reason;
        }
    }
    const std::string damaged = Support::bytesOf(scratch / "list");
    save(scratch / "list", true);
    EXPECT_EQ(damaged, Support::bytesOf(scratch / "list.damaged"));
    EXPECT_THROW(load(scratch / ""), PropertyListError) << "a folder was read";
}

TEST_F(PropertyListTest, ACutOrChangedFileIsReadWholeOrNotAtAll) {
    const std::string whole = Support::bytesOf(Support::recorded("plistlib.plist"));
    ASSERT_FALSE(whole.empty());
    for (std::size_t size = 0; size + 1 < whole.size(); size += size < 300 ? 1 : 7) {
        EXPECT_THROW(load(scratch.write("list", whole.substr(0, size))), PropertyListError) << size;
    }
    int errors = 0;
    for (std::size_t at = 0; at < whole.size(); at += 3) {
        std::string changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ (1 << at % 8));
        try {
            load(scratch.write("list", changed));
        } catch (const PropertyListError&) {
            ++errors;
        }
    }
    EXPECT_GT(errors, static_cast<int>(whole.size() / 12));
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
    EXPECT_EQ(show(nested(512)), load(scratch / "list"));
    EXPECT_THROW(save(scratch / "list", nested(513)), PropertyListError);
    std::string open;
    std::string close;
    for (int i = 0; i < 10000; ++i) {
        open += "<array>";
        close += "</array>";
    }
    EXPECT_THROW(load(scratch.write("list", plist(open + close))), PropertyListError);
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

    list.setFile(scratch / "other.plist");
    list.saveList();
    EXPECT_EQ(Support::bytesOf(file), Support::bytesOf(scratch / "other.plist"));
    list.setList(boost::make_shared<boost::any>(Array()));
    EXPECT_THROW(list.setProperty("Type", true), PropertyListError);
    EXPECT_FALSE(list.hasProperty("Type"));
}

}  // namespace
