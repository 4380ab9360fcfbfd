#pragma once

#include "foundation/exception.h"

namespace tackle::internet::transport {

// What can go wrong with a socket of either kind. The causes of one kind stand in that kind's class.
class generic : public exception {
public:
    explicit generic(const string& text) : exception(text) { append_code("internet.transport"); }
};
class operation_interrupted : public generic {
public:
    explicit operation_interrupted(const string& text) : generic(text) { append_code("operation_interrupted"); }
};
class not_a_socket : public generic {
public:
    explicit not_a_socket(const string& text) : generic(text) { append_code("not_a_socket"); }
};
class address_in_use : public generic {
public:
    explicit address_in_use(const string& text) : generic(text) { append_code("address_in_use"); }
};
class address_not_valid : public generic {
public:
    explicit address_not_valid(const string& text) : generic(text) { append_code("address_not_valid"); }
};

} // namespace tackle::internet::transport
