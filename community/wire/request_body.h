#pragma once

#include "community/wire/packet.h"
#include "findings/signature_record.h"

// The payloads of the requests, written behind what stands in the packet's body.
namespace brimwarden::analysis::community {

// The count of the signatures, and each as its code and its value. Throws as to_wire.
void write_query(packet& out, const signature_list& signatures);

// The score, cut to a whole number, and the identities of the signatures that the community knows.
void write_update(packet& out, float probability, const signature_list& signatures);

// The flag and the message, for a report and a revoke alike.
void write_message(packet& out, bool report_flag, string_view message);

} // namespace brimwarden::analysis::community
