#include "message/header_type/content_type_rebuild.h"

#include "foundation/text/strings.h"
#include "foundation/text/unicode.h"
#include "message/header_type/parameter_reader.h"
#include "message/header_type/unstructured_value_type.h"

namespace tackle::internet::message2::header_type {
namespace {

constexpr std::uint32_t utf8 = 65001;

// Gives texts to and from encoded words, with the charset as its state.
class word_coder : public unstructured_value_type {
public:
    bool decode(string_view raw, wstring& out) {
        out.clear();
        return decode_words(raw, last_blanks::drop, out, unreadable::fails);
    }
    bool encode(wstring_view text, string& out) const { return try_encode_word(text, out); }
};

class rebuild {
public:
    rebuild(string_view raw, const content_type_model& model) : raw_(raw), model_(model) {}

    std::optional<string> run(std::size_t limit) {
        find_last_charset();
        if (!encoder_.encode(unicode::to_wide(model_.type, utf8), out_)) return std::nullopt;
        parameter_reader reader(raw_);
        string name;
        string value;
        if (reader.next_value(value)) decoder_.decode(value, text_);
        while (out_.size() <= limit && reader.next(name, value)) {
            out_ += kept_;
            kept_.clear();
            take(name, value, reader.last_raw());
        }
        if (!has_charset_ && !model_.charset.empty()) add_new("charset", model_.charset);
        if (!has_boundary_ && !model_.boundary.empty()) add_new("boundary", model_.boundary);
        out_ += kept_;
        if (out_.size() > limit) return std::nullopt;
        return std::move(out_);
    }

private:
    // Words are written in the charset that is in force when all has been read.
    void find_last_charset() {
        parameter_reader reader(raw_);
        string name;
        string value;
        if (reader.next_value(value)) encoder_.decode(value, text_);
        while (reader.next(name, value))
            encoder_.decode(value, text_);
    }

    void take(const string& name, const string& value, string_view raw) {
        bool fits = decoder_.decode(value, text_); // always: it sets the charset for those after it
        if (!has_charset_ && iequals(name, "charset")) {
            has_charset_ = true;
            if (model_.charset.empty()) return;
            fits = true;
            text_ = unicode::to_wide(model_.charset, utf8);
        } else if (!has_boundary_ && !model_.boundary.empty() && iequals(name, "boundary")) {
            has_boundary_ = true;
            fits = true;
            text_ = unicode::to_wide(model_.boundary, utf8);
        }
        if (!fits || !add(name)) kept_.append("; ").append(raw);
    }

    void add_new(string_view name, string_view value) {
        text_ = unicode::to_wide(value, utf8);
        add(name);
    }

    bool add(string_view name) {
        const std::size_t before = out_.size();
        out_.append("; ").append(name).append("=\"");
        if (!encoder_.encode(text_, out_)) {
            out_.resize(before);
            return false;
        }
        out_ += '"';
        return true;
    }

    string_view raw_;
    const content_type_model& model_;
    word_coder encoder_;
    word_coder decoder_;
    wstring text_;
    string out_;
    string kept_; // a raw parameter not yet written: what is added goes before it, since a quote may be open at its end
    bool has_charset_ = false;
    bool has_boundary_ = false;
};

} // namespace

std::optional<string> rebuild_content_type(string_view raw, const content_type_model& model, std::size_t limit) {
    return rebuild(raw, model).run(limit);
}

} // namespace tackle::internet::message2::header_type
