#pragma once

#include <algorithm>
#include <cstddef>
#include <locale>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/algorithm/string/predicate.hpp>

namespace Kym {

/// The rows of a table model over a vector of records.

template <typename Record>
int numberOfRows(const std::vector<Record>* list) {
    return list ? static_cast<int>(list->size()) : 0;
}

/// Checked access; a negative row is out of range too.
template <typename Record>
Record& rowOf(std::vector<Record>& list, int row) {
    return list.at(static_cast<std::size_t>(row));
}

/// A truth value as the text of a cell, and what a cell's text is taken for: any spelling of "true" for true.
inline std::string truthText(bool truth) {
    return truth ? "True" : "False";
}
inline bool isTrue(const std::string& cell) {
    return boost::algorithm::iequals(cell, "true", std::locale::classic());
}

/// Inserts a default record before `row`; at the end when `row` is negative or the size of the list.
/// `std::out_of_range` for a row beyond that. Without a list, nothing happens.
template <typename Record>
void insertDefaultRow(std::vector<Record>* list, int row, bool& edited) {
    if (!list) {
        return;
    }
    const std::size_t position = row < 0 ? list->size() : static_cast<std::size_t>(row);
    if (position > list->size()) {
        throw std::out_of_range("a row cannot be inserted beyond the end of the list");
    }
    list->insert(list->begin() + static_cast<std::ptrdiff_t>(position), Record());
    edited = true;
}

/// Erases the rows from the highest index to the lowest; an index that occurs twice erases two records.
/// `std::out_of_range`, and nothing erased, when one of these steps would meet no record. Without a list,
/// nothing happens.
template <typename Record>
void eraseRows(std::vector<Record>* list, std::vector<int> rows, bool& edited) {
    if (!list) {
        return;
    }
    std::sort(rows.begin(), rows.end());
    std::size_t left = list->size();
    for (auto row = rows.rbegin(); row != rows.rend(); ++row, --left) {
        if (static_cast<std::size_t>(*row) >= left) {
            throw std::out_of_range("a row to be deleted is not in the list");
        }
    }
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
        list->erase(list->begin() + *row);
    }
    edited = true;
}

}  // namespace Kym
