#pragma once

#include <nlohmann/json_fwd.hpp>

// The server's answers for people, on standard output. Text that came from a message is shown without control characters.
namespace brimwarden::server::tool::print {

void status(const nlohmann::json& answer);
void credential(const nlohmann::json& answer); // with its secret, if the answer has one
void credentials(const nlohmann::json& answer);
void explanation(const nlohmann::json& answer);
void reporters(const nlohmann::json& answer);
void audit(const nlohmann::json& answer);

} // namespace brimwarden::server::tool::print
