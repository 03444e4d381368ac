#include "TransferCommands.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <boost/filesystem/fstream.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/json.hpp>

#include "Commands.h"
#include "LayerFile.h"
#include "SiteChecks.h"
#include "programs/common/Program.h"

namespace {

struct Request {
    std::string layer;
    std::string file;
    bool dryRun = false;
};

/// The type, and the common department of a department.
std::vector<std::string> namesIn(const Layer& layer) {
    if (layer.department) {
        return {layer.department->type, layer.department->commonDepartment};
    }
    return layer.plugin ? std::vector<std::string>{layer.plugin->pluginType} : std::vector<std::string>();
}

void exportLayer(const Request& request) {
    Site site;
    const Layer layer = site.layer(request.layer);
    requireReadable(layer);
    writeResult(layerToJson(layer).document(), request.file);
    if (!request.file.empty()) {
        std::cout << "Wrote the layer " << printable(layer.path) << " into " << nativeText(request.file)
                  << ".\n";
    }
}

using boost::json::value;

std::string shown(const value& json) {
    return printable(boost::json::serialize(json));
}

/// Tells, for people, what is different under a place of a document.
void tellChanges(const value& before, const value& after, const std::string& place) {
    if (before == after) {
        return;
    }
    if (before.is_object() && after.is_object()) {
        for (const auto& entry : before.get_object()) {
            const value* other = after.get_object().if_contains(entry.key());
            tellChanges(entry.value(), other ? *other : value(), place + '/' + std::string(entry.key()));
        }
        for (const auto& entry : after.get_object()) {
            if (!before.get_object().contains(entry.key())) {
                tellChanges(value(), entry.value(), place + '/' + std::string(entry.key()));
            }
        }
        return;
    }
    if (before.is_array() && after.is_array()) {
        const auto& from = before.get_array();
        const auto& to = after.get_array();
        std::size_t first = 0, last = 0;  // how much both ends have in common
        const std::size_t shorter = std::min(from.size(), to.size());
        while (first < shorter && from[first] == to[first]) {
            ++first;
        }
        while (last < shorter - first && from[from.size() - 1 - last] == to[to.size() - 1 - last]) {
            ++last;
        }
        for (std::size_t i = first; i + last < std::max(from.size(), to.size()); ++i) {
            tellChanges(i + last < from.size() ? from[i] : value(), i + last < to.size() ? to[i] : value(),
                        place + '/' + std::to_string(i));
        }
        return;
    }
    std::cout << printable(place);
    if (before.is_null()) {
        std::cout << " added: " << shown(after) << '\n';
    } else if (after.is_null()) {
        std::cout << " removed: " << shown(before) << '\n';
    } else {
        std::cout << ' ' << shown(before) << " becomes " << shown(after) << '\n';
    }
}

/// What `put` refuses of a department or a plugin, unless it was so before.
void requireKnownNames(Site& site, const Layer& layer, const std::vector<std::string>& before) {
    const std::vector<std::string> now = namesIn(layer);
    if (!now.empty() && now[0] != before[0]) {
        requireKnownType(site, layer);
    }
    if (now.size() > 1 && now[1] != before[1]) {
        requireKnownCommonDepartment(site, now[1]);
    }
}

void importLayer(const Request& request) {
    if (boost::filesystem::is_directory(request.file)) {
        throw std::runtime_error(nativeText(request.file) +
                                 " is a directory; the name of a file is expected.");
    }
    Site site;
    const Layer layer = site.layer(request.layer);
    requireReadable(layer);
    const value before = boost::json::parse(layerToJson(layer).document());
    const std::vector<std::string> names = namesIn(layer);
    boost::filesystem::ifstream in(request.file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    if (!in) {
        throw std::runtime_error("The file " + nativeText(request.file) + " cannot be read.");
    }
    const std::vector<std::string> warnings = layerFromJson(layer, text, nativeText(request.file));
    requireKnownNames(site, layer, names);
    const value after = boost::json::parse(layerToJson(layer).document());
    if (before == after) {
        std::cout << "The layer " << printable(layer.path) << " is the same already.\n";
        return;
    }
    tellChanges(before, after, layer.path);
    for (const std::string& warning : warnings) {
        std::cout << "warning: " << printable(warning) << '\n';
    }
    finishEdit(layer, request.dryRun);
}

}  // namespace

void addTransferCommands(CLI::App& program) {
    const auto request = std::make_shared<Request>();
    const auto addLayer = [&request](CLI::App* command) {
        command->add_option("LAYER", request->layer, "system, base, site, plugin/NAME or department/NAME")
            ->required();
    };
    CLI::App* write = addCommand(program, "export", "Write a whole layer as JSON",
                                 "kym-configure export department/design design.json");
    addLayer(write);
    write->add_option("FILE", request->file, "Where to; the standard output when left out");
    write->callback([request] { exportLayer(*request); });

    CLI::App* read = addCommand(program, "import",
                                "Replace a layer by what was exported; sections that the file lacks stay",
                                "kym-configure import department/trial design.json");
    addLayer(read);
    read->add_option("FILE", request->file, "What export wrote")->required();
    addDryRunFlag(*read, request->dryRun);
    read->callback([request] { importLayer(*request); });
}
