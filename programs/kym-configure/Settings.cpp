#include "Settings.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/filesystem/operations.hpp>

#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"

#include "Tables.h"

namespace {

[[noreturn]] void refuse(const std::string& name, const std::string& text, const std::string& rule) {
    throw std::runtime_error(quoted(text) + " cannot be the value of " + name + ": " + rule + ".");
}

using Rule = std::function<std::string(const std::string&)>;

std::string noRule(const std::string&) {
    return "";
}

std::string variableNameRule(const std::string& text) {
    std::vector<Kym::EnvironmentVariable> list = {{text, ""}};
    return Kym::EnvVariableListSource(&list).valueIsValid("Name", 0) ? "" : ruleOf("Name");
}

std::string pluginsLocationRule(const std::string& text) {
    boost::system::error_code error;
    return boost::filesystem::exists(text, error) && !boost::filesystem::is_directory(text, error)
               ? "what stands there is not a directory"
               : "";
}

std::string variableValueRule(const std::string& text) {
    std::vector<Kym::EnvironmentVariable> list = {{"", text}};
    return Kym::EnvVariableListSource(&list).valueIsValid("Value", 0) ? "" : ruleOf("Value");
}

/// What Windows allows in the name of a file or a directory.
std::string fileNameRule(const std::string& text) {
    const bool isName =
        !text.empty() && text.back() != '.' && text.back() != ' ' &&
        text.find_first_of("<>:\"/\\|?*") == std::string::npos &&
        std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= ' '; });
    return isName ? ""
                  : "it names a file or a directory, so it is not empty, holds none of < > : \" / \\ | ? * "
                    "and no "
                    "control character, and ends with neither a dot nor a blank";
}

std::string fileNamePartRule(const std::string& text) {
    return text.empty() ? "" : fileNameRule(text);
}

Setting textSetting(const std::string& name, std::string& member, const std::function<void()>& mark,
                    const Rule& brokenRule = noRule) {
    return {name,
            Setting::Kind::text,
            [&member] { return member; },
            [&member, mark, name, brokenRule](const std::string& text) {
                if (const std::string rule = brokenRule(text); !rule.empty()) {
                    refuse(name, text, rule);
                }
                member = text;
                mark();
            },
            nullptr,
            brokenRule};
}

Setting truthSetting(const std::string& name, bool& member, const std::function<void()>& mark) {
    return {name, Setting::Kind::truth, [&member] { return std::string(member ? "True" : "False"); },
            [&member, mark, name](const std::string& text) {
                const std::string small = boost::to_lower_copy(text, std::locale::classic());
                if (small != "true" && small != "false") {
                    refuse(name, text, "it is True or False");
                }
                member = small == "true";
                mark();
            }};
}

Setting pathSetting(const std::string& name, Kym::EnvironmentVariable& variable,
                    const std::function<void()>& mark) {
    Setting result = textSetting(name, variable.value, mark, variableValueRule);
    result.variable = &variable;
    return result;
}

std::vector<Setting> systemSettings() {
    using Kym::SystemInfo;
    struct Constant {
        const char* name;
        std::string SystemInfo::*member;
        std::string (*brokenRule)(const std::string&) = noRule;
    };
    static const std::vector<Constant> members = {
        {"CadProductName", &SystemInfo::CadProductName},
        {"CadSupportedVersionString", &SystemInfo::CadSupportedVersionString},
        {"KymVersionString", &SystemInfo::KymVersionString},
        {"CadVersionDirectory", &SystemInfo::CadVersionDirectory, fileNameRule},
        {"PreviousCadVersionDirectory", &SystemInfo::PreviousCadVersionDirectory, fileNameRule},
        {"KymConfigPathEnvVarName", &SystemInfo::KymConfigPathEnvVarName, variableNameRule},
        {"KymConfigFallbackDirectoryName", &SystemInfo::KymConfigFallbackDirectoryName, fileNameRule},
        {"KymApplicationDataDirectoryName", &SystemInfo::KymApplicationDataDirectoryName, fileNameRule},
        {"BroadcastDirectoryName", &SystemInfo::BroadcastDirectoryName, fileNameRule},
        {"BroadcastStartMessage", &SystemInfo::BroadcastStartMessage},
        {"SiteSettingsSuffix", &SystemInfo::SiteSettingsSuffix, fileNamePartRule},
        {"CadWindowsRegistryPath", &SystemInfo::CadWindowsRegistryPath},
        {"CadInstallPathVariable", &SystemInfo::CadInstallPathVariable, variableNameRule},
        {"CadWebBrowserVariable", &SystemInfo::CadWebBrowserVariable, variableNameRule},
        {"tcEngInstallPathVariable", &SystemInfo::tcEngInstallPathVariable, variableNameRule},
        {"tcEngDatabaseVariable", &SystemInfo::tcEngDatabaseVariable, variableNameRule},
        {"CadVersionDataFilename", &SystemInfo::CadVersionDataFilename, fileNameRule},
    };
    std::vector<Setting> result;
    result.reserve(members.size());
    SystemInfo& system = Kym::SystemInformation();
    for (const auto& [name, member, brokenRule] : members) {
        result.push_back(textSetting(
            name, system.*member, [&system] { system.settingsChanged(); }, brokenRule));
    }
    return result;
}

