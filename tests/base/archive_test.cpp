#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Archiver.h"
#include "base/Coder.h"
#include "base/FileManager.h"
#include "base/Unarchiver.h"

#include "tests/support/ScratchSupport.h"

namespace {

using Base::ArchiveError;
using Base::Archiver;
using Base::TypeInfo;
using Base::Unarchiver;
using Base::FileManager::readFile;

using namespace std::string_literals;

using Strings = std::vector<std::string>;

struct Part {
    std::string name = "unnamed";
    int count = -1;

    void encode(Archiver& archiver) {
        archiver.encode("Name", name);
        archiver.encode("Count", count);
    }
    void decode(Unarchiver& unarchiver) {
        unarchiver.decode("Name", name);
        unarchiver.decode("Count", count);
    }
    bool operator==(const Part&) const = default;
};
using Parts = std::vector<Part>;

struct Machine {
    std::string label = "none";
    bool running = false;
    Parts parts;
    Strings notes;
    Parts spares;

    void encode(Archiver& archiver) {
        archiver.encode("Label", label);
        archiver.encode("Running", running);
        archiver.encodeObject("Parts", &parts, archiver.getCoder(TypeInfo::of<Parts>()));
        archiver.encodeObject("Notes", &notes, archiver.getCoder(TypeInfo::of<Strings>()));
        archiver.encodeObject("Spares", &spares, archiver.getCoder(TypeInfo::of<Parts>()));
    }
    void decode(Unarchiver& unarchiver) {  // not in the order of writing
        unarchiver.decodeObject("Spares", &spares);
        unarchiver.decodeObject("Notes", &notes);
        unarchiver.decode("Running", running);
        unarchiver.decodeObject("Parts", &parts);
        unarchiver.decode("Label", label);
    }
    bool operator==(const Machine&) const = default;
};

Base::Coder<Part> partCoder("Part");
Base::CollectionCoder<Parts> partsCoder("PartList");
Base::Coder<Machine> machineCoder("Machine");

const Machine kMachine = {"Fräse <1> & \"co\"\r\n\tno. 2",
                          true,
                          {{"bolt", 12}, {" \n", -2147483647 - 1}, {"", 2147483647}},
                          {"", " ", "]]>", "nul\0\x1F"s, "\xC3(", "\xEF\xBF\xBF", "&#13;\r"},
                          {}};

void save(const boost::filesystem::path& file, Machine machine) {
    Archiver archiver(file);
    archiver.encodeObject("Machine", &machine, archiver.getCoder(typeid(machine)));
    archiver.finishEncoding();
}

Machine load(const boost::filesystem::path& file) {
    Machine machine;
    EXPECT_EQ(&machine, Unarchiver(file).decodeObject("Machine", &machine));
    return machine;
}

std::string archive(const std::string& body) {
    return "<archive version=\"1\">\n" + body + "</archive>\n";
}

std::string machine(const std::string& members) {
    return archive("<object key=\"Machine\" type=\"Machine\">\n" + members + "</object>\n");
}

class ArchiveTest : public testing::Test {
  protected:
    Support::Scratch scratch;
};

TEST_F(ArchiveTest, FirstFormatVersionIsWrittenAndReadForEver) {
    const boost::filesystem::path file = scratch / "archive";
    save(file, kMachine);
    EXPECT_EQ(readFile(Support::recorded("archive-1.dat")), readFile(file));
    EXPECT_EQ(kMachine, load(Support::recorded("archive-1.dat")));
}

TEST_F(ArchiveTest, ByteStringsSurviveAsKeysAndAsValues) {
    const std::string bytes = "\0\x1\t\n\r \"&'<>];#a=\x7F\x80\xBF\xC2\xE0\xED\xA0\xEF\xF0\xF4\x90\xFF"s;
    Strings strings = {"", std::string(200, '\xC3'), "\xEF\xBB\xBF"};
    for (const char one : bytes) {
        for (const char other : bytes) {
            for (const std::size_t before : {0, 62}) {  // within and across what is looked at in one step
                strings.push_back(std::string(before, 'x') + one + other);
            }
        }
    }
    {
        Archiver archiver(scratch / "archive");
        for (const std::string& text : strings) {
            archiver.encode(text, text + "!" + text);
        }
        archiver.finishEncoding();
    }
    Unarchiver unarchiver(scratch / "archive");
    std::shuffle(strings.begin() + 300, strings.end(), std::mt19937(7));
    for (const std::string& text : strings) {
        std::string value;
        unarchiver.decode(text, value);
        ASSERT_EQ(text + "!" + text, value);
    }
}

TEST_F(ArchiveTest, WhatAFileLacksOrAProgramDoesNotKnowIsSkipped) {
    const auto file = scratch.write(
        "archive",
        "\xEF\xBB\xBF" + machine("<date key=\"New\">x</date><object key=\"Newer\"><date/></object>"
                                 "<object key=\"Notes\" type=\"UnknownList\"><string>n</string></object>"
                                 "<string key=\"Label\">a<!-- & --> b<![CDATA[<&]]>\r\n.</string>\r\n"
                                 "<object key=\"Parts\" type=\"PartList\"><unknown/>"
                                 "<object key=\"any\" type=\"Unknown\"><int key=\"Count\">1</int></object>"
                                 "<object type=\"Part\"><int key=\"Count\"> 5\n</int></object></object>"));
    EXPECT_EQ((Machine{"a b<&\n.", false, {{"unnamed", 5}}, {}, {}}), load(file));

    Unarchiver unarchiver(file);
    Parts parts = {{"kept", 1}};
    EXPECT_EQ(&parts, unarchiver.decodeObject("Absent", &parts));
    EXPECT_EQ((Parts{{"kept", 1}}), parts);
    Machine more;
    more.parts = parts;
    unarchiver.decodeObject("Machine", &more);
    EXPECT_EQ((Parts{{"kept", 1}, {"unnamed", 5}}), more.parts) << "lists are appended to";
    const Machine* created = unarchiver.decodeObject<Machine>("Machine", nullptr);
    ASSERT_NE(nullptr, created);
    EXPECT_EQ(1U, created->parts.size());

    // A copy is kept of each that was not read whole, which the first of these was.
    const std::string label = "<string key='Label'>x</string>";
    std::vector<std::string> contents = {
        machine(label), archive("<object key='Machine' type='Machine'/><int key='New'>1</int>")};
    for (const std::string extra :
         {"<int key='New'>1</int>", "<object key='Parts' type='PartList'><unknown/></object>",
          "<object key='Parts' type='PartList'><object type='Unknown'/></object>",
          "<object key='Parts' type='UnknownList'/>"}) {
        contents.push_back(machine(label + extra));
        contents.push_back(machine(extra + label));
    }
    save(file, kMachine);
    for (const std::string& content : contents) {
        boost::filesystem::remove(scratch / "archive.damaged");
        load(scratch.write("archive", content));
        save(file, kMachine);
        EXPECT_EQ(&content != &contents.front(), exists(scratch / "archive.damaged")) << content;
    }
}

TEST_F(ArchiveTest, DamageIsToldWithFileLineAndKeyAndKept) {
    std::string many;  // which take minutes when each is compared with each
    for (int i = 0; i < 400'000; ++i) {
        many += " a" + std::to_string(i) + "=''";
    }
    const struct {
        std::string content;
        int line;
        std::string key;
        std::string reason;
    } cases[] = {
        {"", 0, "", "empty"},
        {"Name=x\n", 1, "", "outside of the root"},
        {"<settings/>", 1, "", "expected an archive, found 'settings'"},
        {"<archive version='1x'/>", 1, "", "no format version"},
        {"\n<archive version='2'/>", 2, "", "newer format version 2"},
        {machine("<string key='Label'>x\n</String>"), 4, "", "damaged file"},
        {machine("<string key='Label'>\n&auml;</string>"), 4, "", "\"&\" begins no"},
        {machine("<string key='Label'>\n&#xD800;</string>"), 4, "", "\"&\" begins no"},
        {machine("\n<string key='Label'>\xC3\xA4 \xE4</string>"), 4, "", "not UTF-8"},
        {machine("<string key='Label'>\0</string>"s), 3, "", "control character"},
        {"<?xml version='1.0' encoding='latin1'?>" + machine(""), 1, "", "encoding is latin1"},
        {machine("<int key='Label'>1</int>"), 3, "Label", "expected a string, found an integer"},
        {machine("<string key='Label'>a<b/></string>"), 3, "Label", "found other elements"},
        {machine("<bytes key='Label'>QQ==QQ==</bytes>"), 3, "Label", "no base64"},
        {machine("<string>no key</string>"), 3, "", "a string without a key"},
        {machine("<string key='New' a='1' a='2'/>"), 3, "New", "an attribute stands twice"},
        {machine("<string key='New'" + many + " a0=''/>"), 3, "New", "an attribute stands twice"},
        {machine("<object key='Parts' type='PartList'>\n<object type='Part' type='Part'/></object>"), 4, "",
         "an attribute stands twice"},
        {machine("<object key64='UA==' type64='AA=='><int/></object>\n<string key64='UA==' type='x'/>"), 4,
         "P", "stands twice"},
        {machine("<object type64='AVA='/>"), 3, "", "an object of type '\\x01P' without a key"},
        {machine("text"), 2, "Machine", "text between"},
        {machine("<bool key='Running'>yes</bool>"), 3, "Running", "expected true or false, found 'yes'"},
        {machine("<object key='Parts'/>"), 3, "Parts", "an object without a type"},
        {machine("<object key='Parts' type='PartList'>\n<object type='Part'><string key='Name'/>"
                 "<int key='Count'>1</int>\n<int key='Count'>2</int></object></object>"),
         5, "Count", "stands twice"},
    };
    const auto file = scratch / "archive";
    for (const auto& [content, line, key, reason] : cases) {
        scratch.write("archive", content);
        try {
            load(file);
            ADD_FAILURE() << "no error: " << content;
        } catch (const ArchiveError& error) {
            const std::string message = error.what();
            EXPECT_EQ(line, error.line()) << message;
            EXPECT_EQ(key, error.key()) << message;
            const std::string where =
                Base::FileManager::native(file) + (line ? ":" + std::to_string(line) : "");
            EXPECT_TRUE(message.starts_with(where + ": ")) << message;
            EXPECT_NE(std::string::npos, message.find(reason)) << message << "\nexpected: " << reason;
        }
    }
    for (const std::string number : {"2147483648", "-2147483649", "", "1 2", "0x1", "1.0", "+1"}) {
        Unarchiver unarchiver(scratch.write("archive", archive("<int key='N'>" + number + "</int>")));
        int target = 7;
        EXPECT_THROW(unarchiver.decode("N", target), ArchiveError) << number;
        EXPECT_EQ(7, target);
    }
    EXPECT_THROW(load(scratch / "absent"), ArchiveError);
}

TEST_F(ArchiveTest, DepthCostsNoStack) {
    std::string open;
    std::string close;
    for (int i = 0; i < 300000; ++i) {  // more than any stack has frames for
        open += "<object key='Parts' type='PartList'>";
        close += "</object>";
    }
    const std::string unknown = "<object key='New'>" + open + close + "</object>";
    EXPECT_EQ("x", load(scratch.write("archive", machine(unknown + "<string key='Label'>x</string>"))).label);
    EXPECT_THROW(load(scratch.write("archive", machine(open + close))), ArchiveError);
    EXPECT_THROW(load(scratch.write("archive", archive(open))), ArchiveError);
}

TEST_F(ArchiveTest, MisuseIsRefused) {
    EXPECT_THROW(Base::Coder<Machine>("Other name"), std::logic_error);
    EXPECT_THROW(Base::CollectionCoder<std::vector<Machine>>("Machine"), std::logic_error);

    Archiver archiver(scratch / "archive");
    EXPECT_THROW(archiver.getCoder(TypeInfo::of<std::vector<int>>()), ArchiveError);
    archiver.prepareCollection();
    EXPECT_THROW(archiver.finishEncoding(), std::logic_error);
    EXPECT_FALSE(boost::filesystem::exists(scratch / "archive"));
    EXPECT_THROW(Unarchiver(Support::recorded("archive-1.dat")).endContainer(), std::logic_error);
}

}  // namespace
