#pragma once

#include "foundation/exception.h"

namespace brimwarden::analysis::community {

// What a client of the community can be told; failures of the network below have classes of their own.
class generic : public tackle::exception {
public:
    explicit generic(const tackle::string& text) : exception(text) { append_code("community_client"); }
};
class discovery_pending : public generic { // no server is known to answer; a search for one has been started
public:
    explicit discovery_pending(const tackle::string& text) : generic(text) { append_code("discovery_pending"); }
};
class timed_out : public generic { // the time or the attempts are used up
public:
    explicit timed_out(const tackle::string& text) : generic(text) { append_code("timed_out"); }
};
class protocol_error : public generic { // an answer makes no sense
public:
    explicit protocol_error(const tackle::string& text) : generic(text) { append_code("protocol_error"); }
};
class invalid_credentials : public generic {
public:
    explicit invalid_credentials(const tackle::string& text) : generic(text) { append_code("invalid_credentials"); }
};

} // namespace brimwarden::analysis::community
