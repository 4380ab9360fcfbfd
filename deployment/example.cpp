#include "deployment/deployment.h"

// An operator that does not exist: names and addresses are the ones reserved for examples.
namespace brimwarden::deployment {

namespace {

constexpr std::string_view sender_suffixes[] = {
    "@brimwarden.example",
    "@mail.brimwarden.example",
    "@alerts.brimwarden.example",
};

constexpr address_block networks[] = {
    {0xC6120400, 0xC61207FF}, // 198.18.4.0 to 198.18.7.255
    {0xC6336440, 0xC633647F}, // 198.51.100.64 to 198.51.100.127
    {0xCB007119, 0xCB007119}, // 203.0.113.25
};

constexpr std::u16string_view hosts[] = {
    u"com.example.groups/", u"com.example.lists/",
    u"net.example.groups/", u"net.example.short/",
    u"com.example.go/",     u"net.example.link/",
    u"com.example.clubs/",  u"org.example.",
    u"net.example.blogs.",  u"net.example.pages.",
    u"com.example.free.",   u"com.example.home.",
    u"com.example.space.",  u"tp.abc",
};

constexpr std::string_view addresses[] = {"127.0.0.2", "127.0.0.3", "127.0.0.4", "127.0.0.5", "127.0.0.6"};

} // namespace

constinit const std::span<const std::string_view> trusted_sender_suffixes = sender_suffixes;
constinit const std::span<const address_block> trusted_networks = networks;
constinit const std::span<const std::u16string_view> bulk_hosts = hosts;
constinit const std::string_view default_group_host = "localhost";
constinit const std::span<const std::string_view> fallback_addresses = addresses;
// Public, as everybody can read it here: choose another one, or none.
constinit const std::string_view online_mark_key = "q7Vx2Lm9";

} // namespace brimwarden::deployment
