#pragma once

#include "foundation/sync/scope_semantics.h"
#include "platform/critical_section.h"

namespace tackle {

// The cheap lock: no time limit, recursive for the thread that holds it, throws nothing.
class mutex : public scope_semantics {
public:
    void enter() override { section_.enter(); }
    void leave() override { section_.leave(); }

private:
    platform::critical_section section_;
};

} // namespace tackle
