#pragma once

#include "foundation/sync/rw.h"
#include "foundation/sync/scope.h"
#include "language/plugins/generic.h"

#include <memory>

namespace brimwarden::language {

// Holds the one plugin of a process, or null before its first use. Whoever uses the plugin shares it: a call that slips
// in behind a shutdown would otherwise lose it under its hands.
using plugin_holder = std::shared_ptr<const plugins::generic::plugin>;

// The held plugin, made by `make()` if there is none yet. Threads that come meanwhile wait. If `make` throws, so does
// this, and the next caller tries again.
template <typename function>
plugin_holder made_once(plugin_holder& holder, tackle::rw& lock, const function& make) {
    const tackle::scope making(&lock);
    if (holder == nullptr) holder = make();
    return holder;
}

} // namespace brimwarden::language
