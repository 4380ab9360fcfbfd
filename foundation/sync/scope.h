#pragma once

#include "foundation/sync/scope_semantics.h"

namespace tackle {

// Holds `target` exclusively from its construction to its end, or to an earlier leave(). A null target holds nothing.
// The target is not owned and must outlive the guard. Throws what the target throws; so does the destructor. A
// target that cannot be let go of while another exception is on its way ends the process.
class [[nodiscard]] scope final : public scope_semantics {
public:
    explicit scope(scope_semantics* target);
    ~scope() noexcept(false);

    // As a lockable itself. leave() lets go for good: nothing is left for the destructor or a second call.
    void enter() override;
    void leave() override;

private:
    scope_semantics* target_;
};

// The same for reading.
class [[nodiscard]] const_scope final : public scope_semantics {
public:
    explicit const_scope(scope_semantics* target);
    ~const_scope() noexcept(false);

    // The exclusive operations of the guard are the shared ones of its target.
    void enter() override;
    void leave() override;

private:
    scope_semantics* target_;
};

} // namespace tackle
