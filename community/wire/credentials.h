#pragma once

#include "foundation/text/text.h"

#include <cstdint>

namespace brimwarden::analysis::community {

// Who asks. The numbers mean something to the servers only; the secret is shared with them and never sent.
struct community_credentials {
    std::uint32_t credential_mode = 0;
    std::uint32_t credential_id = 0;
    tackle::wstring credential_secret;
};

} // namespace brimwarden::analysis::community
