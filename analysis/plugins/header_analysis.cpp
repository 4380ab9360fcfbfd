#include "analysis/plugins/header_analysis.h"

#include "analysis/origin_address.h"
#include "analysis/plugins/executable_files.h"
#include "analysis/plugins/root_analysis.h"
#include "deployment/deployment.h"
#include "foundation/text/format.h"
#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "message/header_type/addresses_value_type.h"
#include "message/header_type/unstructured_value_type.h"
#include "network/numeric_address.h"
#include "view/has_printable.h"
#include "view/if_readable.h"

#include <algorithm>

namespace brimwarden::analysis::plugins::header_analysis {

using tackle::wstring;
using tackle::wstring_view;
using tackle::internet::address::ip4;
using tackle::internet::message2::part;
using tackle::internet::message2::header_type::addresses_value_type;
using tackle::internet::message2::header_type::unstructured_value_type;

namespace {

constexpr std::size_t shortest_preamble = 32; // bytes: what the client writes in front of the first boundary is longer

// By own code: the system's resolver refuses even digits while nobody has started its sockets, and without a community
// nobody has.
wstring numeric_text(const ip4& address) {
    return tackle::unicode::to_wide(tackle::internet::address::numeric_text(address.address()),
                                    tackle::unicode::raw_code_page);
}

void add_origin(signature_list& signatures, const ip4& address, wstring_view details) {
    signatures.emplace_back(u"hsi", numeric_text(address));
    if (signatures.with_details) signatures.back().details = details;
}

void test_subject(const part& root, test_result_list& results) {
    unstructured_value_type subject;
    root.get_header("Subject", subject);
    if (has_printable(subject.value())) return;
    add(results, u"Header.Subject.Empty", 20.0F, u"Subject: field contains no printable characters");
}

void test_to(const part& root, test_result_list& results) {
    addresses_value_type to;
    root.get_header("To", to);
    if (to.addresses().empty()) {
        add(results, u"Header.To.Empty", 10.0F, u"To: field contains no entries");
        return;
    }
    addresses_value_type from;
    root.get_header("From", from);
    if (to.addresses().size() != 1 || from.addresses().size() != 1) return;
    if ((*to.addresses().begin()).address != (*from.addresses().begin()).address) return;
    add(results, u"Header.To.Self_Addressed", 10.0F, u"To: field address is identical to From: field address");
}

} // namespace

// The order counts: the tests behind the Received walk read what it has found.
void plugin::generate(const part& root, signature_list& signatures, test_result_list& test_results, trace_list&) {
    test_root(root, test_results);
    attachment_analysis::test_executables(root, test_results);
    if_readable([&] { test_subject(root, test_results); });
    walk_received(root, signatures);
    if_readable([&] { test_client(root, signatures, test_results); });
    if_readable([&] { test_from(root, test_results); });
    if_readable([&] { test_to(root, test_results); });
}

void plugin::apply(const part&, signature_list&, test_result_list&, trace_list&) {}

// From the oldest hop to the newest. Each hop writes its field above the ones it got, so the lowest public address is
// the nearest to the origin that the message tells.
void plugin::walk_received(const part& root, signature_list& signatures) {
    const auto& headers = root.headers();
    for (std::size_t i = headers.size(); i-- > 0;) {
        const auto field = headers[i];
        if (!tackle::iequals(field.name, "received")) continue;
        if_readable([&] {
            const auto address = received_address(field.value);
            if (!address) return;
            if (received_addresses.empty()) add_origin(signatures, *address, u"Extracted from Received: field");
            received_addresses.insert(*address);
        });
    }
}

// Mail that claims to come from a well-known client, and lacks what that client always writes.
void plugin::test_client(const part& root, signature_list& signatures, test_result_list& test_results) {
    unstructured_value_type mime;
    unstructured_value_type mailer;
    if (!root.get_header("X-MimeOLE", mime) || !root.get_header("X-Mailer", mailer)) return;
    if (!mime.value().starts_with(u"Produced By Microsoft MimeOLE")) return;
    if (!mailer.value().starts_with(u"Microsoft Outlook Express")) return;
    if (root.content_type().starts_with("multipart/") && root.data().size() < shortest_preamble) {
        add(test_results, u"Header.X-Mailer.Forged", 10.0F, u"Root part missing client-specific information");
    }
    test_message_id(root, signatures, test_results);
}

void plugin::test_message_id(const part& root, signature_list& signatures, test_result_list& test_results) {
    unstructured_value_type identifier;
    if (!root.get_header("Message-ID", identifier)) return;
    const auto address = message_id_address(identifier.value());
    if (!address) return;
    if (received_addresses.empty()) {
        add_origin(signatures, *address, u"Extracted from Message-ID: field");
        received_addresses.insert(*address);
    } else if (!received_addresses.contains(*address)) {
        add(test_results, u"Header.Message-ID.Forged", 30.0F,
            tackle::format(u"Extracted IP \"%s\" not listed in any Received: fields", numeric_text(*address)));
    }
}

void plugin::test_from(const part& root, test_result_list& test_results) const {
    addresses_value_type from;
    root.get_header("From", from);
    if (from.addresses().empty()) {
        add(test_results, u"Header.From.Empty", 10.0F, u"From: field contains no entries");
        return;
    }
    const auto sender = *from.addresses().begin();
    if (!has_printable(sender.display_name)) {
        add(test_results, u"Header.From.No_Display_Name", 5.0F, u"From: field contains no display name");
    }
    const auto has_suffix = [&](std::string_view suffix) { return sender.address.ends_with(suffix); };
    if (std::ranges::none_of(deployment::trusted_sender_suffixes, has_suffix)) return;
    // Mail that names no public hop has not left the operator's own network.
    if (!received_addresses.empty() && !came_through_trusted_network()) return;
    add(test_results, u"Header.From.Trusted", 0.0F, u"Message is from trusted sender").whitelist = true;
}

bool plugin::came_through_trusted_network() const {
    return std::ranges::any_of(received_addresses, [](const ip4& hop) {
        return std::ranges::any_of(deployment::trusted_networks, [&](const deployment::address_block& block) {
            return hop.address() >= block.first && hop.address() <= block.last;
        });
    });
}

} // namespace brimwarden::analysis::plugins::header_analysis
