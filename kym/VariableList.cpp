#include "kym/VariableList.h"

#include <algorithm>
#include <array>
#include <utility>

#include <boost/algorithm/string/replace.hpp>
#include <boost/regex.hpp>

#include "kym/CharacterClass.h"
#include "kym/Loggers.h"

using Base::log::LoggerStream;

namespace Kym {

namespace {

/// Whether the text means itself as the replacement text of a substitution, once its backslashes are doubled.
bool isPlainReplacement(std::string_view text) {
    static constexpr std::array<std::string_view, 5> verbs = {"MATCH", "PREMATCH", "POSTMATCH",
                                                              "LAST_PAREN_MATCH", "LAST_SUBMATCH_RESULT"};
    for (std::size_t dollar = text.find('$'); dollar != std::string_view::npos;
         dollar = text.find('$', dollar + 1)) {
        std::string_view rest = text.substr(dollar + 1);
        if (rest.empty()) {
            return true;
        }
        if (rest.front() == '{') {
            rest.remove_prefix(1);
        }
        if (rest.empty() || !(isLetter(rest.front()) || rest.front() == '_')) {
            return false;
        }
        if (std::any_of(verbs.begin(), verbs.end(), [&](auto verb) { return rest.starts_with(verb); })) {
            return false;
        }
    }
    return true;
}

std::string substituteByExpression(const std::string& name, const std::string& value,
                                   const std::string& current) {
    const boost::regex ownName("\\$" + name + "|\\$\\{" + name + "\\}");
    return boost::regex_replace(value, ownName, boost::replace_all_copy(current, "\\", "\\\\"));
}

std::string substituteLiterally(const std::string& name, const std::string& value,
                                const std::string& current) {
    const std::string_view text = value;
    std::string result;
    std::size_t copied = 0;
    for (std::size_t dollar = text.find('$'); dollar != std::string_view::npos;) {
        const std::string_view rest = text.substr(dollar + 1);
        std::size_t length = 0;
        if (rest.starts_with(name)) {
            length = 1 + name.size();
        } else if (rest.size() >= name.size() + 2 && rest.front() == '{' &&
                   rest.substr(1).starts_with(name) && rest[name.size() + 1] == '}') {
            length = 3 + name.size();
        }
        if (length != 0) {
            result.append(text, copied, dollar - copied);
            result.append(current);
            copied = dollar + length;
        }
        dollar = text.find('$', dollar + std::max<std::size_t>(length, 1));
    }
    result.append(text, copied);
    return result;
}

}  // namespace

std::string substituteOwnName(const std::string& name, const std::string& value, const std::string& current) {
    // A name of word characters means itself in the expression, and a match needs a "$": then the outcome is
    // known without compiling an expression for every variable.
    if (!name.empty() && std::all_of(name.begin(), name.end(), isWordCharacter)) {
        if (value.find('$') == std::string::npos) {
            return value;
        }
        if (isPlainReplacement(current)) {
            return substituteLiterally(name, value, current);
        }
    }
    return substituteByExpression(name, value, current);
}

VariableList::VariableList(std::vector<EnvironmentVariable>& target)
    : mTarget(target), mFirst(target.size(), NameHash{&target}, NameEqual{&target}) {
    for (std::uint32_t position = 0; position < target.size(); ++position) {
        mFirst.insert(position);
    }
}

void VariableList::reserve(std::size_t more) {
    mTarget.reserve(std::max(mTarget.size() + more, 2 * mTarget.size()));
    mFirst.reserve(mTarget.size() + more);
}

EnvironmentVariable* VariableList::find(std::string_view name) {
    const auto found = mFirst.find(name);
    return found == mFirst.end() ? nullptr : &mTarget[*found];
}

void VariableList::append(EnvironmentVariable variable) {
    mTarget.push_back(std::move(variable));
    mFirst.insert(static_cast<std::uint32_t>(mTarget.size() - 1));
}

void VariableList::mergeLayered(const EnvironmentVariable& variable) {
    if (LoggerStream line{verboseLogger()}) {
        line << "  merging " << variable.name << std::endl;
    }
    EnvironmentVariable* existing = find(variable.name);
    if (existing) {
        if (LoggerStream line{verboseLogger()}) {
            line << "    current value: " << boost::replace_all_copy(existing->value, "\\", "\\\\")
                 << std::endl;
        }
    }
    std::string value =
        substituteOwnName(variable.name, variable.value, existing ? existing->value : std::string());
    if (LoggerStream line{verboseLogger()}) {
        line << "    value = " << value << std::endl;
    }
    if (!existing) {
        EnvironmentVariable added;
        added.name = variable.name;
        added.value = std::move(value);
        added.comment = variable.comment;
        added.type = variable.type;
        append(std::move(added));
        return;
    }
    if (LoggerStream line{verboseLogger()}) {
        line << "    replacing existing value" << std::endl;
    }
    existing->comment = variable.comment;
    existing->value = std::move(value);
    if (LoggerStream line{verboseLogger()}) {
        line << "    new value: " << existing->value << std::endl;
    }
}

void VariableList::mergePlain(const EnvironmentVariable& variable) {
    if (variable.name.empty() || variable.value.empty()) {
        return;
    }
    if (LoggerStream line{verboseLogger()}) {
        line << "  merging " << variable.name << std::endl;
    }
    EnvironmentVariable* existing = find(variable.name);
    if (!existing) {
        append(variable);
        return;
    }
    if (LoggerStream line{verboseLogger()}) {
        line << "    Replacing " << variable.name << " value." << std::endl
             << "      current value: " << existing->value << std::endl
             << "      new value: " << variable.value << std::endl;
    }
    *existing = variable;
}

}  // namespace Kym
