#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <string_view>

namespace brmx_scan {

// The interface counts the bytes of a message in 32 bits.
constexpr std::uint64_t largest_message = 0xFFFFFFFF;

// Cuts an mbox into messages while it is read, front to back: no more than a message and one block is in memory,
// whatever the size of the file, so a pipe will do.
//
// A message begins at the start of the file, after empty lines, and at every line "From " that holds a time and a
// year, follows an empty line and is followed by a header field. So strict, because some programs write the word into a
// text as it is.
class mbox_reader {
public:
    // `in` has to outlive the reader, and to be binary.
    explicit mbox_reader(std::istream& in);

    // Takes the next message as it stands in the file, separators and all, of which take_out_of_mbox frees it; false
    // at the end. `size` counts its bytes; above `largest_message` they are passed over and `message` is left empty.
    bool next(std::string& message, std::uint64_t& size);

    // True if the last message was ended by another one, false if by the end of the file.
    [[nodiscard]] bool more() const noexcept { return !carried_.empty(); }
    // True if the end is none: the file could not be read any further.
    [[nodiscard]] bool failed() const { return in_.bad(); }

private:
    std::string_view take_line();

    std::istream& in_;
    std::string block_;
    std::size_t at_ = 0;     // what is taken of the block
    std::size_t filled_ = 0; // what is read of it
    std::string carried_;    // the lines that showed where a message ends: the first two of the next one
};

// Undoes what storing a message in an mbox has done to it: takes away the first line and the empty one at the end, and
// one ">" from every line that begins with any number of them before "From ".
void take_out_of_mbox(std::string& message);

} // namespace brmx_scan
