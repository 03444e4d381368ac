#include "Settings.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include <boost/algorithm/string/case_conv.hpp>

#include "kym/SiteSettings.h"
#include "kym/SystemInfo.h"

#include "Tables.h"

namespace {

[[noreturn]] void refuse(const std::string& name, const std::string& text, const std::string& rule) {
    throw std::runtime_error(quoted(text) + " cannot be the value of " + name + ": " + rule + ".");
}

Setting textSetting(const std::string& name, std::string& member, const std::function<void()>& mark) {
    return {name, Setting::Kind::text, [&member] { return member; },
            [&member, mark](const std::string& text) {
                member = text;
                mark();
            }};
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
    return {name, Setting::Kind::text, [&variable] { return variable.value; },
            [&variable, mark, name](const std::string& text) {
                if (!isValidValue({variable.name, text})) {
                    refuse(name, text, ruleOf("Value"));
                }
                variable.value = text;
                mark();
            },
            &variable};
}

std::vector<Setting> systemSettings() {
    using Kym::SystemInfo;
    static const std::vector<std::pair<const char*, std::string SystemInfo::*>> members = {
        {"CadProductName", &SystemInfo::CadProductName},
        {"CadSupportedVersionString", &SystemInfo::CadSupportedVersionString},
        {"KymVersionString", &SystemInfo::KymVersionString},
        {"CadVersionDirectory", &SystemInfo::CadVersionDirectory},
        {"PreviousCadVersionDirectory", &SystemInfo::PreviousCadVersionDirectory},
        {"KymConfigPathEnvVarName", &SystemInfo::KymConfigPathEnvVarName},
        {"KymConfigFallbackDirectoryName", &SystemInfo::KymConfigFallbackDirectoryName},
        {"KymApplicationDataDirectoryName", &SystemInfo::KymApplicationDataDirectoryName},
        {"BroadcastDirectoryName", &SystemInfo::BroadcastDirectoryName},
        {"BroadcastStartMessage", &SystemInfo::BroadcastStartMessage},
        {"SiteSettingsSuffix", &SystemInfo::SiteSettingsSuffix},
        {"CadWindowsRegistryPath", &SystemInfo::CadWindowsRegistryPath},
        {"CadInstallPathVariable", &SystemInfo::CadInstallPathVariable},
        {"CadWebBrowserVariable", &SystemInfo::CadWebBrowserVariable},
        {"tcEngInstallPathVariable", &SystemInfo::tcEngInstallPathVariable},
        {"tcEngDatabaseVariable", &SystemInfo::tcEngDatabaseVariable},
        {"CadVersionDataFilename", &SystemInfo::CadVersionDataFilename},
    };
    std::vector<Setting> result;
    SystemInfo& system = Kym::SystemInformation();
    for (const auto& [name, member] : members) {
        result.push_back(textSetting(name, system.*member, [&system] { system.settingsChanged(); }));
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
    for (const auto& [name, member] : members) {
        result.push_back(pathSetting(name, site.*member, mark));
    }
    result.push_back(truthSetting("useWindowsRegistry", site.useWindowsRegistry, mark));
    result.push_back(textSetting("winExternalPluginsLocation", site.winExternalPluginsLocation, mark));
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

bool isValidValue(const Kym::EnvironmentVariable& variable) {
    std::vector<Kym::EnvironmentVariable> list = {variable};
    return Kym::EnvVariableListSource(&list).valueIsValid("Value", 0);
}
