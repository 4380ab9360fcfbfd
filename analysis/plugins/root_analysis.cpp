#include "analysis/plugins/root_analysis.h"

#include <algorithm>

#include "deployment/deployment.h"
#include "foundation/coding/md5.h"
#include "message/header_type/parametized_value_type.h"
#include "message/header_type/unstructured_value_type.h"
#include "view/if_readable.h"

namespace brimwarden::analysis::plugins::header_analysis {

using tackle::string;
using tackle::string_view;
using tackle::internet::message2::part;
using tackle::internet::message2::header_type::parametized_value_type;
using tackle::internet::message2::header_type::unstructured_value_type;

namespace {

void test_type_field(const part& root, test_result_list& results) {
    unstructured_value_type type;
    root.get_header("Content-Type", type);
    if (!type.value().empty()) return; // the loader adds an empty field where there is none
    add(results, u"Root.Missing_Content-Type", 20.0F, u"Message root is missing Content-Type: field");
}

void test_identifier(const part& root, test_result_list& results) {
    unstructured_value_type identifier;
    if (!root.get_header("Message-ID", identifier)) {
        add(results, u"Root.Message-ID.Missing", 10.0F, u"Message root is missing Message-ID: field");
        return;
    }
    const auto& value = identifier.value();
    if (std::ranges::count(value, u'<') == 1 && std::ranges::count(value, u'>') == 1) return; // in any order
    add(results, u"Root.Message-ID.Malformed", 20.0F, u"Message root contains a malformed Message-ID: field");
}

void test_attachment(const part& root, test_result_list& results) {
    if (!root.attachment_info().filename.empty())
        add(results, u"Root.Attachment", 10.0F, u"Message root is an attachment");
    const auto& type = root.content_type();
    if (type.starts_with("multipart/") || type.starts_with("text/") || type.starts_with("message/")) return;
    add(results, u"Root.Content-Type.Suspicious", 10.0F, u"Message root has suspicious Content-Type: field");
}

void test_siblings(const part& root, test_result_list& results) {
    if (!root.content_type().starts_with("multipart/") || !root.children().empty()) return;
    add(results, u"Root.Content-Type.Suspicious", 50.0F, u"Message root is multipart with no siblings");
}

void test_online_mark(const part& root, test_result_list& results) {
    if (!has_online_mark(root, deployment::online_mark_key)) return;
    add(results, u"Message.Already_Processed", 0.0F, u"Message has already been processed by Brimwarden Online")
        .whitelist = true;
}

} // namespace

// The mark is a keyed digest of three values. One that is missing counts with the value before it, on both sides: the
// buffer is kept from one to the next on purpose.
bool has_online_mark(const part& root, string_view key) {
    parametized_value_type mark;
    if (key.empty() || !root.get_header("X-Brimwarden-Online", mark)) return false;
    tackle::coding::md5 digest;
    string value;
    for (const char* const name : {"customer", "account", "item"}) {
        mark.get_parameter(name, value);
        digest.update(value);
    }
    digest.update(key);
    mark.get_parameter("auth", value);
    return tackle::coding::md5_base64(digest.finish()) == value;
}

void test_root(const part& root, test_result_list& test_results) {
    for (const auto test : {test_type_field, test_identifier, test_attachment, test_siblings, test_online_mark})
        if_readable([&] { test(root, test_results); });
}

} // namespace brimwarden::analysis::plugins::header_analysis
