#pragma once

#include "message/part.h"

#include <exception>

namespace tackle::internet::message2 {

// Fills a bare part, the root of a tree, from the bytes of a message.
class tree_loader {
public:
    // Of a text that had uuencoded files in it.
    static constexpr string_view uuencoded_boundary = "=_uue_conversion_boundary";

    // `root` gets whatever could be read before a failure: its owner drops it then. Throws as the constructors of part.
    static void load(part& root, string_view message);
    // The same; frees the bytes before it goes on to messages within the message.
    static void load(part& root, string&& message);
    // No line at all, not even an empty one.
    static void load_nothing(part& root);

private:
    friend class tree_walk;

    // A message attached as a file, decoded, that is to be parsed into `target` when the walk has ended that found it.
    struct attached_message {
        part* target;
        string bytes;
        unsigned depth;
        bool no_files; // no line of it begins a uuencoded file
    };
    using attached_messages = std::vector<attached_message>;

    // What a walk has found, how many of these have been parsed, and what ended it.
    struct walked_message {
        attached_messages found;
        std::size_t next = 0;
        std::exception_ptr failure;
    };

    static walked_message walk(attached_message message);
    static walked_message walk(part& root, string_view message, unsigned depth, bool no_files);
    static void load_attached(walked_message first);

    // What the walk does to a part.
    static std::unique_ptr<part> make_bare() { return std::unique_ptr<part>(new part(part::bare())); }
    static void read_headers(part& node, string_view section, std::size_t fields);
    static void store_body(part& node, const struct line_stretch& lines, const string& encoding, bool no_files);
    static void store_text(part& node, const struct line_stretch& lines);
    static std::unique_ptr<part> make_uuencoded(const part& text, const struct uuencoded_block& block);
    static void split_off_text(part& node);
    static bool is_attached_message(const part& node);
    static part* make_nested(part& node, unsigned depth);
    static part& add_child(part& node);
    static string take_data(part& node) { return node.body_ ? std::exchange(node.body_->data, {}) : string(); }
};

} // namespace tackle::internet::message2
