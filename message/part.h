#pragma once

#include "message/errors.h"
#include "message/header_list.h"
#include "message/header_type/generic_value_type.h"

#include <list>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace tackle::internet::message2 {

struct attachment_info {
    bool is_attachment = false;
    wstring filename; // empty if there is none
};

// One node of a message: the message itself is the root part, and each part owns its whole subtree. A part is complete
// when its constructor returns; one that throws leaves nothing behind. No locks: one thread at a time for a whole tree,
// since text(), headers(), attachment_info() and named_charset() keep what they have read.
//
// The loader takes whatever there is. A part with a boundary is split whatever its type, a missing closing line is the
// end of the message, missing headers have defaults, CR and LF and both pairs of them end a line, a NUL is a byte like
// any other, lines have no limit. What stands before the first delimiter is the part's own data, what stands behind the
// closing line is dropped. Uuencoded files in a text become children, and so does a message attached as an .eml file.
// Parsing takes time in proportion to the message at every depth, and recurses only from depth to depth. A message
// attached as an .eml file is one more text by its decoded size: base64 shrinks a chain of those by a quarter a link,
// but a chain in no encoding, or of escapes that are escapes again after each decoding, is 64 texts of nearly the
// whole size.
//
// Loading throws depth_limit, load_failed, std::bad_alloc, and for a Content-Type whose type can't be decoded
// unicode::generic or coding::translate::invalid_codeword. Nothing else in a message makes it fail: an unreadable
// Content-Transfer-Encoding or parameter counts as absent.
class part {
public:
    // A child is parsed only by a part less deep than this; the root has depth 0.
    static constexpr unsigned deepest = 64;

    // A new part of the type text/plain in iso-8859-1, a Content-Type that says so, and quoted-printable as encoding.
    part();
    // Parses a whole message. The bytes are not needed afterwards.
    explicit part(string_view message);
    // Reads a file and parses it. load_failed says "file not found" for whatever keeps it from being opened.
    explicit part(wstring_view path);
    // Parses a message given as lines without their ends; no line at all is a message without a body. A line end
    // inside a line ends it there all the same.
    explicit part(const std::list<string>& lines);
    part(std::list<string>::const_iterator lines_begin, std::list<string>::const_iterator lines_end);
    // Deep.
    part(const part& other);
    part& operator=(const part& other);
    part(part&& other) noexcept = default;
    part& operator=(part&& other) noexcept = default;
    ~part() = default;

    // What is given out as a view or reference is good until the part is changed.

    // Those that follow from other things are made when they are first asked for.
    [[nodiscard]] const header_list& headers() const;
    // The last Content-Type field decided type, charset and boundary, while get_header answers the first. Lower case;
    // not trimmed, so a blank before a semicolon stays.
    [[nodiscard]] string_view content_type() const noexcept { return body_ ? body_->type : default_type; }
    void set_content_type(string_view type);
    // Lower case, as the message spells it.
    [[nodiscard]] string_view charset() const noexcept {
        return body_ && body_->rest ? string_view(body_->rest->charset) : default_charset;
    }
    // The body without its transfer encoding; text lines end in CR LF.
    [[nodiscard]] string_view data() const noexcept { return body_ ? string_view(body_->data) : string_view(); }
    void set_data(string data) { body().data = std::move(data); }
    // As it stood, case kept; empty if there is none.
    [[nodiscard]] string_view boundary() const noexcept {
        return body_ && body_->rest ? string_view(body_->rest->boundary) : string_view();
    }
    [[nodiscard]] std::span<const std::unique_ptr<part>> children() const noexcept {
        if (!body_ || !body_->rest) return {};
        return body_->rest->children;
    }
    // Its place in the message that was loaded, counted from 1 at the root, each part before its children: what a trace
    // calls a part by, the same in every run and without telling anything about the process. A copy keeps it; a part
    // that was not loaded has 1.
    [[nodiscard]] std::uint32_t number() const noexcept { return number_; }

    // Gives the raw value of the first field of that name, case ignored, to `value`, which may throw in parsing it.
    // False if there is none; `value` is then left alone.
    bool get_header(string_view name, header_type::generic_value_type& value) const;
    bool get_header(string_view name, string& raw) const;
    void add_header(string_view name, const header_type::generic_value_type& value);
    void add_header(string_view name, string_view raw);
    // All of that name, case ignored.
    void remove_headers(string_view name);

    // The data as text of the part's charset, converted when first asked for. Throws unicode::generic and stays
    // unconverted.
    const wstring& text();
    // The same in a code page. Throws unicode::generic if it does not fit.
    [[nodiscard]] string text_in(std::uint32_t code_page);
    // Sets text and data. Throws unicode::generic, before anything is changed, if the part's charset can't hold it.
    void set_text(wstring_view text);
    void set_text(string_view text, std::uint32_t code_page);

