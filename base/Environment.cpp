#include "base/Environment.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "base/platform/EnvironmentBlock.h"

namespace Base::Environment {

namespace {

// Names the variable's value; the text it refers to outlives the expansion.
using Lookup = std::function<std::optional<std::string_view>(const std::string&)>;

constexpr std::size_t sizeLimit = std::size_t{1} << 20;

bool beginsName(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}
bool continuesName(char c) {
    return beginsName(c) || (c >= '0' && c <= '9');
}

// Expands with a stack of its own: references nest deeper than the machine's stack allows. All text is
// appended to one result, so that a variable that was expanded once is copied from there.
class Expander {
  public:
    explicit Expander(const Lookup& lookup) : mLookup(lookup) {}

    std::string expand(std::string_view text) {
        mFrames.push_back({nullptr, text, 0});
        while (!mFrames.empty()) {
            step();
        }
        return std::move(mResult);
    }

  private:
    static constexpr std::size_t open = std::string::npos;

    struct Span {
        std::size_t begin;
        std::size_t end;  // `open` while the variable is being expanded
    };
    using Variables = std::unordered_map<std::string, Span>;

    struct Frame {
        Variables::value_type* variable;  // null: the caller's text
        std::string_view text;
        std::size_t position;
    };

    // Goes on in the innermost text up to its next reference or its end.
    void step() {
        Frame& frame = mFrames.back();
        const std::size_t dollar = std::min(frame.text.find('$', frame.position), frame.text.size());
        append(frame.text.substr(frame.position, dollar - frame.position));
        if (dollar == frame.text.size()) {
            if (frame.variable) {
                frame.variable->second.end = mResult.size();
            }
            mFrames.pop_back();
            return;
        }
        std::string name;
        frame.position = dollar + 1;
        if (frame.position < frame.text.size()) {
            name = readName(frame);
        }
        const std::string_view reference = frame.text.substr(dollar, frame.position - dollar);
        if (name.empty()) {
            append(reference);
        } else {
            resolve(name, reference);
        }
    }

    // Moves the position past the reference; an empty name when the "$" is an ordinary character.
    std::string readName(Frame& frame) const {
        const std::string_view text = frame.text;
        const std::size_t begin = frame.position;
        if (text[begin] == '{') {
            const std::size_t close = text.find('}', begin);
            if (close == std::string_view::npos) {
                throw ExpansionError("A \"${\" without \"}\" " + place() + ": " + std::string(text));
            }
            frame.position = close + 1;
            return std::string(text.substr(begin + 1, close - begin - 1));
        }
        if (beginsName(text[begin])) {
            while (frame.position < text.size() && continuesName(text[frame.position])) {
                ++frame.position;
            }
        }
        return std::string(text.substr(begin, frame.position - begin));
    }

    void resolve(const std::string& name, std::string_view reference) {
        if (const auto known = mVariables.find(name); known != mVariables.end()) {
            const Span span = known->second;
            if (span.end == open) {
                throw ExpansionError("The variable " + name + " refers to itself: " + chain(name));
            }
            checkSize(span.end - span.begin, name);
            mResult.append(mResult, span.begin, span.end - span.begin);
            return;
        }
        const std::optional<std::string_view> value = mLookup(name);
        if (!value) {
            append(reference);
            return;
        }
        if (value->find('$') == std::string_view::npos) {
            checkSize(value->size(), name);
            mResult.append(*value);
            return;
        }
        const auto entry = mVariables.emplace(name, Span{mResult.size(), open}).first;
        mFrames.push_back({&*entry, *value, 0});
    }

    void append(std::string_view text) {
        if (mFrames.back().variable) {
            checkSize(text.size(), mFrames.back().variable->first);
        }
        mResult.append(text);
    }

    void checkSize(std::size_t added, const std::string& name) const {
        if (added > 0 && mResult.size() + added > sizeLimit) {
            throw ExpansionError("The expansion of the variable " + name + " gives a text of more than " +
                                 std::to_string(sizeLimit) + " bytes.");
        }
    }

    std::string place() const {
        return mFrames.back().variable ? "in the value of " + mFrames.back().variable->first : "in the text";
    }

    // The names from the caller's text down to `last`; the middle of a very long way is left out.
    std::string chain(const std::string& last) const {
        constexpr std::size_t shown = 10;
        std::string names;
        for (std::size_t i = 1; i < mFrames.size(); ++i) {
            if (i <= shown || i + shown >= mFrames.size()) {
                names += mFrames[i].variable->first + " -> ";
            } else if (i == shown + 1) {
                names += "... -> ";
            }
        }
        return names + last;
    }

    const Lookup& mLookup;
    std::string mResult;
    Variables mVariables;
    std::vector<Frame> mFrames;
};

std::string& expand(std::string& text, const Lookup& lookup) {
    if (text.find('$') != std::string::npos) {
        text = Expander(lookup).expand(text);
    }
    return text;
}

}  // namespace

ExpansionError::~ExpansionError() = default;

std::string getEnvVariable(const std::string& name) {
    return Platform::environmentValue(name).value_or(std::string());
}

void setEnvVariable(const std::string& name, const std::string& value) {
    if (name.empty() || name.find_first_of(std::string_view("=\0", 2)) != std::string::npos ||
        value.find('\0') != std::string::npos) {
        throw BaseException(
            "A variable cannot be set: its name must not be empty or hold \"=\", and neither name nor value "
            "may "
            "hold a NUL: " +
            name);
    }
    Platform::setEnvironmentValue(name, value.empty() ? std::nullopt : std::make_optional(value));
}

std::vector<std::string> environmentStrings() {
    return Platform::environmentStrings();
}

std::string& expandEnvVariables(std::string& text, const VariableMap& variables) {
    return expand(text, [&](const std::string& name) -> std::optional<std::string_view> {
        const auto found = variables.find(name);
        return found == variables.end() ? std::nullopt : std::optional<std::string_view>(found->second);
    });
}

std::string& expandEnvVariables(std::string& text) {
    std::deque<std::string> values;
    return expand(text, [&](const std::string& name) -> std::optional<std::string_view> {
        std::optional<std::string> value = Platform::environmentValue(name);
        if (!value) {
            return std::nullopt;
        }
        return values.emplace_back(std::move(*value));
    });
}

}  // namespace Base::Environment
