#include "base/CommandLine.h"

#include <random>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

using namespace Base::CommandLine;
using Strings = std::vector<std::string>;

// Splits as the C run-time does since 2008; the program's name comes first.
Strings split(const std::string& line) {
    Strings words;
    std::size_t i = 0;
    while (i < line.size()) {
        std::string word;
        bool quoted = false;
        for (; i < line.size() && (quoted || (line[i] != ' ' && line[i] != '\t')); ++i) {
            std::size_t backslashes = 0;
            for (; !words.empty() && line[i] == '\\'; ++i) {
                ++backslashes;
            }
            const bool quote = line[i] == '"';
            word.append(quote ? backslashes / 2 : backslashes, '\\');
            if (quote && backslashes % 2 == 1) {
                word += '"';
            } else if (quote && quoted && !words.empty() && line[i + 1] == '"') {
                word += '"';
                ++i;
            } else if (quote) {
                quoted = !quoted;
            } else if (i < line.size() && (quoted || (line[i] != ' ' && line[i] != '\t'))) {
                word += line[i];
            } else {
                break;
            }
        }
        words.push_back(word);
        i = std::min(line.find_first_not_of(" \t", i), line.size());
    }
    return words;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// Where cmd.exe looks for operators: what stands outside of double quotes.
std::string outsideQuotes(const std::string& line) {
    std::string outside;
    bool quoted = false;
    for (const char c : line) {
        quoted = quoted != (c == '"');
        outside += quoted || c == '"' ? "" : std::string(1, c);
    }
    return quoted ? outside + "&" : outside;
}

TEST(CommandLine, EveryArgumentComesBackByteForByte) {
    std::mt19937 random(7);
    const Strings pieces = {"a", " ",        "\t", "\"", "\\",    "\\\"", "%",
                            "&", "\xC3\xA4", "'",  "^",  "%VAR%", "|",    "\\\\"};
    const auto below = [&](std::size_t end) { return static_cast<std::size_t>(random() % end); };
    for (int round = 0; round < 1000; ++round) {
        Strings arguments(below(6));
        for (std::string& argument : arguments) {
            for (std::size_t i = below(8); i > 0; --i) {
                argument += pieces[below(pieces.size())];
            }
        }
        Strings expected = {"C:\\a b\\p.exe"};
        expected.insert(expected.end(), arguments.begin(), arguments.end());
        EXPECT_EQ(split(programCommandLine(expected[0], arguments)), expected);

        const std::string begin = R"("C:\cmd.exe" /d /e:ON /v:OFF /c ")";
        const std::string line = batchCommandLine("C:\\cmd.exe", "C:\\a b\\100%.bat", arguments);
        ASSERT_EQ(line.substr(0, begin.size()), begin);
        ASSERT_EQ(line.back(), '"');
        const std::string command = line.substr(begin.size(), line.size() - begin.size() - 1);
        EXPECT_EQ(outsideQuotes(command).find_first_of("&|<>^()%!,;=\t"), std::string::npos) << line;
        expected[0] = "C:\\a b\\100%.bat";
        const std::string expanded = replaced(command, "%%cd:~,%", "%");
        EXPECT_EQ(split(expanded), expected) << line;
        EXPECT_EQ(replaced(command, "%%cd:~,%", "").find('%'), std::string::npos) << line;
    }
}

