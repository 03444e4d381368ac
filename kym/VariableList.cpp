#include "kym/VariableList.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include <boost/algorithm/string/replace.hpp>
#include <boost/iterator/function_output_iterator.hpp>
#include <boost/regex.hpp>

#include "kym/CharacterClass.h"
#include "kym/Loggers.h"

using Base::log::LoggerStream;

namespace Kym {

namespace {

using Inherited = LaunchRecord::Inherited;

/// How far a value may grow by what it takes over. Values that double from layer to layer must not use up the
/// memory.
class Growth {
  public:
    explicit Growth(const EnvironmentVariable& variable) : mVariable(variable) {}

    void check(std::size_t size) const {
        constexpr std::size_t limit = std::size_t{1} << 20U;
        if (size > std::max(limit, mVariable.value.size())) {
            throw std::runtime_error("The value of the variable " + mVariable.name +
                                     " refers to itself and grows beyond " + std::to_string(limit) +
                                     " bytes.");
        }
    }

    void checkWork(std::size_t bytes) const {
        if (bytes > std::size_t{1} << 30U) {
            throw std::runtime_error("The value of the variable " + mVariable.name +
                                     " refers to itself too often.");
        }
    }

  private:
    const EnvironmentVariable& mVariable;
};

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
/// meaning. Both may make a result, and work, of any size out of short texts.
std::string substituteByExpression(const std::string& name, const std::string& value,
                                   std::string_view current, const Growth& growth, Inherited* inherited) {
    const boost::regex ownName("\\$" + name + "|\\$\\{" + name + "\\}");
    const std::string replacement = boost::replace_all_copy(std::string(current), "\\", "\\\\");
    std::string result;
    const auto append = [&](char c) {
        growth.check(result.size() + 1);
        result.push_back(c);
    };
    // The formatter copies the rest of the text for each "$" in it.
    const auto verbs = static_cast<std::size_t>(std::count(replacement.begin(), replacement.end(), '$'));
    const std::size_t workOfOne = replacement.size() * (1 + verbs);
    std::size_t work = 0;
    auto copied = value.begin();
    for (boost::sregex_iterator match(value.begin(), value.end(), ownName), end; match != end; ++match) {
        result.append(copied, (*match)[0].first);
        const std::size_t begin = result.size();
        work += workOfOne;
        growth.checkWork(work);
        match->format(boost::make_function_output_iterator(append), replacement);
        if (inherited) {
            inherited->emplace_back(begin, result.size());
        }
        copied = (*match)[0].second;
    }
    return result.append(copied, value.end());
}

/// The length of $NAME or ${NAME} at that place of the text; 0 when there is none.
std::size_t referenceLength(std::string_view text, std::size_t place, std::string_view name) {
    if (place >= text.size() || text[place] != '$') {
        return 0;
    }
    const std::string_view rest = text.substr(place + 1);
    if (rest.starts_with(name)) {
        return 1 + name.size();
    }
    const bool inBraces = rest.size() >= name.size() + 2 && rest.front() == '{' &&
                          rest.substr(1).starts_with(name) && rest[name.size() + 1] == '}';
    return inBraces ? 3 + name.size() : 0;
}

/// The same where name and current value mean themselves, without the cost of an expression.
std::string substituteLiterally(std::string_view name, std::string_view text, std::string_view current,
                                const Growth& growth, Inherited* inherited) {
    std::string result;
    result.reserve(text.size() + current.size());
    std::size_t copied = 0;
    for (std::size_t dollar = text.find('$'); dollar != std::string_view::npos;) {
        const std::size_t length = referenceLength(text, dollar, name);
        if (length != 0) {
            result.append(text, copied, dollar - copied);
            growth.check(result.size() + current.size());
            result.append(current);
            if (inherited) {
                inherited->emplace_back(result.size() - current.size(), result.size());
            }
            copied = dollar + length;
        }
        dollar = text.find('$', dollar + std::max<std::size_t>(length, 1));
    }
    result.append(text, copied);
    return result;
}

VariableList::Entry newEntry(const EnvironmentVariable& record, std::uint32_t turn) {
    const Characters characters = charactersOf(record.name);
    return {.name = record.name,
            .value = record.value,
            .ownText = nullptr,
            .comment = &record.comment,
            .type = record.type,
            .turn = turn,
            .plainName = characters.onlyWords && !record.name.empty(),
            .smallLetters = characters.anySmall,
            .mayRefer = true,
            .changed = true,
            .overruled = false};
}

}  // namespace

VariableList::VariableList() {
    constexpr std::size_t usual = 500;
    mEntries.reserve(usual);
    mPlaces.reserve(usual);
}

VariableList::VariableList(LaunchRecord* record) : VariableList() {
    mRecord = record;
}

VariableList::VariableList(const std::vector<EnvironmentVariable>& start) {
    mEntries.reserve(2 * start.size());
    mPlaces.reserve(2 * start.size());
    for (const EnvironmentVariable& record : start) {
        push(record).changed = false;
    }
}

void VariableList::append(EnvironmentVariable&& variable) {
    EnvironmentVariable& record = mRecords.emplace_back(std::move(variable));
    push(record).ownText = &record.value;
    if (mRecord) {
        tell(record.name, mEntries.size() - 1, {});
    }
}

void VariableList::tell(std::string_view name, std::size_t place, const Inherited& inherited) const {
    mRecord->merged(name, place, mEntries[place].value, inherited, !mEntries[place].overruled);
}

VariableList::Entry& VariableList::push(const EnvironmentVariable& record) {
    const auto place = static_cast<std::uint32_t>(mEntries.size());
    const auto [places, added] = mPlaces.try_emplace(keyOf(record.name), Places{place, place});
    if (!added) {
        mEntries[places->second.last].overruled = true;
        places->second.last = place;
    }
    return mEntries.emplace_back(newEntry(record, ++mTurn));
}

void VariableList::mergePlain(EnvironmentVariable variable) {
    if (variable.name.empty() || variable.value.empty()) {
        return;
    }
    logVerbose("  merging ", variable.name);
    const auto existing = mPlaces.find(keyOf(variable.name));
    if (existing == mPlaces.end()) {
        append(std::move(variable));
        return;
    }
    EnvironmentVariable& record = mRecords.emplace_back(std::move(variable));
    Entry& entry = mEntries[existing->second.first];
    if (LoggerStream line{verboseLogger()}) {
        line << "    Replacing " << record.name << " value." << std::endl
             << "      current value: " << entry.value << std::endl
             << "      new value: " << record.value << std::endl;
    }
    entry.value = record.value;
    entry.ownText = &record.value;
    entry.mayRefer = true;
    entry.comment = &record.comment;
    entry.type = record.type;
    entry.changed = true;
    entry.turn = ++mTurn;
    if (mRecord) {
        tell(record.name, existing->second.first, {});
    }
}

void VariableList::mergeLayered(const std::vector<EnvironmentVariable>& variables) {
    const std::size_t needed = mEntries.size() + variables.size();
    if (needed > mEntries.capacity()) {
        mEntries.reserve(2 * needed);
        mPlaces.reserve(2 * needed);
    }
    const bool verbose = verboseLogger().isOn();
    for (const EnvironmentVariable& variable : variables) {
        mergeLayered(variable, verbose);
    }
}

void VariableList::mergeLayered(const EnvironmentVariable& variable) {
    mergeLayered(variable, verboseLogger().isOn());
}

void VariableList::mergeLayered(const EnvironmentVariable& variable, bool verbose) {
    if (verbose) {
        LoggerStream(verboseLogger()) << "  merging " << variable.name << std::endl;
    }
    const auto end = static_cast<std::uint32_t>(mEntries.size());
    const auto [places, added] = mPlaces.try_emplace(keyOf(variable.name), Places{end, end});
    if (added) {
        mEntries.push_back(newEntry(variable, 0));
        mEntries.back().value = {};
    }
    Entry& entry = mEntries[places->second.first];
    if (verbose && !added) {
        LoggerStream(verboseLogger())
            << "    current value: " << boost::replace_all_copy(std::string(entry.value), "\\", "\\\\")
            << std::endl;
    }
    Inherited inherited;
    if (entry.plainName && variable.value.find('$') == std::string::npos) {
        entry.ownText = nullptr;
        entry.value = variable.value;
        entry.mayRefer = false;
    } else {
        substitute(variable, entry, mRecord ? &inherited : nullptr);
    }
    if (verbose) {
        LoggerStream(verboseLogger()) << "    value = " << entry.value << std::endl;
    }
    entry.comment = &variable.comment;
    entry.changed = true;
    entry.turn = ++mTurn;
    if (verbose && !added) {
        LoggerStream(verboseLogger()) << "    replacing existing value" << std::endl
                                      << "    new value: " << entry.value << std::endl;
    }
    if (mRecord) {
        tell(variable.name, places->second.first, inherited);
    }
}

/// Gives the entry the variable's value, with its references to itself replaced by the entry's earlier value.
void VariableList::substitute(const EnvironmentVariable& variable, Entry& entry, Inherited* inherited) {
    const Growth growth(variable);
    const bool literally = entry.plainName && isPlainReplacement(entry.value);
    const std::size_t reference = literally ? referenceLength(variable.value, 0, variable.name) : 0;
    if (reference != 0 && entry.ownText && variable.value.find('$', 1) == std::string::npos) {
        if (inherited) {
            inherited->emplace_back(0, entry.ownText->size());
        }
        entry.ownText->append(variable.value, reference);  // mostly a setting adds to the end of a list
    } else {
        std::string text =
            literally ? substituteLiterally(variable.name, variable.value, entry.value, growth, inherited)
                      : substituteByExpression(variable.name, variable.value, entry.value, growth, inherited);
        if (!entry.ownText) {
            entry.ownText = &mTexts.emplace_back();
        }
        *entry.ownText = std::move(text);
    }
    entry.value = *entry.ownText;
    entry.mayRefer = true;
    growth.check(entry.value.size());
}

std::optional<std::string_view> VariableList::valueOf(std::string_view name) const {
    const auto found = mPlaces.find(keyOf(name));
    return found == mPlaces.end() ? std::nullopt : std::optional(mEntries[found->second.first].value);
}

const VariableList::Entry* VariableList::last(std::string_view name) const {
    const auto found = mPlaces.find(keyOf(name));
    return found == mPlaces.end() ? nullptr : &mEntries[found->second.last];
}

void VariableList::setValue(std::string_view name, std::string&& value) {
    const std::size_t place = mPlaces.at(keyOf(name)).first;
    Entry& entry = mEntries.at(place);
    Inherited inherited;
    if (mRecord && value.ends_with(entry.value)) {
        inherited.emplace_back(value.size() - entry.value.size(), value.size());
    }
    entry.ownText = &mTexts.emplace_back(std::move(value));
    entry.value = *entry.ownText;
    entry.mayRefer = true;
    entry.changed = true;
    entry.turn = ++mTurn;
    if (mRecord) {
        tell(name, place, inherited);
    }
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
