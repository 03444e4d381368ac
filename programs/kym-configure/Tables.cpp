#include "Tables.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include <boost/algorithm/string/case_conv.hpp>

#include "kym/PluginsManager.h"

#include "DepartmentTables.h"

namespace {

const std::vector<std::string> variableColumns = {"Name", "Value"};
const std::vector<std::string> applicationColumns = {"AppID",     "Category",  "Description", "Executable",
                                                     "Arguments", "AddNXLibs", "NoCustom",    "Disable"};
const std::set<std::string> truthColumns = {"AddNXLibs", "NoCustom", "Disable", "Disabled"};

/// A model that its store owns.
std::shared_ptr<Base::DataSourceInterface> owned(Base::DataSourceInterface* source) {
    return {std::shared_ptr<void>(), source};
}

/// Rows whose cells are texts.
class TextRows : public Base::DataSourceInterface {
  public:
    TextRows(std::vector<std::vector<std::string>> rows, std::vector<std::string> columns)
        : mRows(std::move(rows)), mColumns(std::move(columns)) {}
    int numberOfRowsInList() const override { return static_cast<int>(mRows.size()); }
    boost::any valueForListColumnRow(const std::string& column, int row) const override {
        const auto place = std::find(mColumns.begin(), mColumns.end(), column) - mColumns.begin();
        return mRows.at(static_cast<std::size_t>(row)).at(static_cast<std::size_t>(place));
    }

  private:
    std::vector<std::vector<std::string>> mRows;
    std::vector<std::string> mColumns;
};

Table departmentList(Site& site) {
    const std::vector<std::string> columns = {"Name", "Type", "Description", "Common", "Prepared"};
    std::vector<std::vector<std::string>> rows;
    for (const Layer& layer : site.departments()) {
        rows.push_back({layer.department->name(), layer.department->type, layer.department->description,
                        layer.department->commonDepartment, layer.variables ? "True" : "False"});
    }
    Table result{"departments",
                 columns,
                 std::make_shared<TextRows>(std::move(rows), columns),
                 {},
                 "Departments come, go and get ready with kym create, kym delete and kym prepare."};
    result.rowLayers = site.departments();
    result.settings = {{"Type", "type"}, {"Description", "description"}, {"Common", "commonDepartment"}};
    return result;
}

Table pluginList(Site& site) {
    const std::vector<std::string> columns = {"Name", "Type", "Directory"};
    std::vector<std::vector<std::string>> rows;
    for (const Layer& layer : site.plugins()) {
        rows.push_back({layer.path.substr(layer.path.find('/') + 1), layer.plugin->pluginType,
                        nativeText(layer.plugin->path())});
    }
    Table result{"plugins",
                 columns,
                 std::make_shared<TextRows>(std::move(rows), columns),
                 {},
                 "Plugins are directories: those in the folder plugins of the installation, and those in the "
                 "folder that the setting site/winExternalPluginsLocation names."};
    result.rowLayers = site.plugins();
    result.settings = {{"Type", "type"}};
    return result;
}

template <typename Owner>
void addVariables(std::vector<Table>& tables, const Layer& layer, const std::string& prefix, Owner& owner,
                  int applicationRow = -1) {
    const auto add = [&](const char* name, Kym::EnvVariableListSource* source, bool isUnix) {
        tables.push_back({prefix + "variables/" + name,
                          variableColumns,
                          owned(source),
                          layer,
                          {},
                          applicationRow,
                          isUnix});
    };
    add("common", owner.commonVariables(), false);
    add("unix", owner.unixVariables(), true);
    add("windows", owner.winVariables(), false);
}

/// Named by its identifier; a later one of the same identifier, or one that looks like a row, by its row.
std::string pathOfApplication(const Layer& layer, int row) {
    Kym::ApplicationListSource& list = *layer.applications;
    const std::string& id = list.application(row).applicationId;
    bool isName = !id.empty() && id.front() != '#';
    for (int earlier = 0; isName && earlier < row; ++earlier) {
        isName = list.application(earlier).applicationId != id;
    }
    return layer.path + "/applications/" + (isName ? id : '#' + std::to_string(row + 1)) + '/';
}

std::string thereAre(const std::vector<Table>& tables) {
    std::vector<std::string> paths;
    paths.reserve(tables.size());
    for (const Table& table : tables) {
        paths.push_back(table.path);
    }
    return paths.empty() ? "There is none." : "There are: " + joined(paths) + ".";
}

}  // namespace

