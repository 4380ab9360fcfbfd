#pragma once

#include "foundation/exception.h"

namespace tackle::internet::address {

class generic : public exception {
public:
    explicit generic(const string& text) : exception(text) { append_code("internet.address"); }
};
class invalid_address_format : public generic {
public:
    explicit invalid_address_format(const string& text) : generic(text) { append_code("invalid_address_format"); }
};
class host_not_found : public generic {
public:
    explicit host_not_found(const string& text) : generic(text) { append_code("host_not_found"); }
};
class service_not_found : public generic {
public:
    explicit service_not_found(const string& text) : generic(text) { append_code("service_not_found"); }
};

} // namespace tackle::internet::address
