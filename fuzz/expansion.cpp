// Expansion of references. The first line of an input is a text, each further one a variable, NAME=VALUE: the
// results are those of a plain recursive expansion, and do not depend on the order of the variables.
#include <optional>
#include <stdexcept>

#include "base/Environment.h"

#include "fuzz/Fuzz.h"

namespace {

using Base::Environment::VariableMap;
using Fuzz::require;

/// Expands by the rules, without regard to time.
class Plain {
  public:
    explicit Plain(const VariableMap& variables) : mVariables(variables) {}

    std::string expand(std::string_view text) {
        std::string result;
        while (!text.empty()) {
            std::size_t length = 1;
            std::optional<std::string> value;
            if (text.front() == '$') {
                const std::string name = nameOf(text.substr(1), length);
                value = name.empty() ? std::nullopt : valueOf(name);
            }
            result += value ? *value : std::string(text.substr(0, length));
            if (result.size() > 1U << 20U) {
                throw std::runtime_error("too long");
            }
            text.remove_prefix(length);
        }
        return result;
    }

    std::optional<std::string> valueOf(const std::string& name) {
        const auto found = mVariables.find(name);
        if (found == mVariables.end()) {
            return std::nullopt;
        }
        const auto [known, isNew] = mKnown.try_emplace(name);
        if (isNew) {
            known->second = expand(found->second);
        } else if (!known->second) {
            throw std::runtime_error("a cycle");
        }
        return known->second;
    }

  private:
    /// The name that begins there; `length` becomes that of the reference, if there is one.
    static std::string nameOf(std::string_view text, std::size_t& length) {
        if (text.starts_with('{')) {
            const std::size_t end = text.find('}');
            if (end == text.npos) {
                throw std::runtime_error("no end");
            }
            length = end + 2;
            return std::string(text.substr(1, end - 1));
        }
        constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
        if (text.empty() || letters.find(text.front()) == letters.npos) {
            return {};
        }
        const std::size_t end =
            std::min(text.find_first_not_of(std::string(letters) + "0123456789"), text.size());
        length = end + 1;
        return std::string(text.substr(0, end));
    }

    const VariableMap& mVariables;
    std::map<std::string, std::optional<std::string>> mKnown;
};

/// The result of a call that expands; nothing when it throws.
template <typename Error, typename Call>
auto resultOf(const Call& call) -> std::optional<decltype(call())> {
    try {
        return call();
    } catch (const Error&) {
        return std::nullopt;
    }
}

/// All variables expanded in that order; nothing when one of them cannot be.
std::optional<VariableMap> expandAll(VariableMap variables, const std::vector<std::string>& order) {
    using Base::Environment::Expander;
    Expander expander([&](std::string_view name) -> std::optional<Expander::Value> {
        const auto found = variables.find(std::string(name));
        return found == variables.end() ? std::nullopt : std::optional(Expander::Value{found->second});
    });
    return resultOf<Base::Environment::ExpansionError>([&] {
        for (const std::string& name : order) {
            std::string& value = variables.at(name);
            value = expander.expandVariable(name, value);
        }
        return variables;
    });
}

void checkAll(const VariableMap& variables) {
    std::vector<std::string> names;
    for (const auto& variable : variables) {
        names.push_back(variable.first);
    }
    const auto expected = resultOf<std::runtime_error>([&] {
        VariableMap expanded;
        for (const std::string& name : names) {
            expanded[name] = *Plain(variables).valueOf(name);
        }
        return expanded;
    });
    require(expandAll(variables, names) == expected, "variables have their plain expansions");
    require(expandAll(variables, {names.rbegin(), names.rend()}) == expected, "in the other order, too");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::string> lines = Fuzz::split(Fuzz::textOf(data, size), '\n');
    VariableMap variables;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const Fuzz::Variable variable = Fuzz::variableOf(lines[i]);
        variables[variable.name] = variable.value;
    }
    std::string text = lines.front();
    const auto expected = resultOf<std::runtime_error>([&] { return Plain(variables).expand(text); });
    const auto result = resultOf<Base::Environment::ExpansionError>(
        [&] { return Base::Environment::expandEnvVariables(text, variables); });
    require(result == expected, "a text has its plain expansion", lines.front());
    require(result ? text == *result : text == lines.front(), "the text changes with a result only", text);
    checkAll(variables);
    return 0;
}
