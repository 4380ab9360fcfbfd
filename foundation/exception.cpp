#include "foundation/exception.h"

#include <new>

namespace tackle {

exception::exception(const string& text) : message_(text) {}

const char* exception::what() const noexcept {
    try {
        // Through the virtual operations: a derived class may keep its texts elsewhere.
        string text = code();
        text += '[';
        text += message();
        text += ']';
        what_text_ = std::move(text);
        return what_text_.c_str();
    } catch (const std::bad_alloc&) {
        return "[out of memory]";
    }
}

const char* exception::message() const noexcept { return message_.c_str(); }

const char* exception::code() const noexcept { return code_.c_str(); }

void exception::append_code(const char* word) {
    if (!code_.empty()) code_ += '.';
    code_ += word;
}

} // namespace tackle
