#include "base/Environment.h"

#include <algorithm>
#include <deque>
#include <utility>

#include "base/FileManager.h"
#include "base/platform/EnvironmentBlock.h"

namespace Base::Environment {

namespace {

constexpr std::size_t sizeLimit = std::size_t{1} << 20;

bool beginsName(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}
bool continuesName(char c) {
    return beginsName(c) || (c >= '0' && c <= '9');
}

bool isPathOfSomething(const std::string& value) {
    const std::optional<FileManager::path> path = FileManager::pathOf(value);
    return path && path->is_absolute() && FileManager::exists(*path);
}

}  // namespace

ExpansionError::~ExpansionError() = default;

Expander::Expander(Lookup lookup) : mLookup(std::move(lookup)) {}

void Expander::expand(std::string& text) {
    if (text.find('$') == std::string::npos) {
        return;
    }
    run({nullptr, text, 0});
    text.assign(mResult, mBegin);
}

std::string_view Expander::expandVariable(std::string_view name, std::string_view value) {
    if (value.find('$') == std::string_view::npos) {
        return value;
    }
    auto variable = mVariables.find(name);
    if (variable == mVariables.end()) {
        variable = mVariables.emplace(name, Known{State::untouched, 0, 0}).first;
    }
    Known& known = variable->second;
    if (known.state == State::untouched) {
        known.state = State::open;
        known.begin = mResult.size();
        run({&*variable, value, 0});
    }
    if (known.state != State::expanded) {
        return value;
    }
    known.state = State::literal;
    return std::string_view(mResult).substr(known.begin, known.end - known.begin);
}

void Expander::run(const Frame& outermost) {
    mBegin = mResult.size();
    mFrames.push_back(outermost);
    while (!mFrames.empty()) {
        step();
    }
}

// Goes on in the innermost text up to its next reference or its end.
void Expander::step() {
    Frame& frame = mFrames.back();
    const std::size_t dollar = std::min(frame.text.find('$', frame.position), frame.text.size());
    append(frame.text.substr(frame.position, dollar - frame.position), frame.variable);
    if (dollar == frame.text.size()) {
        if (frame.variable) {
            frame.variable->second.state = State::expanded;
            frame.variable->second.end = mResult.size();
        }
        mFrames.pop_back();
        return;
    }
    std::string_view name;
    frame.position = dollar + 1;
    if (frame.position < frame.text.size()) {
        name = readName(frame);
    }
    const std::string_view reference = frame.text.substr(dollar, frame.position - dollar);
    if (name.empty()) {
        append(reference, frame.variable);
    } else {
        resolve(name, reference);
    }
}

// Moves the position past the reference; an empty name when the "$" is an ordinary character.
std::string_view Expander::readName(Frame& frame) const {
    const std::string_view text = frame.text;
    const std::size_t begin = frame.position;
    if (text[begin] == '{') {
        const std::size_t close = text.find('}', begin);
        if (close == std::string_view::npos) {
            throw ExpansionError("A \"${\" without \"}\" " + place() + ": " + std::string(text));
        }
        frame.position = close + 1;
        return text.substr(begin + 1, close - begin - 1);
    }
    if (beginsName(text[begin])) {
        while (frame.position < text.size() && continuesName(text[frame.position])) {
            ++frame.position;
        }
    }
    return text.substr(begin, frame.position - begin);
}

void Expander::resolve(std::string_view name, std::string_view reference) {
    auto variable = mVariables.find(name);
    if (variable != mVariables.end() && variable->second.state == State::expanded) {
        const Known& known = variable->second;
        checkSize(known.end - known.begin, &*variable);
        mResult.append(mResult, known.begin, known.end - known.begin);
        return;
    }
    if (variable != mVariables.end() && variable->second.state == State::open) {
        throw ExpansionError("The variable " + std::string(name) + " refers to itself: " + chain(name));
    }
    const std::optional<Value> value = mLookup(name);
    if (!value) {
        append(reference, mFrames.back().variable);
        return;
    }
    if (variable == mVariables.end()) {
        const bool isFinished = value->standsForItself || value->text.find('$') == std::string_view::npos;
        const State state = isFinished ? State::literal : State::untouched;
        variable = mVariables.emplace(name, Known{state, 0, 0}).first;
    }
    if (variable->second.state == State::literal) {
        append(value->text, &*variable);
        return;
    }
    variable->second.state = State::open;
    variable->second.begin = mResult.size();
    mFrames.push_back({&*variable, value->text, 0});
}

void Expander::append(std::string_view text, const Variables::value_type* variable) {
    checkSize(text.size(), variable);
    mResult.append(text);
}

void Expander::checkSize(std::size_t added, const Variables::value_type* variable) const {
    if (mResult.size() - mBegin + added > sizeLimit) {
        throw ExpansionError("The expansion of " +
                             (variable ? "the variable " + std::string(variable->first) : "a text") +
                             " gives more than " + std::to_string(sizeLimit) + " bytes.");
    }
}

std::string Expander::place() const {
    const auto* const variable = mFrames.back().variable;
    return variable ? "in the value of " + std::string(variable->first) : "in the text";
}

// The names from the outermost variable down to `last`; the middle of a very long way is left out.
std::string Expander::chain(std::string_view last) const {
    constexpr std::size_t shown = 10;
    std::string names;
    for (std::size_t i = 0; i < mFrames.size(); ++i) {
        if (!mFrames[i].variable) {
            continue;
        }
        if (i <= shown || i + shown >= mFrames.size()) {
            names.append(mFrames[i].variable->first).append(" -> ");
        } else if (i == shown + 1) {
            names += "... -> ";
        }
    }
    return names.append(last);
}

std::string getEnvVariable(const std::string& name) {
    return Platform::environmentValue(name).value_or(std::string());
}

void setEnvVariable(const std::string& name, const std::string& value) {
    if (name.empty() || name.find_first_of(std::string_view("=\0", 2)) != std::string::npos ||
        value.find('\0') != std::string::npos) {
        throw BaseException(
            "A variable cannot be set: its name must not be empty or hold \"=\", and neither name nor value "
            "may hold a NUL: " +
            name);
    }
    Platform::setEnvironmentValue(name, value.empty() ? std::nullopt : std::make_optional(value));
}

std::vector<std::string> environmentStrings() {
    return Platform::environmentStrings();
}

std::string& expandEnvVariables(std::string& text, const VariableMap& variables) {
    Expander([&](std::string_view name) -> std::optional<Expander::Value> {
        const auto found = variables.find(std::string(name));
        return found == variables.end() ? std::nullopt : std::optional(Expander::Value{found->second});
    }).expand(text);
    return text;
}

std::string& expandEnvVariables(std::string& text) {
    std::deque<std::string> values;
    Expander([&](std::string_view name) -> std::optional<Expander::Value> {
        std::optional<std::string> value = Platform::environmentValue(std::string(name));
        if (!value) {
            return std::nullopt;
        }
        const std::string& kept = values.emplace_back(std::move(*value));
        return Expander::Value{kept, kept.find('$') != std::string::npos && isPathOfSomething(kept)};
    }).expand(text);
    return text;
}

}  // namespace Base::Environment
