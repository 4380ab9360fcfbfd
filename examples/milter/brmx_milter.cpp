// A filter for mail servers that speak the milter protocol: adds a field with the probability to each message and, with
// --trace, one with the explanation. It takes away what claims to be such a field, and lets all mail pass, whatever
// happens. README.md says how to run it.
#include "fields.hpp"
#include "scanner.hpp"

#include <libmilter/mfapi.h>

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <thread>

namespace brmx_milter {
namespace {

struct options {
    std::string socket;
    std::string group; // no community without one
    bool trace = false;
    std::uint32_t largest = 10'000'000;
    std::uint32_t community_timeout = 5;
    std::uint32_t limit = 20;
    std::uint32_t scans = 2 * std::max(1U, std::thread::hardware_concurrency());
};

constexpr char usage[] = R"(Usage: brmx-milter [OPTION]... SOCKET

Listens at SOCKET, as in inet:8891@127.0.0.1 or local:/run/brmx/milter, and adds a field
X-Brimwarden-Probability to the mail that a server shows it.

  --trace          adds a field X-Brimwarden-Trace with the explanation
  --largest BYTES  does not scan larger messages (10000000)
  --limit SECONDS  lets a message pass whose scan takes longer (20)
  --scans NUMBER   scans at a time (twice the processors)
  --community NAME asks the servers of this host name
  --timeout SECONDS for answers of the community (5)
  --help           prints this
)";

constexpr char unknown[] = "unknown"; // of a field without a verdict

// Set before the first message comes, and never taken down: threads of the C library may run on to the very end.
options chosen;
scanner* scans = nullptr;

// A connection of the mail server's, with the message that is coming over it. Serves one thread at a time.
struct connection {
    std::string client; // as a Received field shows it
    std::string hello;
    bool values_have_blanks = false; // in front, both ways

    std::string message;
    bool complete = true; // false: too large, or there was no memory
    int forged_probabilities = 0;
    int forged_traces = 0;

    void begin() {
        message = {};
        complete = true;
        forged_probabilities = forged_traces = 0;
    }
    void give_up() {
        message = {};
        complete = false;
    }
    void append(std::string_view text) {
        if (!complete) return;
        if (text.size() > chosen.largest - message.size()) return give_up();
        message += text;
    }
};

// Nothing that a stranger sends gets into a line of the log or of a field as it is.
std::string safe(const char* text) { return text == nullptr ? "unknown" : escaped(text, longest_line); }

// Also when there is no memory: it is called where nothing may be thrown any more.
void log(SMFICTX* context, const char* what, const char* why = "") noexcept {
    static char queue_id[] = "i";
    try {
        const std::string id = safe(smfi_getsymval(context, queue_id));
        std::fprintf(stderr, "brmx-milter: %s: %s%s\n", id.c_str(), what, why);
    } catch (const std::exception&) {
        std::fprintf(stderr, "brmx-milter: %s%s\n", what, why);
    }
}

// No exception may reach the C library. What could not be kept whole is not scanned; but the answer is always to go on,
// since what is forged can be taken away at the end of the message alone.
template <typename work>
sfsistat guarded(SMFICTX* context, const work& does) noexcept {
    auto* const from = static_cast<connection*>(smfi_getpriv(context));
    if (from == nullptr) return SMFIS_CONTINUE;
    try {
        does(*from);
    } catch (const std::exception& failure) {
        from->give_up();
        log(context, failure.what());
    }
    return SMFIS_CONTINUE;
}

sfsistat on_negotiate(SMFICTX* context, unsigned long, unsigned long steps, unsigned long, unsigned long,
                      unsigned long* actions, unsigned long* wanted, unsigned long* more, unsigned long* yet_more) {
    *actions = SMFIF_ADDHDRS | SMFIF_CHGHDRS;
    *wanted = steps & (SMFIP_NORCPT | SMFIP_NODATA | SMFIP_NOUNKNOWN | SMFIP_SKIP | SMFIP_HDR_LEADSPC);
    *more = *yet_more = 0;
    auto* const from = new (std::nothrow) connection;
    if (from == nullptr) return SMFIS_REJECT; // of the filter: the server goes on without it
    from->values_have_blanks = (*wanted & SMFIP_HDR_LEADSPC) != 0;
    smfi_setpriv(context, from);
    return SMFIS_CONTINUE;
}

sfsistat on_connect(SMFICTX* context, char* name, sockaddr* address) {
    return guarded(context, [&](connection& from) {
        char numbers[INET6_ADDRSTRLEN] = "";
        std::string prefix;
        if (address != nullptr && address->sa_family == AF_INET) {
            inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(address)->sin_addr, numbers, sizeof numbers);
        } else if (address != nullptr && address->sa_family == AF_INET6) {
            inet_ntop(AF_INET6, &reinterpret_cast<sockaddr_in6*>(address)->sin6_addr, numbers, sizeof numbers);
            prefix = "IPv6:";
        }
        // Of a client without a name the server gives the address in brackets.
        from.client = name == nullptr || *name == '[' ? "unknown" : safe(name);
        if (*numbers != '\0') from.client += " [" + prefix + numbers + "]";
    });
}

