#include "programs/common/Program.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <boost/filesystem/fstream.hpp>

#include "base/platform/Terminal.h"

#include "programs/common/Text.h"

namespace {

constexpr int failed = 1;
constexpr int misused = 2;

/// Says what is wrong with a command line, and what to do.
std::string adviceFor(const CLI::App& program, const std::vector<std::string>& words,
                      const CLI::ParseError& error) {
    const std::vector<CLI::App*> meant = program.get_subcommands();
    const std::string command = program.get_name() + (meant.empty() ? "" : ' ' + meant.front()->get_name());
    std::string text = error.what();
    if (meant.empty() && !words.empty() && !words.front().starts_with('-')) {
        std::vector<std::string> names;
        for (const CLI::App* known : program.get_subcommands({})) {
            names.push_back(known->get_name());
        }
        text = "There is no command " + quoted(words.front()) + ". There are: " + joined(names) + '.';
    } else if (std::any_of(words.begin(), words.end(), [](const std::string& word) {
                   return word.starts_with('-') && !word.starts_with("--");
               })) {
        text += "\nAn argument that begins with a minus stands behind a \"--\".";
    }
    return text + "\nRun " + command + " --help for the usage.\n";
}

}  // namespace

int runProgram(CLI::App& program, int argc, char** argv, int (*statusOfSuccess)()) {
    const Base::Platform::Utf8Output output;
    const std::string start = program.get_name() + ": ";
    try {
        program.parse(argc, argv);
        if (!std::cout.flush()) {
            throw std::runtime_error("The output could not be written.");
        }
        return statusOfSuccess();
    } catch (const CLI::Success& help) {
        return program.exit(help);
    } catch (const CLI::ParseError& error) {
        std::cerr << start << printableLines(adviceFor(program, {argv + 1, argv + argc}, error));
        return misused;
    } catch (const std::exception& error) {
        std::cerr << start << printableLines(error.what()) << '\n';
        return failed;
    }
}

void writeResult(const std::string& text, const std::string& file) {
    if (file.empty()) {
        std::cout << text;
        return;
    }
    boost::filesystem::ofstream out(file, std::ios::binary);
    out << text;
    out.close();
    if (!out) {
        throw std::runtime_error("The file " + nativeText(file) + " could not be written.");
    }
}
