#include "kym/VariableList.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include <boost/algorithm/string/replace.hpp>
#include <boost/regex.hpp>

#include "kym/CharacterClass.h"
#include "kym/Loggers.h"

using Base::log::LoggerStream;

namespace Kym {

namespace {

bool isPlainName(std::string_view name) {
    return !name.empty() && areWordCharacters(name);
}

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

/// The new value of a layered merge, by its definition: every $NAME and ${NAME} in the value is replaced by
/// the current value. The name is part of a regular expression, and the current value, with its backslashes
/// doubled, is the replacement text of the substitution, in which "$1", "$&" and "$$" have their usual
/// meaning.
std::string substituteByExpression(const std::string& name, const std::string& value,
                                   std::string_view current) {
    const boost::regex ownName("\\$" + name + "|\\$\\{" + name + "\\}");
    return boost::regex_replace(value, ownName, boost::replace_all_copy(std::string(current), "\\", "\\\\"));
}

/// The same where name and current value mean themselves, without the cost of an expression.
std::string substituteLiterally(std::string_view name, std::string_view text, std::string_view current) {
    std::string result;
    result.reserve(text.size() + current.size());
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

constexpr std::size_t sizeLimit = std::size_t{1} << 20U;

void refuseBeyond(std::size_t limit, std::size_t size, const std::string& name) {
    if (size > limit) {
        throw std::runtime_error("The value of the variable " + name + " refers to itself and grows beyond " +
                                 std::to_string(sizeLimit) + " bytes.");
    }
}

/// Values that double from layer to layer must not use up the memory before their size is known.
void checkGrowth(const EnvironmentVariable& variable, std::string_view current) {
    const auto references =
        static_cast<std::size_t>(std::count(variable.value.begin(), variable.value.end(), '$'));
    refuseBeyond(64 * sizeLimit, variable.value.size() + references * current.size(), variable.name);
}

}  // namespace

VariableList::VariableList() {
    constexpr std::size_t usual = 1000;
    mEntries.reserve(usual);
    mFirst.reserve(usual);
}

VariableList::VariableList(const std::vector<EnvironmentVariable>& start) {
    mEntries.reserve(2 * start.size());
    mFirst.reserve(2 * start.size());
    for (const EnvironmentVariable& record : start) {
        mFirst.try_emplace(keyOf(record.name), static_cast<std::uint32_t>(mEntries.size()));
        mEntries.push_back({record.name, record.value, nullptr, &record.comment, record.type,
                            isPlainName(record.name), false});
    }
}

void VariableList::append(EnvironmentVariable variable) {
    EnvironmentVariable& record = mRecords.emplace_back(std::move(variable));
    mFirst.try_emplace(keyOf(record.name), static_cast<std::uint32_t>(mEntries.size()));
    mEntries.push_back({record.name, record.value, &record.value, &record.comment, record.type,
                        isPlainName(record.name), true});
}

void VariableList::mergePlain(EnvironmentVariable variable) {
    if (variable.name.empty() || variable.value.empty()) {
        return;
    }
    if (LoggerStream line{verboseLogger()}) {
        line << "  merging " << variable.name << std::endl;
    }
    const auto existing = mFirst.find(keyOf(variable.name));
    if (existing == mFirst.end()) {
        append(std::move(variable));
        return;
    }
    EnvironmentVariable& record = mRecords.emplace_back(std::move(variable));
    Entry& entry = mEntries[existing->second];
    if (LoggerStream line{verboseLogger()}) {
        line << "    Replacing " << record.name << " value." << std::endl
             << "      current value: " << entry.value << std::endl
             << "      new value: " << record.value << std::endl;
    }
    entry.value = record.value;
    entry.ownText = &record.value;
    entry.comment = &record.comment;
    entry.type = record.type;
    entry.changed = true;
}

void VariableList::mergeLayered(const std::vector<EnvironmentVariable>& variables) {
    for (const EnvironmentVariable& variable : variables) {
        mergeLayered(variable);
    }
}

void VariableList::mergeLayered(const EnvironmentVariable& variable) {
    const bool verbose = verboseLogger().isOn();
    if (verbose) {
        LoggerStream(verboseLogger()) << "  merging " << variable.name << std::endl;
    }
    const auto [place, added] =
        mFirst.try_emplace(keyOf(variable.name), static_cast<std::uint32_t>(mEntries.size()));
    if (added) {
        mEntries.push_back(
            {variable.name, {}, nullptr, &variable.comment, variable.type, isPlainName(variable.name), true});
    }
    Entry& entry = mEntries[place->second];
    if (verbose && !added) {
        LoggerStream(verboseLogger())
            << "    current value: " << boost::replace_all_copy(std::string(entry.value), "\\", "\\\\")
            << std::endl;
    }
    std::string* text = nullptr;
    if (!entry.plainName || variable.value.find('$') != std::string::npos) {
        const bool literally = entry.plainName && isPlainReplacement(entry.value);
        checkGrowth(variable, entry.value);
        text = &mTexts.emplace_back(literally
                                        ? substituteLiterally(variable.name, variable.value, entry.value)
                                        : substituteByExpression(variable.name, variable.value, entry.value));
        refuseBeyond(sizeLimit, text->size(), variable.name);
    }
    entry.ownText = text;
    entry.value = text ? *text : variable.value;
    if (verbose) {
        LoggerStream(verboseLogger()) << "    value = " << entry.value << std::endl;
    }
    entry.comment = &variable.comment;
    entry.changed = true;
    if (verbose && !added) {
        LoggerStream(verboseLogger()) << "    replacing existing value" << std::endl
                                      << "    new value: " << entry.value << std::endl;
    }
}

std::optional<std::string_view> VariableList::valueOf(std::string_view name) const {
    const auto found = mFirst.find(keyOf(name));
    return found == mFirst.end() ? std::nullopt : std::optional(mEntries[found->second].value);
}

void VariableList::setValue(std::string_view name, std::string value) {
    Entry& entry = mEntries.at(mFirst.at(keyOf(name)));
    entry.ownText = &mTexts.emplace_back(std::move(value));
    entry.value = *entry.ownText;
    entry.changed = true;
}

void VariableList::storeInto(std::vector<EnvironmentVariable>& variables) const {
    const std::size_t started = variables.size();
    for (std::size_t place = 0; place < mEntries.size(); ++place) {
        const Entry& entry = mEntries[place];
        if (!entry.changed) {
            continue;
        }
        if (place >= started) {
            variables.emplace_back(std::string(entry.name), std::string());
        }
        EnvironmentVariable& stored = variables[place];
        stored.value = entry.value;
        stored.comment = *entry.comment;
        stored.type = entry.type;
    }
}

}  // namespace Kym
