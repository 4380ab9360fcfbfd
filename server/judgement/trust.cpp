#include "server/judgement/trust.h"

#include <cmath>

namespace brimwarden::server::judgement {

// A clock that was set back makes nothing stronger than it was said.
float faded(float hours, float half_life_hours) { return hours <= 0 ? 1.0F : std::exp2(-hours / half_life_hours); }

} // namespace brimwarden::server::judgement
