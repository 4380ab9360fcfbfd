#pragma once

#include "server/judgement/judgement.h"
#include "server/judgement/trust.h"

#include <cstddef>
#include <string>

namespace brimwarden::server::handler {

// Everything that configures what is answered; read once at the start.
struct settings {
    judgement::settings rules;
    judgement::trust_rules trust;
    // After so many hours a statement counts half.
    float half_life_text = 60 * 24;
    float half_life_file = 90 * 24;
    float half_life_link = 45 * 24;
    float half_life_address = 10 * 24;
    float person_weight = 1;  // of a report with flag 1
    float machine_weight = 1; // of one with flag 0

    bool anonymous_queries = false;                   // mode 0, id 0, empty secret
    std::size_t most_signatures = 2048;               // in one query; a scan makes a few dozen
    std::size_t most_message = std::size_t{32} << 20; // bytes of a reported message
    std::string name = "Brimwarden";
    std::string location;
    std::string info;

    [[nodiscard]] float half_life(judgement::signature_code kind) const {
        using judgement::signature_code;
        switch (kind) {
        case signature_code::address:
            return half_life_address;
        case signature_code::link:
            return half_life_link;
        case signature_code::part:
        case signature_code::part_as_sent:
            return half_life_file;
        case signature_code::blocks:
        case signature_code::structure:
        case signature_code::lengths:
            break;
        }
        return half_life_text;
    }
};

} // namespace brimwarden::server::handler
