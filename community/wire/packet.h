#pragma once

#include "foundation/text/text.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace brimwarden::analysis::community {

using tackle::string;
using tackle::string_view;

// One packet in memory, going out or coming in. On the wire:
//
//     offset 0   "RVN"
//            3   version
//            4   flags: bit 7 reply_mark, bit 6 encrypted, bits 5..3 indicator, bits 2..0 operation
//            5   attempt
//            6   nonce, 10 bytes
//           16   body, up to the end of the datagram or of the connection's data
//
// A body holds numbers, texts and raw bytes in a row. A number is a run of seven-bit groups, the highest first; bit 7
// says that another group follows. A text is a number, the count of its bytes, and the bytes.
struct packet {
    static constexpr std::size_t header_size = 16;
    static constexpr std::size_t nonce_size = 10;

    std::uint8_t version = 0;
    std::uint8_t attempt = 0;
    bool reply_mark = false; // a server's business
    bool encrypted = false;  // the body is enciphered; the header never is
    std::uint32_t operation = 0;
    std::uint32_t indicator = 0;
    std::array<char, nonce_size> nonce{};
    string body;
    std::uint64_t read_position = 0; // how far the two readers have come in `body`

    void write_number(std::uint64_t value);
    void write_text(string_view bytes);
    // False at the end of the body, or if it ends inside the number; `value` then is what came of it. Takes any number
    // of leading zero groups, and loses what does not fit 64 bits.
    [[nodiscard]] bool read_number(std::uint64_t& value);
    // False if the text is not there as a whole; `bytes` then stays as it was.
    [[nodiscard]] bool read_text(string& bytes);

    [[nodiscard]] string render() const;
    // Takes the wire's bytes apart; any version, any flags. False if they are no packet: nothing is changed then.
    [[nodiscard]] bool parse(string_view bytes);
};

} // namespace brimwarden::analysis::community
