#pragma once

#include "foundation/exception.h"
#include "foundation/text/text.h"

namespace tackle::internet {

// Keeps the system's socket layer started from its construction to its end. Any number may exist at a time; sockets and
// name lookups need one to be alive. The exceptions of the layer itself are nested, since the class takes the name.
class environment final {
public:
    class generic : public exception {
    public:
        explicit generic(const string& text) : exception(text) { append_code("internet.environment"); }
    };
    class subsystem_not_ready : public generic {
    public:
        explicit subsystem_not_ready(const string& text) : generic(text) { append_code("subsystem_not_ready"); }
    };
    class subsystem_failed : public generic {
    public:
        explicit subsystem_failed(const string& text) : generic(text) { append_code("subsystem_failed"); }
    };
    class version_not_supported : public generic {
    public:
        explicit version_not_supported(const string& text) : generic(text) { append_code("version_not_supported"); }
    };

    // Throws subsystem_not_ready, version_not_supported or generic.
    environment();
    ~environment(); // swallows what close() would throw
    environment(const environment&) = delete;
    environment& operator=(const environment&) = delete;

    // Ends it early; later calls and the destructor do nothing. Throws subsystem_failed or generic.
    void close();
    // The name of this machine. Throws subsystem_failed, subsystem_not_ready or generic: `out` then stays as it was.
    void host_name(string& out) const;

private:
    bool started_ = false;
};

} // namespace tackle::internet
