#pragma once

#include "community/wire/packet.h"
#include "findings/signature_record.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// One signature as client and server exchange it.
namespace brimwarden::analysis::community {

// The codes of the signature types. Values of the codes below 64 have a fixed size, the others a count before them.
enum class signature_code : std::uint8_t {
    address = 0,      // hsi: 4 bytes in network order
    blocks = 2,       // tbd: 16 bytes, as the next three
    structure = 3,    // tsd
    part = 4,         // prd
    part_as_sent = 5, // pid
    link = 64,        // tru: UTF-8
    lengths = 65,     // tlc: the bytes that the value's base64 digits stand for
};

struct wire_signature {
    signature_code code = signature_code::address;
    string value; // without its count
};

// Throws generic for a type without a code, tackle::unicode::unmappable_character,
// tackle::coding::translate::invalid_codeword or an exception of tackle::internet::address for a value that its type
// cannot have. Asks no name service.
[[nodiscard]] wire_signature to_wire(const signature_record& record);
void write_signature(packet& out, const wire_signature& signature);

// Reads the count and the signatures of a query's payload, to the end of the body. False if there are more than `most`,
// a code is unknown, a value is cut off, or bytes are left over; `out` is then of no use.
[[nodiscard]] bool read_query_payload(packet& payload, std::size_t most, std::vector<wire_signature>& out);

// The length of the value in the units that a query's answer counts: base64 digits, characters of the dotted form,
// UTF-16 units of a link. Of two values of "tlc" that have the same bytes on the wire it is the length of the shorter.
[[nodiscard]] std::size_t client_length(const wire_signature& signature);

} // namespace brimwarden::analysis::community
