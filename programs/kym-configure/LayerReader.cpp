#include <algorithm>
#include <charconv>
#include <functional>
#include <numeric>
#include <set>
#include <stdexcept>

#include <boost/algorithm/string/join.hpp>
#include <boost/json.hpp>

#include "Checks.h"
#include "LayerFile.h"
#include "Settings.h"
#include "Tables.h"

namespace {

using boost::json::value;

/// What Windows programs put in front of a text that is UTF-8.
const std::string mark = "\xEF\xBB\xBF";

/// The line at which a member stands in an object for the second time, of which a reader keeps only one; 0
/// when none does. The text is JSON.
std::size_t lineOfRepetition(const std::string& text) {
    std::size_t line = 1;
    std::vector<std::set<std::string>> open;  // the members of each object that is open, none of each list
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        line += c == '\n' ? 1U : 0U;
        if (c == '{' || c == '[') {
            open.emplace_back();
        } else if (c == '}' || c == ']') {
            open.pop_back();
        } else if (c == '"') {
            const std::size_t begin = at++;
            while (text[at] != '"') {
                at += text[at] == '\\' ? 2 : 1;
            }
            const std::size_t next = text.find_first_not_of(" \t\r\n", at + 1);
            const bool isName = next != std::string::npos && text[next] == ':';
            if (isName && !open.back().insert(text.substr(begin, at - begin)).second) {
                return line;
            }
        }
    }
    return 0;
}

value parse(const std::string& content, const std::string& file) {
    if (content.starts_with("\xFF\xFE") || content.starts_with("\xFE\xFF")) {
        throw std::runtime_error(
            file +
            " is UTF-16, as PowerShell writes with \">\"; UTF-8 is expected. Name the file "
            "to kym-configure export, as in: kym-configure export LAYER FILE");
    }
    const std::string text = content.substr(content.starts_with(mark) ? mark.size() : 0);
    boost::json::stream_parser parser;
    boost::json::error_code error;
    const std::size_t read = parser.write_some(text.data(), text.size(), error);
    if (!error && read < text.size()) {
        error = boost::json::error::extra_data;
    }
    if (!error) {
        parser.finish(error);
    }
    if (error) {
        const auto end = text.begin() + static_cast<std::ptrdiff_t>(read);
        throw std::runtime_error(file + ", line " + std::to_string(1 + std::count(text.begin(), end, '\n')) +
                                 ": this is not JSON: " + error.message() + ".");
    }
    if (const std::size_t line = lineOfRepetition(text); line != 0) {
        throw std::runtime_error(file + ", line " + std::to_string(line) +
                                 ": a member of that name stands in the object already.");
    }
    return parser.release();
}

/// Reads a layer's parts out of the document and notes what is wrong, with its place.
class LayerReader {
  public:
    explicit LayerReader(const Layer& layer) : mLayer(layer) {}

    std::vector<std::string> read(const value& document) {
        const value* const layer =
            document.is_object() ? document.get_object().if_contains("layer") : nullptr;
        if (layer) {
            readLayer(*layer, "/layer");
        }
        if (!mProblems.empty()) {
            return mProblems;  // whatever another layer holds would be wrong here
        }
        using Members = std::vector<Member>;
        Members members = {{"format", [this](const value& v, const std::string& at) { readFormat(v, at); }},
                           {"layer", [](const value&, const std::string&) {}}};  // read first
        if (mLayer.path != "base") {
            members.push_back(
                {"settings", [this](const value& v, const std::string& at) { readSettings(v, at); }});
        }
        if (mLayer.variables) {
            members.push_back({"variables", [this](const value& v, const std::string& at) {
                                   readVariables(v, at, *mLayer.variables);
                               }});
        }
        if (mLayer.applications) {
            members.push_back(
                {"applications", [this](const value& v, const std::string& at) { readApplications(v, at); }});
        }
        if (mLayer.departmentSettings()) {
            members.push_back({"workDirectories", [this](const value& v, const std::string& at) {
                                   readWorkDirectories(v, at);
                               }});
            members.push_back(
                {"overlays", [this](const value& v, const std::string& at) { readOverlays(v, at); }});
            members.push_back({"disabledPlugins", [this](const value& v, const std::string& at) {
                                   readDisabledPlugins(v, at);
                               }});
        }
        if (mLayer.department && !mLayer.variables && document.is_object() &&
            document.get_object().contains("variables")) {
            note("/variables",
                 "the department is not prepared for the present release; run first: kym prepare " +
                     wordFor(mLayer.department->name()));
            return mProblems;
        }
        readObject(document, "", members);
        if (mProblems.empty() &&
            !(document.as_object().contains("format") && document.as_object().contains("layer"))) {
            note("", "the members \"format\" and \"layer\" are expected");
        }
        return mProblems;
    }

