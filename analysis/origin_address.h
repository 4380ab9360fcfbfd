#pragma once

#include <optional>

#include "foundation/text/text.h"
#include "network/ip4.h"

// Where a message came from, as far as its header fields tell. Nothing here asks a resolver, and nothing raises.
namespace brimwarden::analysis {

// Whether a host on the public Internet can have the address: not zero, all ones, private, link-local, loopback or
// multicast. In host byte order.
[[nodiscard]] bool public_address(std::uint32_t address) noexcept;

// The address that a Received field names as its sender: the last dotted one in front of the words that tell about the
// receiver. None if there is no such text, or if it is no public address.
[[nodiscard]] std::optional<tackle::internet::address::ip4> received_address(tackle::string_view raw_value);

// The address that a certain mail client writes into its Message-ID, as the third of four pieces "a$b$address@host", in
// hexadecimal and with its first byte lowest. None if the identifier has another form or the address is not public.
[[nodiscard]] std::optional<tackle::internet::address::ip4> message_id_address(tackle::wstring_view message_id);

} // namespace brimwarden::analysis
