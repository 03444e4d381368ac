#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/DataSourceInterface.h"

#include "Layers.h"

/// One table of a layer, named by the path of the layer and its own place in it, as in
/// "department/design/applications/gearbox/variables/common".
struct Table {
    std::string path;
    std::vector<std::string> columns;
    std::shared_ptr<Base::DataSourceInterface> source;
    Layer layer;
    std::string fixedRows = {};  ///< what to do instead of adding and deleting rows; empty: do just that
    int applicationRow = -1;     ///< the index of the application whose variables these are, if of one
    bool isUnix = false;         ///< variables that no launch uses

    /// Of a table whose rows are layers: these, and the named settings of theirs that columns show.
    std::vector<Layer> rowLayers = {};
    std::map<std::string, std::string> settings = {};

    int rows() const { return source->numberOfRowsInList(); }
    std::string cell(int row, const std::string& column) const;
};

/// The tables of a layer, those of its applications' variables after its own.
std::vector<Table> tablesOf(const Layer& layer);

/// Of these, those of the variables of the layer itself (-1) or of an application, by its index.
std::vector<Table> variableTablesOf(const Layer& layer, int applicationRow);

/// All tables of all layers; those that list departments and plugins first.
std::vector<Table> allTables(Site& site);

/// `std::runtime_error` that lists what there is when there is no such table.
Table findTable(Site& site, const std::string& path);

/// `std::runtime_error` that lists the columns when there is no such one.
void requireColumn(const Table& table, const std::string& column);

/// Puts a cell, or refuses what the model or the column does not allow (`std::runtime_error` with the rule);
/// then nothing is to be saved.
void putCell(const Table& table, int row, const std::string& column, const std::string& value);

/// The rule that a name or a value of a variable has to obey.
std::string ruleOf(const std::string& column);