  private:
    struct Member {
        std::string name;
        std::function<void(const value&, const std::string&)> take;
    };

    void note(const std::string& at, const std::string& what) {
        mProblems.push_back((at.empty() ? "the top" : at) + ": " + what + ".");
    }

    void readObject(const value& v, const std::string& at, const std::vector<Member>& members) {
        if (!v.is_object()) {
            note(at, "an object is expected");
            return;
        }
        for (const auto& entry : v.get_object()) {
            const std::string name(entry.key());
            const auto member = std::find_if(members.begin(), members.end(),
                                             [&name](const Member& known) { return known.name == name; });
            if (member == members.end()) {
                note(at + '/' + name, "there is no such member here");
            } else {
                member->take(entry.value(), at + '/' + name);
            }
        }
    }

    void require(const value& item, const std::string& at, const char* member) {
        if (item.is_object() && !item.get_object().contains(member)) {
            note(at, "the member " + quoted(member) + " is expected");
        }
    }

    void readList(const value& v, const std::string& at,
                  const std::function<void(const value&, const std::string&)>& take) {
        if (!v.is_array()) {
            note(at, "a list is expected");
            return;
        }
        std::size_t number = 0;
        for (const value& item : v.get_array()) {
            take(item, at + '/' + std::to_string(number++));
        }
    }

    Member text(const std::string& name, std::string& target) {
        return {name, [this, &target](const value& v, const std::string& at) {
                    if (!v.is_string()) {
                        note(at, "a text is expected");
                    } else if (v.get_string().find('\0') != boost::json::string::npos) {
                        note(at, "a text without the character U+0000 is expected");
                    } else {
                        target = std::string(v.get_string());
                    }
                }};
    }

    Member truth(const std::string& name, bool& target) {
        return {name, [this, &target](const value& v, const std::string& at) {
                    if (v.is_bool()) {
                        target = v.get_bool();
                    } else {
                        note(at, "true or false is expected");
                    }
                }};
    }

    Member platform(Kym::PlatformType& target) {
        return {"platform", [this, &target](const value& v, const std::string& at) {
                    static const std::vector<std::string> names = {"common", "unix", "windows"};
                    const std::string text = v.is_string() ? std::string(v.get_string()) : std::string();
                    const auto name = std::find(names.begin(), names.end(), text);
                    int number = static_cast<int>(name - names.begin());
                    if (name == names.end()) {  // another program's, which export wrote as a number
                        const char* end = text.data() + text.size();
                        const auto read = std::from_chars(text.data(), end, number);
                        if (text.empty() || read.ec != std::errc() || read.ptr != end) {
                            note(at, "common, unix or windows is expected");
                            return;
                        }
                    }
                    target = static_cast<Kym::PlatformType>(number);
                }};
    }

    void readFormat(const value& v, const std::string& at) {
        if (!v.is_int64() || v.get_int64() != 1) {
            note(at, "this program reads format 1");
        }
    }

    void readLayer(const value& v, const std::string& at) {
        std::string path;
        text("layer", path).take(v, at);
        const std::string kind = mLayer.path.substr(0, mLayer.path.find('/'));
        if (path.substr(0, path.find('/')) != kind) {
            note(at, "a layer of the kind " + quoted(kind) + " is expected, not " + quoted(path));
        }
    }

    void readSettings(const value& v, const std::string& at) {
        std::vector<Member> members;
        for (const Setting& setting : settingsOf(mLayer)) {
            members.push_back({setting.name, [this, setting](const value& content, const std::string& place) {
                                   readSetting(setting, content, place);
                               }});
        }
        readObject(v, at, members);
    }

    void readSetting(const Setting& setting, const value& v, const std::string& at) {
        std::string content = setting.get();
        const std::size_t before = mProblems.size();
        if (setting.variable) {  // export leaves out an empty comment and the common platform
            setting.variable->comment.clear();
            setting.variable->type = Kym::PlatformType::Common;
            readObject(v, at,
                       {text("value", content), text("comment", setting.variable->comment),
                        platform(setting.variable->type)});
        } else if (setting.kind == Setting::Kind::truth) {
            bool isTrue = false;
            truth(setting.name, isTrue).take(v, at);
            content = isTrue ? "True" : "False";
        } else if (setting.kind == Setting::Kind::number) {
            content = boost::json::serialize(v);
        } else {
            text(setting.name, content).take(v, at);
        }
        if (mProblems.size() == before) {
            try {
                setting.put(content);
            } catch (const std::exception& error) {
                const std::string what = error.what();
                note(at, what.substr(0, what.find_last_not_of('.') + 1));
            }
        }
    }

