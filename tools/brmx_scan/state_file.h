#pragma once

#include <string>

namespace brmx_scan {

// Gives the engine the state that a file keeps; a file that is not there is an empty state. Throws std::runtime_error
// with a text for the user if the file cannot be read or holds no state.
void load_state(const std::string& file);

// Writes the engine's state: into a new file beside, which then takes the place of the old one, so that whoever reads
// finds one of the two whole. It takes over the mode of the old one. Throws std::runtime_error.
void save_state(const std::string& file);

} // namespace brmx_scan