    // The first Content-Transfer-Encoding in lower case; empty if there is none, or one that can't be read.
    [[nodiscard]] string transfer_encoding() const;

    // Whether this is a file rather than text to show, and its name. Judged by the part's type, which may have changed
    // since its header was read; a Content-Disposition overrules that either way, unless its value can't be read. A name
    // that can't be read is none, and what else the field says counts. Throws nothing but std::bad_alloc.
    [[nodiscard]] message2::attachment_info attachment_info() const;
    // The charset that the first Content-Type names, be it an empty one. Throws nothing but std::bad_alloc.
    [[nodiscard]] std::optional<string> named_charset() const;

    // Appends to `out` this part and those below it whose type starts with `type_prefix` (case ignored), breadth
    // first. With `skip_nested` a part of the type "message/rfc822" is passed over with all below it, also this one.
    void find_parts(std::vector<part*>& out, bool skip_nested, string_view type_prefix);
    void find_parts(std::vector<const part*>& out, bool skip_nested, string_view type_prefix) const;
    // The part to show to a reader, or null. Below each multipart in turn, and below this part at last: HTML that is
    // no attachment, plain text that is none, any HTML, any plain text. Attached messages are not looked into.
    [[nodiscard]] part* find_displayable();
    [[nodiscard]] const part* find_displayable() const;

    // The lines of the message that this part is now, without their ends. No faithful copy of what was loaded: the
    // Content-Type follows the model, bodies are encoded anew. Whatever was loaded can be rendered: a Content-Type, or a
    // parameter of it, that can't be written keeps its raw form. All lines with their ends take at most 8 times the bytes
    // of the message and 64 KiB; Content-Types beyond that keep their raw form too, and of parts that come of a
    // uuencoded text the headers are left out.
    [[nodiscard]] std::vector<string> render() const;
    void render(std::vector<string>& lines) const;
    // The same lines as one text, each followed by CR LF.
    [[nodiscard]] string render_text() const;
    // Loads what render_text has written, as a server does with a report, and takes the empty lines back that rendering
    // has added: all data is what it was, save for CR or LF that stood in it alone. Loads any other text as well.
    [[nodiscard]] static part from_rendered(string_view text);
    // Writes that text to a file, over whatever stands there. Throws load_failed, "file cannot be created", although
    // this is no loading, and save_failed, "write failed"; the part itself stays as it is.
    void save(wstring_view path) const;

private:
    friend class tree_loader; // fills a part that was made bare
    struct bare {};
    explicit part(bare) noexcept {}

    [[nodiscard]] std::optional<string_view> find_header(string_view name) const;
    void apply_content_type(string_view raw);
    void make_headers() const;
    [[nodiscard]] wstring file_name() const;
    [[nodiscard]] string disposition_of_file() const;
    std::uint32_t number_from(std::uint32_t first) noexcept; // this part and all below; returns the next number

    // What scans ask of Content-Type and Content-Disposition.
    struct field_readings {
        wstring file_name;
        std::optional<string> charset;
        std::optional<bool> is_disposed; // as an attachment or otherwise
    };
    static field_readings read_fields(std::optional<string_view> type, std::optional<string_view> disposition);
    [[nodiscard]] const field_readings* kept_readings(std::optional<string_view> type,
                                                      std::optional<string_view> disposition) const;
    void forget_readings() noexcept;

    static constexpr string_view default_type = "text/plain";
    static constexpr string_view default_charset = "iso-8859-1";

    // A message can consist of millions of parts of a few bytes: what most of them do without has its own memory.
    struct body_rest {
        string charset{default_charset};
        string boundary;
        wstring text; // of the data, empty until somebody asks for it
        std::vector<std::unique_ptr<part>> children;
        std::unique_ptr<const field_readings> readings; // of long fields, null until somebody asks
    };
    struct part_body {
        string data;
        string_view type = default_type; // of a literal, or of own_type
        std::unique_ptr<char[]> own_type;
        std::unique_ptr<body_rest> rest;
        wstring file_name; // of a uuencoded file
    };
    // Where the headers come from, if not from the list itself.
    enum class header_origin : std::uint8_t {
        list,
        empty_type, // a part without a field has an empty Content-Type
        file        // a uuencoded file has those of a new part and of an attachment
    };

    // Made if there is none, which changes nothing that can be seen.
    [[nodiscard]] part_body& body() const;
    [[nodiscard]] body_rest& rest() const;

    mutable header_list headers_;
    mutable std::unique_ptr<part_body> body_;
    std::uint32_t number_ = 1;
    mutable header_origin headers_from_ = header_origin::list;
};

} // namespace tackle::internet::message2
