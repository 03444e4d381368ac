#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A reference to a variable, as $NAME or ${NAME}, at its place in a text.
struct Reference {
    std::size_t begin;
    std::size_t end;
    std::string name;
};

/// The references that a launch finds in a text, whether there are such variables or not.
std::vector<Reference> referencesIn(const std::string& text);

/// Whether a variable of that name can be set and referred to.
bool isReferable(const std::string& name);
