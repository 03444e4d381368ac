#include "TableCommands.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "Commands.h"
#include "SettingCommands.h"
#include "Tables.h"
#include "programs/common/Json.h"
#include "programs/common/Table.h"

namespace {

struct Request {
    std::string path;
    std::vector<std::string> texts;
    std::vector<int> rows;
    int row = 0;
    std::string column;
    std::string value;
    bool json = false;
    bool dryRun = false;
};

void listLayers(const Request& request) {
    Site site;
    std::vector<Row> rows = {{"LAYER", "FILE"}};
    Json list = Json::array();
    for (const Layer& layer : site.layers()) {
        rows.push_back({layer.path, nativeText(layer.file)});
        list.add(Json::object({{"layer", rows.back()[0]}, {"file", rows.back()[1]}}));
    }
    if (request.json) {
        std::cout << Json::object({{"layers", list}}).document();
    } else {
        writeTable(std::cout, rows, TableStyle::ofOutput());
    }
}

void listTables(const Request& request) {
    Site site;
    std::vector<Row> rows = {{"TABLE", "ROWS"}};
    Json list = Json::array();
    for (const Table& table : allTables(site)) {
        rows.push_back({table.path, std::to_string(table.rows())});
        list.add(Json::object({{"table", table.path},
                               {"rows", static_cast<std::uint64_t>(table.rows())},
                               {"columns", Json::array(table.columns)}}));
    }
    if (request.json) {
        std::cout << Json::object({{"tables", list}}).document();
    } else {
        writeTable(std::cout, rows, TableStyle::ofOutput());
    }
}

void showTable(const Request& request) {
    Site site;
    const Table table = findTable(site, request.path);
    requireReadable(table.layer);
    std::vector<Row> rows = {{"ROW"}};
    rows.front().insert(rows.front().end(), table.columns.begin(), table.columns.end());
    Json list = Json::array();
    for (int row = 0; row < table.rows(); ++row) {
        rows.push_back({std::to_string(row + 1)});
        Json object = Json::object({{"row", static_cast<std::uint64_t>(row + 1)}});
        for (const std::string& column : table.columns) {
            rows.back().push_back(table.cell(row, column));
            object.add(column, rows.back().back());
        }
        list.add(object);
    }
    if (request.json) {
        std::cout << Json::object({{"table", table.path}, {"rows", list}}).document();
    } else {
        writeTable(std::cout, rows, TableStyle::ofOutput());
    }
}

Table tableToEdit(Site& site, const Request& request) {
    Table table = findTable(site, request.path);
    requireReadable(table.layer);
    return table;
}

/// The index of a row, which the user counts from 1.
int indexOf(const Table& table, int row) {
    if (row < 1 || row > table.rows()) {
        throw std::runtime_error("The table " + table.path + " has no row " + std::to_string(row) +
                                 "; it has " + std::to_string(table.rows()) + ". Run: kym-configure show " +
                                 wordFor(table.path));
    }
    return row - 1;
}

std::string place(const Table& table, int row) {
    return printable(table.path) + " row " + std::to_string(row + 1) + ": ";
}

std::string contentOf(const Table& table, int row) {
    std::string result;
    for (const std::string& column : table.columns) {
        result += ' ' + column + '=' + quoted(table.cell(row, column));
    }
    return result;
}

/// A cell of a row that is a layer: a named setting of it, or the name of a department.
void setLayerCell(Site& site, const Table& table, int row, const Request& request) {
    Layer layer = table.rowLayers.at(static_cast<std::size_t>(row));
    if (const auto setting = table.settings.find(request.column); setting != table.settings.end()) {
        putSetting(site, layer.path + '/' + setting->second, request.value, request.dryRun);
        return;
    }
    if (request.column != "Name" || !layer.department) {
        throw std::runtime_error("The column " + request.column + " of the table " + table.path +
                                 " cannot be set. " + table.fixedRows);
    }
    const std::string before = layer.department->name();
    Departments::requireUsableName(request.value);
    if (request.value == before) {
        std::cout << "The department " << quoted(before) << " has that name already.\n";
        return;
    }
    if (const std::string obstacle = Departments::obstacleTo(request.value, before); !obstacle.empty()) {
        throw std::runtime_error(obstacle);
    }
    std::cout << place(table, row) << "Name " << quoted(before) << " becomes " << quoted(request.value)
              << '\n';
    site.offered().tellWhoRefersTo(before, request.value, std::cout);
    layer.path = "department/" + request.value;
    layer.save = [&] { site.manager().renameConfiguration(row, request.value); };
    finishEdit(layer, request.dryRun);
}

void setCell(const Request& request) {
    Site site;
    const Table table = tableToEdit(site, request);
    const int row = indexOf(table, request.row);
    requireColumn(table, request.column);
    if (!table.rowLayers.empty()) {
        setLayerCell(site, table, row, request);
        return;
    }
    const std::string before = table.cell(row, request.column);
    putCell(table, row, request.column, request.value);
    std::cout << place(table, row) << request.column << ' ' << quoted(before) << " becomes "
              << quoted(table.cell(row, request.column)) << '\n';
    finishEdit(table.layer, request.dryRun);
}

void requireFreeRows(const Table& table) {
    if (!table.fixedRows.empty()) {
        throw std::runtime_error("The table " + table.path + " takes no row and loses none. " +
                                 table.fixedRows);
    }
}

void addRow(const Request& request) {
    Site site;
    const Table table = tableToEdit(site, request);
    requireFreeRows(table);
    table.source->insertRow(-1);
    const int row = table.rows() - 1;
    for (const std::string& text : request.texts) {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos) {
            throw std::runtime_error(quoted(text) +
                                     " is not COLUMN=VALUE. The columns are: " + joined(table.columns) + ".");
        }
        putCell(table, row, text.substr(0, equals), text.substr(equals + 1));
    }
    std::cout << place(table, row) << "added" << contentOf(table, row) << '\n';
    finishEdit(table.layer, request.dryRun);
}