std::vector<Setting> siteSettings() {
    using Kym::SiteSettings;
    static const std::vector<std::pair<const char*, Kym::EnvironmentVariable SiteSettings::*>> members = {
        {"winNxInstallPath", &SiteSettings::winNxInstallPath},
        {"unixNxInstallPath", &SiteSettings::unixNxInstallPath},
        {"winTcEngInstallPath", &SiteSettings::winTcEngInstallPath},
        {"unixTcEngInstallPath", &SiteSettings::unixTcEngInstallPath},
        {"winPortalInstallPath", &SiteSettings::winPortalInstallPath},
        {"unixPortalInstallPath", &SiteSettings::unixPortalInstallPath},
        {"winPlotConfBase", &SiteSettings::winPlotConfBase},
        {"unixPlotConfBase", &SiteSettings::unixPlotConfBase},
        {"browser", &SiteSettings::browser},
    };
    SiteSettings& site = Kym::SiteInformation();
    const auto mark = [&site] { site.settingsChanged(); };
    std::vector<Setting> result;
    result.reserve(members.size() + 3);
    for (const auto& [name, member] : members) {
        result.push_back(pathSetting(name, site.*member, mark));
    }
    result.push_back(truthSetting("useWindowsRegistry", site.useWindowsRegistry, mark));
    result.push_back(textSetting("winExternalPluginsLocation", site.winExternalPluginsLocation, mark,
                                 pluginsLocationRule));
    result.push_back(textSetting("unixExternalPluginsLocation", site.unixExternalPluginsLocation, mark));
    return result;
}

std::vector<Setting> departmentSettings(Kym::Configuration& department) {
    const auto mark = [&department] { department.setNeedsSaving(true); };
    std::vector<Setting> result = {textSetting("description", department.description, mark),
                                   textSetting("type", department.type, mark),
                                   textSetting("commonDepartment", department.commonDepartment, mark),
                                   truthSetting("doFileCleanup", department.doFileCleanup, mark)};
    result[2].put = [put = result[2].put](const std::string& text) {
        if (text.find(' ') != std::string::npos) {
            refuse("commonDepartment", text, "the name of a department holds no blank");
        }
        put(text);
    };
    result.push_back({"cleanupDays", Setting::Kind::number,
                      [&department] { return std::to_string(department.cleanupDays); },
                      [&department, mark](const std::string& text) {
                          const char* end = text.data() + text.size();
                          std::uint32_t days = 0;
                          const auto read = std::from_chars(text.data(), end, days);
                          if (read.ec != std::errc() || read.ptr != end) {
                              refuse("cleanupDays", text, "it is a number of days from 0 to 4294967295");
                          }
                          department.cleanupDays = days;
                          mark();
                      }});
    return result;
}

}  // namespace

std::vector<Setting> settingsOf(const Layer& layer) {
    if (layer.department) {
        return departmentSettings(*layer.department);
    }
    if (layer.plugin) {
        return {textSetting("type", layer.plugin->pluginType,
                            [plugin = layer.plugin] { plugin->setNeedsSaving(true); })};
    }
    return layer.path == "system" ? systemSettings()
           : layer.path == "site" ? siteSettings()
                                  : std::vector<Setting>();
}
