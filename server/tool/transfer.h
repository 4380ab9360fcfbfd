#pragma once

#include "server/daemon/configuration.h"
#include "server/tool/operator_link.h"

#include <string>

// What a community knows, as lines of JSON: a head, then marks, reporters and statements. Neither secrets nor texts are
// in it. The identities in it are of use only to servers that have the same identity key, and the head tells them apart.
namespace brimwarden::server::tool {

// Page by page, so that the server goes on answering. "-" is standard output; a file is not overwritten.
void export_knowledge(operator_link& server, const std::string& path);

// Merges a file into the state of a server that does not run: memory is filled from there at its next start. A statement
// of the same reporter on the same signature is replaced, trust and marks that are there already stay. In one piece:
// after a failure nothing has been changed.
void import_knowledge(const daemon::configuration& chosen, const std::string& path, const std::string& why);

} // namespace brimwarden::server::tool
