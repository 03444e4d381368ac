#include "TransferCommands.h"

#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <boost/filesystem/fstream.hpp>

#include "Commands.h"
#include "LayerFile.h"

namespace {

struct Request {
    std::string layer;
    std::string file;
    bool dryRun = false;
};

void exportLayer(const Request& request) {
    Site site;
    const Layer layer = site.layer(request.layer);
    requireReadable(layer);
    const std::string text = layerToJson(layer).document();
    if (request.file.empty()) {
        std::cout << text;
        return;
    }
    boost::filesystem::ofstream out(request.file, std::ios::binary);
    out << text;
    out.close();
    if (!out) {
        throw std::runtime_error("The file " + nativeText(request.file) + " could not be written.");
    }
    std::cout << "Wrote the layer " << layer.path << " into " << nativeText(request.file) << ".\n";
}

void importLayer(const Request& request) {
    Site site;
    const Layer layer = site.layer(request.layer);
    requireReadable(layer);
    boost::filesystem::ifstream in(request.file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    if (!in) {
        throw std::runtime_error("The file " + nativeText(request.file) + " cannot be read.");
    }
    layerFromJson(layer, text, nativeText(request.file));
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
