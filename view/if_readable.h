#pragma once

#include "foundation/coding/coding.h"
#include "foundation/text/unicode.h"
#include "network/address_errors.h"

namespace brimwarden::analysis {

// Runs something that reads fields of a message, and goes on silently if one of them cannot be decoded, whether its
// character set, its transfer coding or an address in it refuses: no single field may blind a whole scan. What `body` had done before
// stays done. Everything else that `body` throws goes through.
template <typename function>
void if_readable(const function& body) {
    try {
        body();
    } catch (const tackle::unicode::generic&) {
    } catch (const tackle::coding::translate::generic&) {
    } catch (const tackle::internet::address::generic&) {
    }
}

} // namespace brimwarden::analysis
