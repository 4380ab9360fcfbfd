#include "foundation/exception_w.h"

#include "foundation/text/unicode.h"

#include <new>

namespace tackle {

exception_w::exception_w(const wstring& text) : exception(string()), message_w_(text) {}

const char* exception_w::message() const noexcept {
    make_narrow();
    return narrow_message_.c_str();
}

const char* exception_w::code() const noexcept {
    make_narrow();
    return narrow_code_.c_str();
}

const char16_t* exception_w::what_w() const noexcept {
    try {
        wstring text = code_w();
        text += u'[';
        text += message_w();
        text += u']';
        what_text_w_ = std::move(text);
        return what_text_w_.c_str();
    } catch (const std::bad_alloc&) {
        return u"[out of memory]";
    }
}

const char16_t* exception_w::message_w() const noexcept { return message_w_.c_str(); }

const char16_t* exception_w::code_w() const noexcept { return code_w_.c_str(); }

void exception_w::append_code_w(const char16_t* word) {
    if (!code_w_.empty()) code_w_ += u'.';
    code_w_ += word;
}

void exception_w::make_narrow() const noexcept {
    if (narrowed_) return;
    try {
        string code = unicode::to_narrow(code_w_, 0, false);
        narrow_message_ = unicode::to_narrow(message_w_, 0, false);
        narrow_code_ = std::move(code);
        narrowed_ = true;
    } catch (const std::exception&) {
        // Who asks what went wrong gets an empty text rather than a second failure; the next call tries again.
        narrow_message_.clear();
    }
}

} // namespace tackle