void deleteRows(const Request& request) {
    Site site;
    const Table table = tableToEdit(site, request);
    requireFreeRows(table);
    std::vector<int> rows;
    for (const int row : request.rows) {
        rows.push_back(indexOf(table, row));
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    for (const int row : rows) {
        std::cout << place(table, row) << "deleted" << contentOf(table, row) << '\n';
    }
    table.source->deleteRows(rows);
    finishEdit(table.layer, request.dryRun);
}

}  // namespace

void addTableCommands(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    const auto add = [&](const char* name, const char* text, const char* example,
                         void (*action)(const Request&)) {
        CLI::App* command = addCommand(program, name, text, example);
        command->callback([request, action] { action(*request); });
        return command;
    };
    const auto addPath = [&request](CLI::App* command) {
        command->add_option("TABLE", request->path, "Path of a table, as \"tables\" lists it")->required();
    };

    addJsonFlag(*add("layers", "List the layers and the files in which they are kept", "kym-configure layers",
                     listLayers),
                request->json);
    addJsonFlag(*add("tables", "List every table of every layer", "kym-configure tables", listTables),
                request->json);

    CLI::App* show = add("show", "Show the rows of a table",
                         "kym-configure show department/design/applications", showTable);
    addPath(show);
    addJsonFlag(*show, request->json);

    CLI::App* set = add("set", "Set a cell of a table",
                        "kym-configure set base/applications 1 Arguments -- -units=mm", setCell);
    addPath(set);
    set->add_option("ROW", request->row, "Number of the row, from 1")->required();
    set->add_option("COLUMN", request->column, "Name of the column")->required();
    set->add_option("VALUE", request->value, "The text; put -- before one that begins with a minus")
        ->required();
    addDryRunFlag(*set, request->dryRun);

    CLI::App* append =
        add("add", "Append a row to a table; a column that is not named gets the usual text",
            "kym-configure add site/variables/common Name=DATA_DIR \"Value=D:\\data\"", addRow);
    addPath(append);
    append->add_option("COLUMN=VALUE", request->texts, "Texts of the row");
    addDryRunFlag(*append, request->dryRun);

    CLI::App* remove =
        add("delete", "Delete rows of a table", "kym-configure delete base/variables/common 2 5", deleteRows);
    addPath(remove);
    remove->add_option("ROW", request->rows, "Numbers of the rows, from 1")->required();
    addDryRunFlag(*remove, request->dryRun);
}