TEST(CommandLine, RefusesWhatCannotBePassed) {
    const Strings bad = {std::string("a\0b", 3), "\xFF", "\xC3"};
    for (const std::string& argument : bad) {
        EXPECT_THROW(programCommandLine("p", {"x", argument}), Base::TaskError);
        EXPECT_THROW(programCommandLine(argument, {}), Base::TaskError);
        EXPECT_THROW(batchCommandLine("c", "s.bat", {argument}), Base::TaskError);
        EXPECT_THROW(batchCommandLine("c", argument + ".bat", {}), Base::TaskError);
    }
    for (const std::string& argument : Strings{"a\nb", "\r"}) {
        EXPECT_THROW(batchCommandLine("c", "s.bat", {argument}), Base::TaskError);
        EXPECT_NO_THROW(programCommandLine("p", {argument}));
    }
    EXPECT_THROW(programCommandLine("a\"b", {}), Base::TaskError);
    for (const std::string& script :
         Strings{"a\"b.bat", "s.bat\\", "s.bat.", "s.bat ", "s.bat::$DATA", "a\n.bat", "s.exe"}) {
        EXPECT_THROW(batchCommandLine("c", script, {}), Base::TaskError) << script;
    }

    // The limits are counted in UTF-16 units: a character beyond the first plane has two of them and four
    // bytes.
    const std::string wide = "\xF0\x9F\x98\x80";
    const std::size_t head = std::string("\"p\" ").size();
    EXPECT_NO_THROW(programCommandLine("p", {replaced(std::string(16381, 'x'), "x", wide)}));
    EXPECT_THROW(programCommandLine("p", {std::string(32767 - head, 'x')}), Base::TaskError);
    EXPECT_NO_THROW(programCommandLine("p", {std::string(32766 - head, 'x')}));
    const auto batch = [](std::size_t units) {
        const std::string line = R"("c" /d /e:ON /v:OFF /c ""s.bat" ")";
        return batchCommandLine("c", "s.bat", {std::string(units - line.size(), 'x')});
    };
    EXPECT_EQ(batch(8190).size(), 8190U);
    EXPECT_THROW(batch(8191), Base::TaskError);

    // A message is UTF-8 in one line, however bad the text and wherever it is cut.
    const auto message = [](const std::string& argument) -> std::string {
        try {
            programCommandLine("p", {argument});
        } catch (const Base::TaskError& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_EQ(message("a\n\xC3\xA4\xFF\xE2\x82\x01"),
              "The argument \"a\\x0A\xC3\xA4\\xFF\\xE2\\x82\\x01\" cannot be passed to a program: it is not "
              "UTF-8.");
    for (const char* begin : {"", "x", "xx", "xxx"}) {
        const std::string text = message(begin + replaced(std::string(20000, 'x'), "x", wide));
        EXPECT_EQ(text.find("\\x"), std::string::npos) << text;
        EXPECT_EQ(text.substr(text.size() - 7), wide + "...");
    }
}

TEST(CommandLine, NothingHidesTheExtensionOfABatchFile) {
    for (const std::string& path :
         Strings{"x.bat", "C:\\d\\x.CMD", "x.BaT.", "x.cmd ", "x.bat . .", "x.bat::$DATA", "x.bat:s",
                 "x.bat.:s", "C:x.cmd", "d/x.bat", "x.exe:y.bat", "C:\\d\\x.bat\\.", ".bat"}) {
        EXPECT_TRUE(isBatchFile(path)) << path;
    }
    for (const std::string& path :
         Strings{"", "bat", "x.bat.exe", "x.exe", "x.bats", "d.bat\\x.exe", "C:\\", "x.bat_", "..."}) {
        EXPECT_FALSE(isBatchFile(path)) << path;
    }
}

TEST(EnvironmentBlock, HoldsExactlyTheGivenVariablesInTheOrderOfTheSystem) {
    using namespace std::string_literals;
    EXPECT_EQ(environmentBlock({}), u"\0\0"s);
    EXPECT_EQ(environmentBlock({{"", "x"}}), u"\0\0"s);
    EXPECT_EQ(environmentBlock({{"b", "2"},
                                {"A", ""},
                                {"_", "4"},
                                {"C", "=\xE2\x82\xAC"},
                                {"a\xC3\xA4", "\xF0\x9F\x98\x80"},
                                {"aZ", "3"},
                                {"a\xC3\x84", "5"}}),
              u"A=\0aZ=3\0a\u00E4=\U0001F600\0b=2\0C==\u20AC\0_=4\0\0"s);
    const std::vector<std::pair<std::string, std::string>> bad = {
        {"NA=ME", "x"}, {"=C:", "x"}, {"NAME"s + '\0', "x"}, {"NAME", "x\0y"s}, {"NAME", "\xFF"}};
    for (const auto& [name, value] : bad) {
        try {
            environmentBlock({{"A", "1"}, {name, value}});
            ADD_FAILURE() << name;
        } catch (const Base::TaskError& error) {
            EXPECT_NE(std::string(error.what()).find("variable " + name.substr(0, 4)), std::string::npos)
                << error.what();
        }
    }
}

}  // namespace
