#pragma once

#include "foundation/rw.h"
#include "foundation/scope.h"
#include "language/plugins/generic.h"

#include <memory>

namespace brimwarden::language {

// Holds the one plugin of a process, or null before its first use.
using plugin_holder = std::unique_ptr<const plugins::generic::plugin>;

// The held plugin, made by `make()` if there is none yet. Threads that come meanwhile wait. If `make` throws, so does
// this, and the next caller tries again. The plugin is good until the holder lets go of it.
template <typename function>
const plugins::generic::plugin& made_once(plugin_holder& holder, tackle::rw& lock, const function& make) {
    const tackle::scope making(&lock);
    if (holder == nullptr) holder = make();
    return *holder;
}

} // namespace brimwarden::language