sfsistat on_hello(SMFICTX* context, char* name) {
    return guarded(context, [&](connection& from) { from.hello = safe(name); });
}

sfsistat on_sender(SMFICTX* context, char**) {
    return guarded(context, [](connection& from) { from.begin(); });
}

sfsistat on_field(SMFICTX* context, char* name, char* value) {
    return guarded(context, [&](connection& from) {
        if (const int which = ours(name); which != 0) {
            ++(which == 1 ? from.forged_probabilities : from.forged_traces);
            return; // what is not delivered is not scanned, either
        }
        from.append(name);
        from.append(from.values_have_blanks ? ":" : ": ");
        for (std::string_view rest = value;;) { // the lines of a folded value end with a line feed alone
            const auto end = rest.find('\n');
            std::string_view line = rest.substr(0, end);
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
            from.append(line);
            from.append("\r\n");
            if (end == std::string_view::npos) break;
            rest.remove_prefix(end + 1);
        }
    });
}

sfsistat on_end_of_fields(SMFICTX* context) {
    return guarded(context, [](connection& from) { from.append("\r\n"); });
}

sfsistat on_body(SMFICTX* context, unsigned char* bytes, std::size_t size) {
    bool more = true;
    guarded(context, [&](connection& from) {
        from.append({reinterpret_cast<const char*>(bytes), size});
        more = from.complete;
    });
    return more ? SMFIS_CONTINUE : SMFIS_SKIP;
}

// A deletion moves the later copies up. False if copies are left.
bool take_away(SMFICTX* context, std::string_view name, int copies) {
    std::string field(name);
    for (int i = std::min(copies, most_deletions); i > 0; --i)
        smfi_chgheader(context, field.data(), i, nullptr);
    return copies <= most_deletions;
}

void put_on_top(SMFICTX* context, const connection& from, std::string_view name, std::string value) {
    std::string field(name);
    if (from.values_have_blanks) value.insert(0, 1, ' ');
    if (smfi_insheader(context, 0, field.data(), value.data()) != MI_SUCCESS) log(context, "no field could be added");
}

// The server's own Received field, which filters are not shown: it alone tells where the message has come from.
std::string received(SMFICTX* context, const connection& from) {
    static char server[] = "j";
    return "Received: from " + from.hello + " (" + from.client + ") by " + safe(smfi_getsymval(context, server)) +
           "\r\n";
}

// The number and, where a community was to be asked and had no part in it, the reason.
std::string probability_of(const brmx::scan_result& result) {
    const std::string number = std::to_string(result.probability);
    if (chosen.group.empty() || result.community == status_ok) return number;
    return number + " (" + brmx::status_name(result.community) + ')';
}

std::optional<verdict> judge(SMFICTX* context, connection& from) noexcept {
    try {
        if (!from.complete) {
            log(context, "not scanned: too large, or no memory");
            return std::nullopt;
        }
        auto made = scans->scan(received(context, from) + from.message, std::chrono::seconds(chosen.limit));
        if (!made) log(context, "not scanned: no time");
        return made;
    } catch (const std::exception& failure) {
        log(context, "not scanned: ", failure.what());
        return std::nullopt;
    }
}

