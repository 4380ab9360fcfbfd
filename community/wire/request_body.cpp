#include "community/wire/request_body.h"

#include "community/wire/signature.h"

#include <algorithm>

namespace brimwarden::analysis::community {

void write_query(packet& out, const signature_list& signatures) {
    out.write_number(signatures.size());
    for (const auto& record : signatures)
        write_signature(out, to_wire(record));
}

void write_update(packet& out, float probability, const signature_list& signatures) {
    out.write_number(static_cast<std::uint64_t>(probability));
    out.write_number(static_cast<std::uint64_t>(std::ranges::count_if(signatures, &signature_record::matched)));
    for (const auto& record : signatures)
        if (record.matched) out.write_number(record.id);
}

void write_message(packet& out, bool report_flag, string_view message) {
    out.write_number(report_flag ? 1 : 0);
    out.write_text(message);
}

} // namespace brimwarden::analysis::community
