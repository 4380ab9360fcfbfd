#pragma once

#include "foundation/text/text.h"

#include <vector>

// Real messages to measure on. They stand in the directory that the environment variable BRMX_CORPUS names, else in the
// one that the build was told; get_corpus.sh fills the latter.
namespace brimwarden::benchmarks {

// The raw messages of one folder, for instance "spam-1", in the order of their file names. Read once and kept for the
// life of the program; empty if the folder is not there. One thread.
const std::vector<tackle::string>& messages_of(const tackle::string& folder);

// All of spam-1, then all of easy-ham-1.
const std::vector<tackle::string>& real_messages();

} // namespace brimwarden::benchmarks
