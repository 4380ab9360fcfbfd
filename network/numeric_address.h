#pragma once

#include "foundation/text/text.h"

#include <cstdint>
#include <optional>

// IPv4 addresses as digits, by own code: the same on every target, no resolver, no locale.
namespace tackle::internet::address {

// One to four numbers between dots, each decimal, octal ("0" in front) or hexadecimal ("0x"); the last one fills all
// the bytes that are left, so "127.1" is 127.0.0.1. The whole text has to be the address. Host byte order.
[[nodiscard]] std::optional<std::uint32_t> parse_numeric(string_view text) noexcept;

// Four decimal numbers between dots; `address` in host byte order.
[[nodiscard]] string numeric_text(std::uint32_t address);

} // namespace tackle::internet::address
