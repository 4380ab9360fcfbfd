#include "deployment/deployment.h"

// For replays of real mail of the year 2002 and after: the hosts where anybody could put a page are those that there
// were. Everything else is reserved for examples, as in deployment/example.cpp.
namespace brimwarden::deployment {

namespace {

constexpr std::string_view sender_suffixes[] = {"@brimwarden.example"};
constexpr address_block networks[] = {{0xC6120400, 0xC61207FF}}; // 198.18.4.0 to 198.18.7.255

constexpr std::u16string_view hosts[] = {
    u"com.yahoo.groups/", u"com.google.groups/", u"com.msn.groups/",  u"com.tinyurl/", u"com.makeashorterlink/",
    u"ly.bit/",           u"com.snipurl/",       u"com.geocities.",   u"com.tripod.",  u"com.angelfire.",
    u"com.blogspot.",     u"com.livejournal.",   u"com.fortunecity.", u"to.go",
};

constexpr std::string_view addresses[] = {"127.0.0.2", "127.0.0.3", "127.0.0.4", "127.0.0.5", "127.0.0.6"};

} // namespace

constinit const std::span<const std::string_view> trusted_sender_suffixes = sender_suffixes;
constinit const std::span<const address_block> trusted_networks = networks;
constinit const std::span<const std::u16string_view> bulk_hosts = hosts;
constinit const std::string_view default_group_host = "localhost";
constinit const std::span<const std::string_view> fallback_addresses = addresses;
constinit const std::string_view online_mark_key = "q7Vx2Lm9";

} // namespace brimwarden::deployment
