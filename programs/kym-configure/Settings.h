#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Layers.h"

/// One named setting of a layer, as text.
struct Setting {
    enum class Kind { text, truth, number };

    std::string name;  ///< within its layer, like "winNxInstallPath"
    Kind kind;
    std::function<std::string()> get;

    /// Takes a new text and marks the layer; `std::runtime_error` with the rule when the setting does not
    /// allow it, nothing has changed then.
    std::function<void(const std::string&)> put;

    /// The record behind a path of the site settings; null otherwise.
    Kym::EnvironmentVariable* variable = nullptr;

    /// The rule that a text breaks; empty when it breaks none.
    std::function<std::string(const std::string&)> brokenRule = [](const std::string&) { return ""; };
};

/// The named settings of a layer.
std::vector<Setting> settingsOf(const Layer& layer);
