#include "Transcription.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/regex.hpp>

namespace Transcription {

namespace {

Variables::iterator findByName(Variables& list, const std::string& name) {
    return std::find_if(list.begin(), list.end(), [&](const auto& entry) { return entry.name == name; });
}

void mergePlain(const Kym::EnvironmentVariable& variable, Variables& target) {
    if (variable.name.empty() || variable.value.empty()) {
        return;
    }
    const auto existing = findByName(target, variable.name);
    if (existing == target.end()) {
        target.push_back(variable);
    } else {
        *existing = variable;
    }
}

bool isLetter(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}
bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

bool isValidName(const std::string& name) {
    if (!name.empty() && !isLetter(name[0])) {
        return false;
    }
    if (name.find("X86") != std::string::npos) {
        return true;
    }
    return std::all_of(name.begin(), name.end(), isNameCharacter);
}

using Map = std::map<std::string, std::string>;

/// Variables before `current` in the order of the map are finished and stand for themselves.
std::string expand(const std::string& text, const Map& map, const std::string& current,
                   std::vector<std::string>& chain) {
    const boost::regex reference("\\$\\{([^}]*)\\}|\\$([A-Za-z_][A-Za-z0-9_]*)|\\$\\{");
    std::string result;
    auto copied = text.begin();
    for (boost::sregex_iterator match(text.begin(), text.end(), reference), end; match != end; ++match) {
        if (match->str() == "${") {
            throw std::runtime_error("no closing brace");
        }
        const std::string name = (*match)[1].matched ? (*match)[1].str() : (*match)[2].str();
        const auto entry = name.empty() ? map.end() : map.find(name);
        result.append(copied, (*match)[0].first);
        copied = (*match)[0].second;
        if (entry == map.end()) {
            result += match->str();
            continue;
        }
        if (name < current) {
            result += entry->second;
            continue;
        }
        if (std::find(chain.begin(), chain.end(), name) != chain.end()) {
            throw std::runtime_error("cycle");
        }
        chain.push_back(name);
        result += expand(entry->second, map, current, chain);
        chain.pop_back();
    }
    return result.append(copied, text.end());
}

}  // namespace

void mergeLayered(const Kym::EnvironmentVariable& variable, Variables& target) {
    const auto existing = findByName(target, variable.name);
    std::string current;
    if (existing != target.end()) {
        current = boost::replace_all_copy(existing->value, "\\", "\\\\");
    }
    const boost::regex pattern("\\$" + variable.name + "|\\$\\{" + variable.name + "\\}");
    const std::string value = boost::regex_replace(variable.value, pattern, current);
    if (existing == target.end()) {
        Kym::EnvironmentVariable added(variable.name, value);
        added.comment = variable.comment;
        added.type = variable.type;
        target.push_back(added);
    } else {
        existing->comment = variable.comment;
        existing->value = value;
    }
}

std::string collapseSeparators(const std::string& value) {
    return boost::regex_replace(value, boost::regex("(\\w(\\\\|/))(\\\\|/)"), std::string("$1"));
}

std::string cleanPathList(std::string value) {
    value = collapseSeparators(value);
    boost::replace_all(value, ":", ";");
    boost::replace_all(value, "\"", "");
    value = boost::regex_replace(value, boost::regex("((^|;)\\w);"), std::string("$1:"));
    std::vector<std::string> pieces;
    boost::split(pieces, value, boost::is_any_of(";"));
    std::vector<std::string> seen;
    std::vector<std::string> kept;
    for (std::string piece : pieces) {
        if (piece.empty() || std::find(seen.begin(), seen.end(), piece) != seen.end()) {
            continue;
        }
        seen.push_back(piece);
        boost::replace_all(piece, "//", "/");
        boost::replace_all(piece, "/", "\\");
        kept.push_back(piece);
    }
    return boost::join(kept, ";");
}

std::vector<std::string> splitArguments(const std::string& text) {
    const boost::regex pattern("(\".*\"|[^\\s]+)");
    return {boost::sregex_token_iterator(text.begin(), text.end(), pattern), boost::sregex_token_iterator()};
}

std::map<std::string, std::string> buildEnvironment(const Input& input) {
    Variables list;
    for (const std::string& text : input.process) {
        const std::size_t equals = text.find('=');
        std::string name = text.substr(0, equals);
        for (char& c : name) {
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        }
        list.emplace_back(name, text.substr(equals + 1));
    }
    for (const auto& variable : input.siteDerived) {
        mergePlain(variable, list);
    }
    list.insert(list.end(), input.siteAppended.begin(), input.siteAppended.end());
    for (const Variables& layer : input.layers) {
        for (const auto& variable : layer) {
            mergeLayered(variable, list);
        }
    }
    if (input.addCadLibrariesToPath) {
        const auto path = findByName(list, "PATH");
        if (path == list.end()) {
            list.emplace_back("PATH", std::string("${UGII_BASE_DIR}/ugii"));
        } else {
            path->value = "${UGII_BASE_DIR}/ugii:" + path->value;
        }
    }
    list.insert(list.end(), input.launcher.begin(), input.launcher.end());

    Map map;
    for (const auto& variable : list) {
        if (!isValidName(variable.name)) {
            continue;
        }
        if (variable.value.empty()) {
            map.erase(variable.name);
        } else {
            map[variable.name] = variable.value;
        }
    }
    for (auto& [name, value] : map) {
        std::vector<std::string> chain = {name};
        try {
            value = expand(value, map, name, chain);
        } catch (const std::exception& error) {
            throw std::runtime_error("Error expanding variable '" + name + "'.\n" + error.what());
        }
        if (value.find("http:") == std::string::npos) {
            boost::replace_all(value, "\\", "/");
            boost::replace_all(value, "/", "\\");
        }
    }
    for (auto& [name, value] : map) {
        if (name.find("PATH") != std::string::npos && name.find("CLASSPATH") == std::string::npos) {
            value = cleanPathList(value);
        }
    }
    return map;
}

}  // namespace Transcription
