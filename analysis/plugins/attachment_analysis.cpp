#include "analysis/plugins/attachment_analysis.h"

#include "analysis/plugins/executable_files.h"
#include "foundation/text/format.h"
#include "message/part_walk.h"

namespace brimwarden::analysis::plugins::attachment_analysis {

using tackle::wstring;
using tackle::wstring_view;
using tackle::internet::message2::part;

namespace {

constexpr std::size_t shortest_zip = 22;    // bytes: an archive has at least the record that ends its directory
constexpr std::size_t small_file = 65536;   // bytes
constexpr std::size_t shortest_text = 1024; // bytes: a shorter text is everybody's

class walk {
public:
    walk(signature_list& signatures, test_result_list& test_results)
        : signatures_(signatures), test_results_(test_results) {}

    void look_at(const part& part) {
        const auto& type = part.content_type();
        if (type.starts_with("message/") || type.starts_with("multipart/")) return;
        const wstring name = file_name(part);
        const std::size_t size = part.data().size();
        if (name.ends_with(u".zip") || type == "application/zip" || type == "application/x-zip-compressed") {
            if (size < shortest_zip) {
                note(u"Part.Zip.Corrupt", 90.0F, u"Found corrupt Zip attachment");
            } else if (size < small_file) {
                note(u"Part.Zip.Small", small_points(), u"Found small Zip attachment");
            }
        }
        if (name.ends_with(u".rtf") && size < small_file) {
            note(u"Part.Rtf.Small", small_points(), u"Found small RTF attachment");
        }
        if (type == "text/plain" && size < shortest_text) return;
        signatures_.emplace_back(u"prd", digest_text(part.data()));
        if (signatures_.with_details) signatures_.back().details = tackle::format(u"Part: 0x%x", part.number());
    }

private:
    // One finding of any kind is enough for the points of all small files.
    [[nodiscard]] float small_points() const { return seen_ ? 0.0F : 30.0F; }

    void note(wstring_view name, float points, const char16_t* details) {
        add(test_results_, name, points, details);
        seen_ = true;
    }

    signature_list& signatures_;
    test_result_list& test_results_;
    bool seen_ = false;
};

} // namespace

void plugin::generate(const part& root, signature_list& signatures, test_result_list& test_results, trace_list&) {
    // The room that is needed, so that a long list never exists twice while it grows.
    std::size_t parts = 0;
    walk_parts(root, true, [&](const part&) { return ++parts > 0; });
    signatures.reserve(signatures.size() + parts);
    walk files(signatures, test_results);
    walk_parts(root, true, [&](const part& found) {
        files.look_at(found);
        return true;
    });
}

void plugin::apply(const part&, signature_list&, test_result_list&, trace_list&) {}

} // namespace brimwarden::analysis::plugins::attachment_analysis
