#pragma once

#include <cstddef>

// For programs: it is compiled into them, the library neither uses nor offers it.
namespace Base::Platform {

/// Whether a person sits at the other end. A file, a pipe and the null device are no terminals.
bool inputIsTerminal();
bool outputIsTerminal();
bool errorOutputIsTerminal();

/// How many characters fit a line of the standard output; 0 when it is no terminal or cannot tell.
std::size_t outputWidth();

/// As long as it lives, a console shows what the program writes as UTF-8.
class Utf8Output {
  public:
    Utf8Output();
    Utf8Output(const Utf8Output&) = delete;
    Utf8Output& operator=(const Utf8Output&) = delete;
    ~Utf8Output();  // NOLINT(performance-trivially-destructible): where there are no code pages

  private:
    unsigned mCodePage = 0;  // that the console had; 0: nothing to restore
};

/// Lets the standard output obey the control sequences that set colours; false when it is no terminal or
/// cannot.
bool outputTakesColours();

}  // namespace Base::Platform
