#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Findings.h"

using Names = std::set<std::string>;

/// Finds the references to variables that nothing sets. A layer can be a part of several environments; a
/// reference is right when one of these has the variable, or when the application that refers to it sets it.
class ReferenceCheck {
  public:
    explicit ReferenceCheck(Findings& findings) : mFindings(findings) {}

    /// The names in an environment that the layer is a part of.
    void addScope(const Layer& layer, const Names& names);

    /// The names in the environment of an application that disables customization, by its index.
    void setScope(const Layer& layer, int applicationRow, const Names& names);

    bool knows(const Layer& layer) const { return mScopes.contains(layer.path); }

    /// Looks at the tables and settings of the layer, if an environment of it is known.
    void check(const Layer& layer);

  private:
    struct Cell {
        std::string file;
        std::string table;
        int row;
        std::string column;
    };

    void check(const Cell& cell, const std::string& text, const std::vector<Names>& scopes, const Names& own);

    Findings& mFindings;
    std::map<std::string, std::vector<Names>> mScopes;  // of the layers, by path
    std::map<std::pair<std::string, int>, std::vector<Names>> mApplicationScopes;
};
