#include "foundation/sync/scope.h"

#include <utility>

namespace tackle {

scope::scope(scope_semantics* target) : target_(target) { scope::enter(); }

scope::~scope() noexcept(false) { scope::leave(); }

void scope::enter() {
    if (target_ != nullptr) target_->enter();
}

void scope::leave() {
    // Forgotten first: a leave that throws must not be tried again by the destructor.
    if (auto* held = std::exchange(target_, nullptr); held != nullptr) held->leave();
}

const_scope::const_scope(scope_semantics* target) : target_(target) { const_scope::enter(); }

const_scope::~const_scope() noexcept(false) { const_scope::leave(); }

void const_scope::enter() {
    if (target_ != nullptr) target_->enter_shared();
}

void const_scope::leave() {
    if (auto* held = std::exchange(target_, nullptr); held != nullptr) held->leave_shared();
}

} // namespace tackle