    void readVariables(const value& v, const std::string& at, Kym::SettingsProtocol& owner) {
        const auto list = [this](const char* name, Kym::EnvVariableListSource* source) {
            return Member{name, [this, source](const value& content, const std::string& place) {
                              readVariableList(content, place, *source);
                          }};
        };
        readObject(v, at,
                   {list("common", owner.commonVariables()), list("unix", owner.unixVariables()),
                    list("windows", owner.winVariables())});
    }

    void readVariableList(const value& v, const std::string& at, Kym::EnvVariableListSource& source) {
        clear(source);
        readList(v, at, [this, &source](const value& item, const std::string& place) {
            const int row = append(source);
            Kym::EnvironmentVariable& variable = source.variable(row);
            require(item, place, "name");
            readObject(item, place,
                       {text("name", variable.name), text("value", variable.value),
                        text("comment", variable.comment), platform(variable.type)});
            for (const char* column : {"Name", "Value"}) {
                if (!source.valueIsValid(column, row)) {
                    note(place, ruleOf(column));
                }
            }
        });
    }

    void readApplications(const value& v, const std::string& at) {
        Kym::ApplicationListSource& source = *mLayer.applications;
        clear(source);
        readList(v, at, [this, &source](const value& item, const std::string& place) {
            Kym::ConfigApplication& application = source.application(append(source));
            require(item, place, "id");
            readObject(item, place,
                       {text("id", application.applicationId),
                        text("category", application.category),
                        text("description", application.description),
                        text("executable", application.program),
                        text("arguments", application.arguments),
                        truth("addLibraries", application.addUgLibsToPath),
                        truth("noCustomization", application.disableCustomization),
                        truth("disabled", application.disableApplication),
                        platform(application.platform),
                        {"variables", [this, &application](const value& content, const std::string& where) {
                             readVariables(content, where, application);
                         }}});
        });
    }

    void readWorkDirectories(const value& v, const std::string& at) {
        Kym::WorkDirectoryListSource& source = *mLayer.departmentSettings()->workDirectories();
        clear(source);
        readList(v, at, [this, &source](const value& item, const std::string& place) {
            std::string name, path;
            require(item, place, "name");
            readObject(item, place, {text("name", name), text("path", path)});
            const int row = append(source);
            source.setValueForListColumnRow("Name", row, name);
            source.setValueForListColumnRow("Path", row, path);
        });
    }

    void readOverlays(const value& v, const std::string& at) {
        Kym::ConfigurationSettings& settings = *mLayer.departmentSettings();
        const std::vector<Kym::ApplicationOverlay> before = settings.overlays();
        for (const Kym::ApplicationOverlay& overlay : before) {
            settings.removeOverlay(overlay.configurationName, overlay.applicationId);
        }
        readList(v, at, [this, &settings](const value& item, const std::string& place) {
            Kym::ApplicationOverlay overlay;
            require(item, place, "id");
            readObject(item, place,
                       {text("configuration", overlay.configurationName), text("id", overlay.applicationId),
                        text("category", overlay.category), text("description", overlay.description),
                        truth("disabled", overlay.disableApplication)});
            if (settings.hasOverlay(overlay.configurationName, overlay.applicationId)) {
                note(place, "there is an overlay of this application already");
            }
            settings.setOverlay(overlay);
        });
    }

    void readDisabledPlugins(const value& v, const std::string& at) {
        std::vector<std::string> names;
        readList(v, at, [this, &names](const value& item, const std::string& place) {
            text("", names.emplace_back()).take(item, place);
        });
        mLayer.departmentSettings()->setDisabledPlugins(names);
    }

    static void clear(Base::DataSourceInterface& source) {
        std::vector<int> rows(static_cast<std::size_t>(source.numberOfRowsInList()));
        std::iota(rows.begin(), rows.end(), 0);
        source.deleteRows(rows);
    }

    static int append(Base::DataSourceInterface& source) {
        source.insertRow(-1);
        return source.numberOfRowsInList() - 1;
    }

    const Layer& mLayer;
    std::vector<std::string> mProblems;
};

}  // namespace

std::vector<std::string> layerFromJson(const Layer& layer, const std::string& text, const std::string& file) {
    std::vector<std::string> problems = LayerReader(layer).read(parse(text, file));
    std::vector<std::string> warnings;
    if (problems.empty()) {
        Findings findings;
        checkContent(layer, findings);
        for (const Finding& finding : findings) {
            (finding.isError ? problems : warnings).push_back(placeOf(finding) + ": " + finding.reason);
        }
    }
    if (!problems.empty()) {
        throw std::runtime_error(file + " cannot be imported, and nothing was changed:\n  " +
                                 boost::join(problems, "\n  "));
    }
    return warnings;
}
