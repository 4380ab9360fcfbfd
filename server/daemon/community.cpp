#include "server/daemon/community.h"

#include "platform/random.h"

#include <algorithm>
#include <filesystem>
#include <span>

namespace brimwarden::server::daemon {

namespace {

constexpr const char* identity_name = "identity key";

std::string prepared_folder(const std::string& folder) {
    std::error_code error;
    if (std::filesystem::create_directories(folder, error); error)
        throw store::failure(folder + ": cannot make the folder: " + error.message());
    return folder;
}

std::string key_path(const configuration& chosen) {
    const std::string folder = prepared_folder(chosen.state);
    return chosen.key.empty() ? folder + "/key" : chosen.key;
}

// The first start chooses it; all other servers of the community get it with a backup.
knowledge::identity_key read_identity_key(store::store& kept, const store::key_file& keys) {
    knowledge::identity_key key{};
    if (const auto sealed = kept.value(identity_name)) {
        const std::string clear = keys.open(identity_name, *sealed);
        if (clear.size() != key.size()) throw store::failure("the identity key in the store is damaged");
        std::ranges::copy(clear, key.begin());
        return key;
    }
    if (!tackle::platform::fill_random(std::as_writable_bytes(std::span(key))))
        throw store::failure("the system has no random numbers");
    kept.set_value(identity_name, keys.seal(identity_name, std::string(key.begin(), key.end())));
    return key;
}

} // namespace

community::community(const configuration& wanted)
    : chosen(wanted), keys(key_path(chosen)), kept(chosen.state + "/community.db"),
      identity_key(read_identity_key(kept, keys)), known(chosen.most_unproven), members(keys, kept.load_credentials()),
      questions(chosen.settings, known, identity_key, clock),
      reporting(chosen.settings, known, kept, identity_key, clock),
      handler(chosen.settings, members, questions, reporting, identity_key, clock) {}

} // namespace brimwarden::server::daemon
