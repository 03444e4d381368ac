#pragma once

#include <string>
#include <vector>

#include "Layers.h"

/// Something that is wrong with the settings, and where. An error keeps something from working or from being
/// edited; a warning may be meant.
struct Finding {
    bool isError;
    std::string code;
    std::string file;
    std::string table;   ///< or the path of a layer or of a setting
    int row;             ///< from 1; 0 when no row is concerned
    std::string column;  ///< empty when no column is concerned
    std::string reason;
    std::string suggestion;
};
using Findings = std::vector<Finding>;

/// Where it stands, for people.
std::string placeOf(const Finding& finding);

/// The suggestion to set a cell, whose row is an index.
std::string setCommand(const std::string& table, int row, const std::string& column,
                       const std::string& value);

/// What a command ends with that found these: 0, with warnings 3, with errors 4.
int statusOf(const Findings& findings);

/// Writes the findings on the standard output, as text or as JSON.
void report(const Findings& findings, bool json);
