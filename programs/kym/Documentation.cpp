#include "Documentation.h"

#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "kym/App.h"

void addDocumentationCommand(CLI::App& program) {
    const auto document = std::make_shared<std::string>();
    CLI::App* command =
        program.add_subcommand("documentation", "Open a document in the site's web browser and do not wait");
    command->add_option("DOCUMENT", *document, "A path or an address")->required();
    command->footer("Example:\n  kym documentation https://intranet/cad/index.html");
    command->callback([document] { Kym::App("kym").showDocumentation(*document); });
}
