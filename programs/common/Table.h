#pragma once

#include <iosfwd>
#include <string>
#include <vector>

using Row = std::vector<std::string>;

/// Writes rows of equally many cells, UTF-8, the columns aligned; the first row is the heading.
void writeTable(std::ostream& out, const std::vector<Row>& rows);
