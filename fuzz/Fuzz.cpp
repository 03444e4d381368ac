#include "fuzz/Fuzz.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>

#include "base/Text.h"

namespace Fuzz {

namespace fs = boost::filesystem;

void require(bool holds, std::string_view what, std::string_view details) {
    if (!holds) {
        std::cerr << "This does not hold: " << what << "\n  " << Base::Text::readable(details) << std::endl;
        std::abort();
    }
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    while (true) {
        const std::size_t end = text.find(separator);
        parts.emplace_back(text.substr(0, end));
        if (end == text.npos) {
            return parts;
        }
        text.remove_prefix(end + 1);
    }
}

Variable variableOf(const std::string& line) {
    const std::size_t equals = std::min(line.find('='), line.size());
    return {line.substr(0, equals), line.substr(std::min(equals + 1, line.size()))};
}

fs::path fileOf(std::string_view content) {
    struct Folder {
        fs::path path = fs::absolute(fs::unique_path("kym-fuzz-%%%%%%%%%%%%"));
        Folder() { fs::create_directory(path); }
        ~Folder() {
            boost::system::error_code ignored;
            fs::remove_all(path, ignored);
        }
    };
    static const Folder folder;
    fs::path file = folder.path / "input";
    fs::remove(file);  // much faster than to truncate it on some file systems
    fs::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << content;
    stream.close();
    require(stream.good(), "the input can be written", file.string());
    return file;
}

std::uint8_t Source::byte() {
    if (mBytes.empty()) {
        return 0;
    }
    const auto first = static_cast<std::uint8_t>(mBytes.front());
    mBytes.remove_prefix(1);
    return first;
}

std::uint64_t Source::number() {
    std::uint64_t number = 0;
    for (int i = 0; i < 8; ++i) {
        number = number << 8U | byte();
    }
    return number;
}

std::string Source::text() {
    const std::size_t wanted = byte();
    std::string text(mBytes.substr(0, wanted));
    mBytes.remove_prefix(text.size());
    return text;
}

}  // namespace Fuzz
