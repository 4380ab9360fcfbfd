#include "language/dictionary_reader.h"

namespace brimwarden::language {

dictionary_reader::dictionary_reader(const dictionary_row* index) : row_(index), position_(index->chunk) {}

bool dictionary_reader::next() {
    if (position_ == nullptr) return false;
    while (*position_ == 0) {
        position_ = (++row_)->chunk;
        if (position_ == nullptr) return false;
    }
    // Plain char has a sign: long prefixes make headers of 0x80 and above.
    const auto header = static_cast<unsigned char>(*position_++);
    const unsigned suffix = header & 0x0FU;
    word_.resize(header >> 4);
    word_.append(position_, suffix);
    position_ += suffix;
    return true;
}

} // namespace brimwarden::language
