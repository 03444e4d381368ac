// The sample site's stand-in for a CAD program: writes what it was started with into the file that the
// variable SAMPLE_REPORT names. The file appears only when it is complete. Each text is indented by four
// places; behind a line break in it stand three and a "+", so that no text is taken for two or for a heading.

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::filesystem::path utf8Path(const std::string& text) {
    return std::u8string(text.begin(), text.end());
}

std::string utf8Text(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

void writeTexts(std::ostream& out, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        out << "    ";
        for (const char c : text) {
            out << c << (c == '\n' ? "   +" : "");
        }
        out << '\n';
    }
}

void writeReport(const std::filesystem::path& file, const std::vector<std::string>& arguments,
                 const std::vector<std::string>& environment) {
    std::ofstream out(file, std::ios::binary);
    out << "Arguments:\n";
    writeTexts(out, arguments);
    out << "\nWorking directory:\n";
    writeTexts(out, {utf8Text(std::filesystem::current_path())});
    out << "\nEnvironment:\n";
    writeTexts(out, environment);
    if (!out.flush()) {
        throw std::runtime_error("The report " + utf8Text(file) + " cannot be written.");
    }
}

}  // namespace

int main(int argc, char** argv, char** envp) {
    try {
        const char* name = std::getenv("SAMPLE_REPORT");
        if (!name) {
            throw std::runtime_error("SAMPLE_REPORT is not set; it names the file to be written.");
        }
        std::vector<std::string> environment;
        for (char** variable = envp; *variable; ++variable) {
            environment.emplace_back(*variable);
        }
        std::sort(environment.begin(), environment.end());
        const std::filesystem::path report = utf8Path(name);
        const std::filesystem::path unfinished = utf8Path(std::string(name) + ".unfinished");
        writeReport(unfinished, {argv + 1, argv + argc}, environment);
        std::filesystem::rename(unfinished, report);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "kym-sample-report: " << error.what() << '\n';
        return 1;
    }
}
