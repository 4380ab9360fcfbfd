#include "foundation/sync/rw.h"

#include "foundation/sync/scope.h"

namespace tackle {

void rw::enter_shared() {
    const scope at_gate(&gate_);
    no_writer_.wait();
    const scope counting(&readers_lock_);
    ++readers_;
    no_readers_.reset();
}

void rw::enter() {
    const scope at_gate(&gate_); // kept while the readers drain: those that come later queue up behind it
    no_writer_.wait();
    no_writer_.reset();
    no_readers_.wait();
}

void rw::leave_shared() {
    const scope counting(&readers_lock_);
    if (--readers_ == 0) no_readers_.set();
}

// Without the gate: a reader or writer that waits for this very event holds it.
void rw::leave() { no_writer_.set(); }

} // namespace tackle
