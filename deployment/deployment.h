#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// What the operator of an installation supplies. The values are compiled in: the CMake variable BRMX_DEPLOYMENT names
// the source file that defines them, with constants only, so that they are good at any time of the library's life.
namespace brimwarden::deployment {

// Both ends belong to the block; addresses in host byte order.
struct address_block {
    std::uint32_t first;
    std::uint32_t last;
};

// Mail from an address with one of these endings, "@" included, is trusted if it came through the trusted networks.
// Compared exactly, case included.
extern const std::span<const std::string_view> trusted_sender_suffixes;

// The trusted networks: blocks of any size, single hosts among them.
extern const std::span<const address_block> trusted_networks;

// Hosts on which anybody can put a page, as the beginnings of links with their host labels reversed: an ending "/"
// names one host, an ending "." everything below it, and anything else is a plain beginning.
extern const std::span<const std::u16string_view> bulk_hosts;

// The community's host name, if the client names no other, and the addresses that stand in when it resolves to fewer
// than two.
extern const std::string_view default_group_host;
extern const std::span<const std::string_view> fallback_addresses;

// Shared with the online service, which signs its mark on a message with it. Whoever knows it can mark any message,
// which then gets 0. Empty: no mark is valid.
extern const std::string_view online_mark_key;

} // namespace brimwarden::deployment
