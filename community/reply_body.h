#pragma once

#include "analysis/signature_record.h"
#include "community/packet.h"
#include "community/server_record.h"

// The payloads of the replies, read from the packet's read position on. A hostile server writes these bytes.
namespace brimwarden::analysis::community {

// One entry for each signature, in the list's order, and nothing behind them. Throws protocol_error at the first thing
// that is wrong: what stands before it has been written by then, the records behind it are untouched.
void read_query(packet& reply, signature_list& signatures);

// Throws protocol_error unless nothing is left in the body.
void expect_end(const packet& reply);

// Three texts and four numbers. False if one is missing: those before it have been written. A text that is not UTF-8
// is mended. More bytes behind them do not matter.
[[nodiscard]] bool read_status(packet& reply, server_record& server);

} // namespace brimwarden::analysis::community
