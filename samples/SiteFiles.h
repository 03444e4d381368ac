#pragma once

#include <string>
#include <utility>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "base/DataSourceInterface.h"
#include "kym/ConfigApplication.h"

/// Lists of a settings layer are filled as an editor fills them: through their table models.

using Cells = std::vector<std::pair<std::string, std::string>>;  // column and text

/// Appends a row. `std::runtime_error` when the table takes none.
void appendRow(Base::DataSourceInterface& table, const Cells& cells);

struct Variable {
    std::string name;
    std::string value;
};
void appendVariables(Base::DataSourceInterface& table, const std::vector<Variable>& variables);

struct Application {
    std::string id;
    std::string category;
    std::string description;
    std::string program;
    std::string arguments;
    std::vector<Variable> variables = {};
};
void appendApplications(Kym::ApplicationListSource& table, const std::vector<Application>& applications);

/// Writes the archive of the files that every department gets for a release. `std::runtime_error` on failure.
void writeVersionFiles(const boost::filesystem::path& file);
