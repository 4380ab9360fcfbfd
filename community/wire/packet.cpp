#include "community/wire/packet.h"

namespace brimwarden::analysis::community {

namespace {

constexpr string_view magic = "RVN";
constexpr std::size_t version_offset = 3;
constexpr std::size_t flags_offset = 4;
constexpr std::size_t attempt_offset = 5;
constexpr std::size_t nonce_offset = 6;
constexpr unsigned reply_bit = 0x80;
constexpr unsigned encrypted_bit = 0x40;
constexpr unsigned indicator_shift = 3;
constexpr unsigned three_bits = 7;

} // namespace

void packet::write_number(std::uint64_t value) {
    char groups[10]; // 64 bits in sevens
    char* first = std::end(groups);
    *--first = static_cast<char>(value & 0x7F);
    while ((value >>= 7) != 0)
        *--first = static_cast<char>(value | 0x80);
    body.append(first, std::end(groups));
}

void packet::write_text(string_view bytes) {
    write_number(bytes.size());
    body.append(bytes);
}

// Groups beyond 64 bits fall out at the top: that spoils the sender's own packet and nothing else.
bool packet::read_number(std::uint64_t& value) {
    value = 0;
    while (read_position < body.size()) {
        const auto group = static_cast<std::uint8_t>(body[read_position++]);
        value = value << 7 | (group & 0x7F);
        if ((group & 0x80) == 0) return true;
    }
    return false;
}

bool packet::read_text(string& bytes) {
    std::uint64_t length = 0;
    if (!read_number(length)) return false;
    if (length > body.size() - read_position) return false; // no sum: a length near 2^64 would wrap
    bytes.assign(body, read_position, length);
    read_position += length;
    return true;
}

string packet::render() const {
    string out;
    out.reserve(header_size + body.size());
    out.append(magic);
    out.push_back(static_cast<char>(version));
    out.push_back(static_cast<char>((reply_mark ? reply_bit : 0) | (encrypted ? encrypted_bit : 0) |
                                    (indicator & three_bits) << indicator_shift | (operation & three_bits)));
    out.push_back(static_cast<char>(attempt));
    out.append(nonce.data(), nonce.size());
    out.append(body);
    return out;
}

bool packet::parse(string_view bytes) {
    if (bytes.size() < header_size || !bytes.starts_with(magic)) return false;
    const auto flags = static_cast<std::uint8_t>(bytes[flags_offset]);
    version = static_cast<std::uint8_t>(bytes[version_offset]);
    attempt = static_cast<std::uint8_t>(bytes[attempt_offset]);
    reply_mark = (flags & reply_bit) != 0;
    encrypted = (flags & encrypted_bit) != 0;
    indicator = flags >> indicator_shift & three_bits;
    operation = flags & three_bits;
    bytes.copy(nonce.data(), nonce.size(), nonce_offset);
    body.assign(bytes.substr(header_size));
    read_position = 0;
    return true;
}

} // namespace brimwarden::analysis::community
