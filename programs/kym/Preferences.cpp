#include "Preferences.h"

#include <array>
#include <charconv>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <boost/any.hpp>

#include "base/PropertyListDate.h"
#include "kym/SystemPreferences.h"

#include "Choice.h"
#include "programs/common/Json.h"
#include "programs/common/Table.h"
#include "programs/common/Text.h"

namespace {

using Dictionary = std::map<std::string, boost::any>;
using Array = std::vector<boost::any>;

struct Request {
    std::string application = "kym";
    std::string key;
    std::string value;
    std::string type = "string";
    bool ofDepartment = false;
    bool ofAllApplications = false;
    bool json = false;
};

template <typename Number>
bool append(std::string& text, const boost::any& value) {
    const auto* number = boost::any_cast<Number>(&value);
    if (number) {
        std::array<char, 32> digits;
        text.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), *number).ptr);
    }
    return number != nullptr;
}

void append(std::string& text, const std::vector<char>& bytes) {
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += {"0123456789abcdef"[byte >> 4U], "0123456789abcdef"[byte & 0xFU]};
    }
}

/// A value as a person reads it: texts in arrays and dictionaries are quoted, data is hexadecimal.
std::string textOf(const boost::any& value, bool inner = false) {
    std::string text;
    if (const auto* string = boost::any_cast<std::string>(&value)) {
        return inner ? '"' + *string + '"' : *string;
    }
    if (const auto* flag = boost::any_cast<bool>(&value)) {
        return *flag ? "true" : "false";
    }
    if (const auto* date = boost::any_cast<Base::PropertyListDate>(&value)) {
        return date->text;
    }
    if (const auto* bytes = boost::any_cast<std::vector<char>>(&value)) {
        append(text, *bytes);
        return '<' + text + '>';
    }
    if (const auto* array = boost::any_cast<Array>(&value)) {
        for (const boost::any& element : *array) {
            text += (text.empty() ? "" : ", ") + textOf(element, true);
        }
        return '[' + text + ']';
    }
    if (const auto* dictionary = boost::any_cast<Dictionary>(&value)) {
        for (const auto& [name, element] : *dictionary) {
            text += (text.empty() ? "" : ", ") + name + " = " + textOf(element, true);
        }
        return '{' + text + '}';
    }
    append<unsigned int>(text, value) || append<int>(text, value) || append<long long>(text, value) ||
        append<unsigned long long>(text, value) || append<double>(text, value);
    return text;
}

template <typename Number>
boost::any numberOf(const std::string& text) {
    Number number = 0;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    return end == last && error == std::errc() ? boost::any(number) : boost::any();
}

boost::any valueOf(const std::string& text, const std::string& type) {
    boost::any value;
    if (type == "string") {
        value = text;
    } else if (type == "integer") {
        value = numberOf<long long>(text);
    } else if (type == "real") {
        value = numberOf<double>(text);
    } else if (text == "true" || text == "false") {
        value = text == "true";
    }
    if (value.empty()) {
        throw std::runtime_error('"' + text + "\" is no " + type + '.');
    }
    return value;
}

/// The preferences with the one domain that a request is to change.
class Domain {
  public:
    explicit Domain(const Request& request)
        : mPreferences(request.application),
          mFile(request.ofAllApplications ? mPreferences.AnyApplication()
                                          : mPreferences.CurrentApplication()),
          mDirectory(request.ofDepartment ? mPreferences.AnyUser() : mPreferences.CurrentUser()) {
        if (mDirectory.starts_with("${KYM_DEPT_DIR}") || mDirectory.ends_with("/${UG_VER}/preferences/")) {
            throw std::runtime_error(
                "There is no department: KYM_DEPT_DIR and UG_VER must be set, as they "
                "are in a process that was launched.");
        }
    }

    boost::shared_ptr<boost::any> get(const std::string& key) const {
        return mPreferences.GetPreference(key, mFile, mDirectory);
    }
    void set(const std::string& key, const boost::any& value) {
        mPreferences.SetPreference(key, value, mFile, mDirectory);
    }

