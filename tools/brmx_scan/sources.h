#pragma once

#include "tools/brmx_scan/mbox.h"
#include "tools/brmx_scan/options.h"

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace brmx_scan {

// One message to scan. One that cannot be had carries the reason instead.
struct source {
    std::string name; // as shown to the user: that of the file, with the number of the message if the file is an mbox
    std::string error;
    std::optional<std::string> content; // what had to be read to find the message; else read_source reads it
    std::uint64_t bytes = 0;            // that it takes in its file, as far as that is known before it is read
};

// The messages of the files and directories that a user names, one after the other: files as they are given, and for a
// directory every regular file below it in the order of names. Links to directories inside a directory are not
// followed, so a loop of links comes to an end. Of a Maildir, its folders included, only new/ and cur/ count.
//
// An mbox gives all its messages. Which files are some, `mbox` says; left to itself the file does: one called mbox or
// *.mbox, and any other that looks like more than one message. A file of a Maildir is one message in any case, and so
// is what comes from a pipe unless the user says otherwise: there a sender, who may write what looks like a second
// message, would decide about the number.
class message_feed {
public:
    // Lists the directories; no file is read before it is its turn.
    message_feed(const std::vector<std::string>& paths, when mbox);

    // False at the end. One caller at a time.
    [[nodiscard]] bool next(source& out);

    // The sizes of all files together, as far as they have any; asks the system about each.
    [[nodiscard]] std::uint64_t total_bytes() const;

private:
    struct file {
        std::string name;
        std::string error;
        bool is_one_message = false;
    };
    void list_directory(const std::string& top);
    [[nodiscard]] bool is_mbox(const file& given) const;
    [[nodiscard]] bool may_be_mbox(const file& given) const;
    void open(const file& given);
    void close();
    bool next_in_file(source& out);

    const when mbox_;
    std::vector<file> files_;
    std::size_t at_ = 0;
    std::ifstream stream_;
    std::optional<mbox_reader> reader_; // of files_[at_], if that is an mbox or has to be looked at
    std::size_t number_ = 0;            // of the message last taken from it
};

// Reads the whole of a file, or of standard input for "-", into `content`. Returns the reason why that is impossible,
// empty on success.
[[nodiscard]] std::string read_source(const std::string& name, std::string& content);

} // namespace brmx_scan