sfsistat on_end(SMFICTX* context) {
    guarded(context, [&](connection& from) {
        const bool probabilities_gone = take_away(context, probability_field, from.forged_probabilities);
        const bool traces_gone = take_away(context, trace_field, from.forged_traces);
        const auto made = judge(context, from);
        from.begin();
        // Readers take the first field of a name, so above forged ones that are left stands one of the filter's own.
        if (made && chosen.trace) {
            put_on_top(context, from, trace_field, folded(made->trace));
        } else if (!traces_gone) {
            put_on_top(context, from, trace_field, unknown);
        }
        if (made) {
            put_on_top(context, from, probability_field, probability_of(made->result));
        } else if (!probabilities_gone) {
            put_on_top(context, from, probability_field, unknown);
        }
    });
    return SMFIS_ACCEPT;
}

sfsistat on_abort(SMFICTX* context) {
    return guarded(context, [](connection& from) { from.begin(); });
}

sfsistat on_close(SMFICTX* context) {
    delete static_cast<connection*>(smfi_getpriv(context));
    smfi_setpriv(context, nullptr);
    return SMFIS_CONTINUE;
}

bool read_number(const char* text, std::uint32_t& number) {
    const char* const end = text + std::char_traits<char>::length(text);
    const auto [stop, failure] = std::from_chars(text, end, number);
    return failure == std::errc() && stop == end && number > 0;
}

bool read_options(int count, char** values, options& out) {
    const auto value_of = [&](int& i) { return ++i < count ? values[i] : nullptr; };
    for (int i = 1; i < count; ++i) {
        const std::string_view given = values[i];
        std::uint32_t* const number = given == "--largest"   ? &out.largest
                                      : given == "--limit"   ? &out.limit
                                      : given == "--scans"   ? &out.scans
                                      : given == "--timeout" ? &out.community_timeout
                                                             : nullptr;
        if (given == "--trace") {
            out.trace = true;
        } else if (number != nullptr || given == "--community") {
            const char* const value = value_of(i);
            if (value == nullptr || (number != nullptr && !read_number(value, *number))) return false;
            if (number == nullptr) out.group = value;
        } else if (!out.socket.empty() || given.empty() || given.front() == '-') {
            return false;
        } else {
            out.socket = given;
        }
    }
    return !out.socket.empty();
}

bool register_filter() {
    static char name[] = "brmx-milter";
    smfiDesc filter{};
    filter.xxfi_name = name;
    filter.xxfi_version = SMFI_VERSION;
    filter.xxfi_flags = SMFIF_ADDHDRS | SMFIF_CHGHDRS;
    filter.xxfi_connect = on_connect;
    filter.xxfi_helo = on_hello;
    filter.xxfi_envfrom = on_sender;
    filter.xxfi_header = on_field;
    filter.xxfi_eoh = on_end_of_fields;
    filter.xxfi_body = on_body;
    filter.xxfi_eom = on_end;
    filter.xxfi_abort = on_abort;
    filter.xxfi_close = on_close;
    filter.xxfi_negotiate = on_negotiate;
    return smfi_register(filter) == MI_SUCCESS && smfi_setconn(chosen.socket.data()) == MI_SUCCESS &&
           smfi_opensocket(true) == MI_SUCCESS;
}

int serve() {
    brmx::engine running;
    if (!chosen.group.empty()) running.join_community(chosen.group);
    static scanner work(running, chosen.scans, std::chrono::seconds(chosen.community_timeout));
    scans = &work;
    if (!register_filter()) {
        std::fprintf(stderr, "brmx-milter: cannot listen at %s\n", chosen.socket.c_str());
        return 1;
    }
    const int outcome = smfi_main() == MI_SUCCESS ? 0 : 1; // until a signal comes
    // A scan that goes on could wait for the shutdown as the shutdown waits for it: then the process ends without.
    if (!work.close(std::chrono::seconds(chosen.limit))) std::_Exit(outcome);
    return outcome;
}

} // namespace
} // namespace brmx_milter

int main(int count, char** values) {
    using namespace brmx_milter;
    if (count == 2 && std::string_view(values[1]) == "--help") return std::fputs(usage, stdout) < 0 ? 1 : 0;
    if (!read_options(count, values, chosen)) {
        std::fputs(usage, stderr);
        return 2;
    }
    int outcome = 1;
    try {
        outcome = serve();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "brmx-milter: %s\n", failure.what());
    }
    std::fflush(nullptr);
    std::_Exit(outcome); // threads of the C library may still serve a connection, and nothing is taken down under them
}
