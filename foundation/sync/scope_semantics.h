#pragma once

namespace tackle {

// Anything that can be held by a guard. A class without a reading mode leaves the two shared operations empty, and a
// const_scope over it takes nothing at all: reading costs nothing where only `rw` gives it weight.
class scope_semantics {
public:
    scope_semantics() = default;
    scope_semantics(const scope_semantics&) = delete;
    scope_semantics& operator=(const scope_semantics&) = delete;

    virtual void enter_shared() {}
    virtual void enter() = 0;
    virtual void leave_shared() {}
    virtual void leave() = 0;

protected:
    ~scope_semantics() = default; // nobody owns a lock through this interface
};

} // namespace tackle