std::string Table::cell(int row, const std::string& column) const {
    return boost::any_cast<std::string>(source->valueForListColumnRow(column, row));
}

std::vector<Table> tablesOf(const Layer& layer) {
    std::vector<Table> result;
    if (layer.variables) {
        addVariables(result, layer, layer.path + '/', *layer.variables);
    }
    if (Kym::ConfigurationSettings* settings = layer.departmentSettings()) {
        result.push_back(
            {layer.path + "/work-directories", {"Name", "Path"}, owned(settings->workDirectories()), layer});
        result.push_back(overlayTable(layer));
        result.push_back(disabledPluginTable(layer));
    }
    if (layer.applications) {
        result.push_back(
            {layer.path + "/applications", applicationColumns, owned(layer.applications), layer});
        for (int row = 0; row < layer.applications->numberOfRowsInList(); ++row) {
            addVariables(result, layer, pathOfApplication(layer, row), layer.applications->application(row),
                         row);
        }
    }
    return result;
}

std::vector<Table> variableTablesOf(const Layer& layer, int applicationRow) {
    std::vector<Table> result;
    if (applicationRow >= 0) {
        addVariables(result, layer, pathOfApplication(layer, applicationRow),
                     layer.applications->application(applicationRow), applicationRow);
    } else if (layer.variables) {
        addVariables(result, layer, layer.path + '/', *layer.variables);
    }
    return result;
}

std::vector<Table> allTables(Site& site) {
    std::vector<Table> result = {departmentList(site), pluginList(site)};
    for (const Layer& layer : site.layers()) {
        const std::vector<Table> more = tablesOf(layer);
        result.insert(result.end(), more.begin(), more.end());
    }
    return result;
}

Table findTable(Site& site, const std::string& path) {
    if (path == "departments" || path == "plugins") {
        return path == "plugins" ? pluginList(site) : departmentList(site);
    }
    const Layer layer = site.layer(splitLayer(path).first);
    if (layer.department && !layer.variables) {
        throw std::runtime_error("The department " + quoted(layer.department->name()) +
                                 " is not prepared for the present release and so has no tables. Run: kym "
                                 "prepare " +
                                 wordFor(layer.department->name()));
    }
    const std::vector<Table> tables = tablesOf(layer);
    const auto found = std::find_if(tables.begin(), tables.end(),
                                    [&path](const Table& table) { return table.path == path; });
    if (found == tables.end()) {
        throw std::runtime_error("There is no table " + quoted(path) + ". " + thereAre(tables));
    }
    return *found;
}

std::string ruleOf(const std::string& column) {
    return column == "Name" ? "a name holds letters, digits and \"_\", may begin with \"#\", and begins with "
                              "neither \"_\" "
                              "nor a digit"
                            : "a value holds an even number of \"%\" and as many \"{\" as \"}\"";
}

void requireColumn(const Table& table, const std::string& column) {
    if (std::find(table.columns.begin(), table.columns.end(), column) == table.columns.end()) {
        throw std::runtime_error("The table " + table.path + " has no column " + quoted(column) +
                                 ". There are: " + joined(table.columns) + ".");
    }
}

void putCell(const Table& table, int row, const std::string& column, const std::string& value) {
    requireColumn(table, column);
    std::string text = value;
    if (truthColumns.contains(column)) {
        text = boost::to_lower_copy(value, std::locale::classic());
        if (text != "true" && text != "false") {
            throw std::runtime_error("The column " + column + " takes True or False, not " + quoted(value) +
                                     ".");
        }
        text = text == "true" ? "True" : "False";
    }
    if (!table.source->setValueForListColumnRow(column, row, text)) {
        throw std::runtime_error("The cell " + column + " of " + table.path + " row " +
                                 std::to_string(row + 1) + " cannot be set.");
    }
    if (!table.source->valueIsValid(column, row)) {
        throw std::runtime_error("The " + boost::to_lower_copy(column, std::locale::classic()) + " " +
                                 quoted(value) + " breaks a rule: " + ruleOf(column) + ".");
    }
}
