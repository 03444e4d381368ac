#pragma once

namespace CLI {
class App;
}

/// Adds the command that opens a document in the site's web browser: documentation.
void addDocumentationCommand(CLI::App& program);
