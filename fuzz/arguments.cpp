// Splitting of an argument text: the result is that of the regular expression which describes it.
#include "kym/LaunchText.h"

#include "bench/Transcription.h"
#include "fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(Fuzz::textOf(data, size));
    const std::vector<std::string> arguments = Kym::splitArguments(text);
    Fuzz::require(arguments == Transcription::splitArguments(text), "arguments are what the expression finds",
                  text);
    std::size_t position = 0;
    for (const std::string& argument : arguments) {
        position = text.find(argument, position);
        Fuzz::require(!argument.empty() && position != text.npos, "arguments stand in the text, in order",
                      text);
        position += argument.size();
    }
    return 0;
}
