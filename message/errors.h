#pragma once

#include "foundation/exception.h"

// What leaves the message model. All three have the code "message2" and are told apart by class and message.
namespace tackle::internet::message2 {

// Parts nested deeper than part::deepest.
class depth_limit : public exception {
public:
    explicit depth_limit(const string& text) : exception(text) { append_code("message2"); }
};
// A file that can't be opened or read, and also one that can't be created for saving.
class load_failed : public exception {
public:
    explicit load_failed(const string& text) : exception(text) { append_code("message2"); }
};
// A file that was created but could not be written whole; it stays behind as it is.
class save_failed : public exception {
public:
    explicit save_failed(const string& text) : exception(text) { append_code("message2"); }
};

} // namespace tackle::internet::message2
