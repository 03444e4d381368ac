// Cleaning of a list of paths: the result is that of the regular expressions which describe it.
#include <set>

#include "kym/LaunchText.h"

#include "bench/Transcription.h"
#include "fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using Fuzz::require;
    const std::string value(Fuzz::textOf(data, size));
    require(Kym::collapseSeparators(value) == Transcription::collapseSeparators(value),
            "separators are collapsed as the expression says", value);
    const std::string list = Kym::cleanPathList(value);
    require(list == Transcription::cleanPathList(value), "a list is cleaned as the rules say", value);
    require(list.find_first_of("/\"") == list.npos, "no slash and no quote is left", list);

    const std::string separated = Kym::separatedPaths(value);
    std::set<std::string> pieces;
    std::string joined;
    for (const Kym::CleanedPath& path : Kym::cleanedPaths(value)) {
        const std::string piece = separated.substr(path.begin, path.end - path.begin);
        require(!path.text.empty() && path.repeated == !pieces.insert(piece).second,
                "what stands in the list before is repeated", piece);
        if (!path.repeated) {
            joined += (joined.empty() ? "" : ";") + path.text;
        }
    }
    require(joined == list, "the paths that are told are those of the list", joined);

    std::string normal = value;
    Kym::normalizeSeparators(normal);
    require(value.find("http:") != value.npos ? normal == value : normal.find('/') == normal.npos,
            "separators get the form of Windows, except in addresses", value);
    return 0;
}