    /// A removal is written with the next set only, and takes no key but a name.
    void remove(const std::string& key) {
        const std::size_t end = key.rfind('/');
        if (end == std::string::npos) {
            set(key, true);
            mPreferences.RemovePreference(key, mFile, mDirectory);
        } else {
            boost::any parent = *get(key.substr(0, end));
            boost::any_cast<Dictionary&>(parent).erase(key.substr(end + 1));
            set(key.substr(0, end), parent);
        }
    }

    /// The reason of a failure was written to standard error.
    void save() {
        mPreferences.Flush(mDirectory);
        if (mPreferences.needsSaving()) {
            throw std::runtime_error("The preference was not changed.");
        }
    }

  private:
    Kym::SystemPreferences mPreferences;
    std::string mFile;
    std::string mDirectory;
};

void get(const Request& request) {
    const auto value = Kym::SystemPreferences(request.application).GetPreference(request.key);
    if (!value) {
        throw std::runtime_error("There is no preference \"" + request.key + "\".");
    }
    std::cout << textOf(*value) << '\n';
}

void set(const Request& request) {
    Domain domain(request);
    domain.set(request.key, valueOf(request.value, request.type));
    domain.save();
}

void remove(const Request& request) {
    Domain domain(request);
    if (!domain.get(request.key)) {
        throw std::runtime_error("There is no preference \"" + request.key + "\" to remove there.");
    }
    domain.remove(request.key);
    domain.save();
}

void list(const Request& request) {
    std::vector<Row> rows = {{"KEY", "VALUE", "FILE"}};
    Json entries = Json::array();
    for (const Kym::SystemPreferences::Preference& preference :
         Kym::SystemPreferences(request.application).preferences()) {
        rows.push_back({preference.key, textOf(preference.value), nativeText(preference.file)});
        entries.add(
            Json::object({{"key", rows.back()[0]}, {"value", rows.back()[1]}, {"file", rows.back()[2]}}));
    }
    if (request.json) {
        std::cout << Json::object({{"preferences", entries}}).document();
    } else {
        writeTable(std::cout, rows);
    }
}

}  // namespace

void addPreferencesCommand(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    CLI::App* preferences = program.add_subcommand(
        "preferences",
        "Show or change preferences: the user's, the department's, its common department's and the "
        "installation's; the first of them that has a key supplies it");
    preferences->require_subcommand(1);
    preferences->footer("Example:\n  kym preferences set window/width 800 --type integer");
    const auto add = [&](const char* name, const char* text, const std::string& example,
                         void (*action)(const Request&)) {
        CLI::App* command = preferences->add_subcommand(name, text);
        command->footer("Example:\n  kym preferences " + example);
        command->callback([request, action] { action(*request); });
        command
            ->add_option("--application", request->application, "Whose preferences; those of kym otherwise")
            ->type_name("NAME");
        return command;
    };
    const auto addKey = [&](CLI::App* command) {
        command->add_option("KEY", request->key, "Names of dictionaries and of the value, joined by \"/\"")
            ->required()
            ->check([](const std::string& key) { return key.empty() ? "a key is expected" : std::string(); });
        return command;
    };
    const auto addChange = [&](const char* name, const char* text, const std::string& example,
                               void (*action)(const Request&)) {
        CLI::App* command = addKey(add(name, text, example, action));
        command->add_flag("--department", request->ofDepartment,
                          "The department's, as KYM_DEPT_DIR and UG_VER name it, instead of the user's");
        command->add_flag("--all-applications", request->ofAllApplications,
                          "The one for all applications instead of the application's");
        return command;
    };

    addKey(add("get", "Write the value of a preference", "get window/width", get));
    CLI::App* setting =
        addChange("set", "Set a preference of the user", "set window/width 800 --type integer", set);
    setting->add_option("VALUE", request->value, "The value")->required();
    setting->add_option("--type", request->type, "string (unless given), boolean, integer or real")
        ->type_name("TYPE")
        ->check(CLI::IsMember({"string", "boolean", "integer", "real"}));
    addChange("remove", "Remove a preference of the user, with all that it holds", "remove window", remove);
    addJson(*add("list", "List all preferences and the files that they are from", "list --json", list),
            request->json);
}
