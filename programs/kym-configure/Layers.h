#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "kym/ConfigApplication.h"
#include "kym/Configuration.h"
#include "kym/PluginSettings.h"

#include "programs/common/Departments.h"
#include "programs/common/Text.h"

/// One settings layer: where it is kept and what can be edited of it. What it points to belongs to the stores
/// and to the `Site` that it came from. What a layer does not have is null; a department that is not prepared
/// for the present release has its properties only.
struct Layer {
    std::string path;  ///< "base", "site", "system", "department/NAME", "plugin/NAME"
    boost::filesystem::path file;
    Kym::SettingsProtocol* variables = nullptr;
    Kym::ApplicationListSource* applications = nullptr;
    Kym::Configuration* department = nullptr;
    Kym::PluginSettings* plugin = nullptr;
    std::function<void()> save;

    /// Null unless this is a department whose settings for the present release are there.
    Kym::ConfigurationSettings* departmentSettings() const;
};

/// The layers of the site that the environment names, each loaded when it is first asked for, so that a
/// layer whose file is damaged does not keep the others from being edited.
class Site {
  public:
    Layer system();
    Layer base();
    Layer site();
    std::vector<Layer> plugins();
    std::vector<Layer> departments();

    /// All of them, in the order in which a launch merges them.
    std::vector<Layer> layers();

    /// `std::runtime_error` that lists what there is when there is no such layer.
    Layer layer(const std::string& path);

    /// The departments of the site as a launch sees them.
    Departments& offered();
    Kym::ConfigurationManager& manager() { return offered().manager(); }

  private:
    std::unique_ptr<Departments> mDepartments;
};

/// The path of the layer with which the path of a table or of a setting begins, and the rest.
std::pair<std::string, std::string> splitLayer(const std::string& path);

/// `Base::ArchiveError` when the layer's file is damaged, or holds something else under one of its keys: some
/// stores then keep their defaults in silence, and an edit must not replace what could not be read.
void requireReadable(const Layer& layer);
