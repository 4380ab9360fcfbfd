#pragma once

#include "server/knowledge/identity.h"
#include "server/knowledge/record.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <shared_mutex>
#include <unordered_map>
#include <vector>

namespace brimwarden::server::knowledge {

// All signatures that a server knows, in memory. Any thread, any operation. The table is cut into parts with a lock of
// their own, so that a question meets a writer only where that writer changes the same part, for one record's time.
class table {
public:
    // `most_unproven`: how many signatures may be kept that were only asked about and never reported. Beyond that one
    // of them makes room for each new one; signatures with evidence are never dropped for that.
    explicit table(std::size_t most_unproven);

    [[nodiscard]] std::optional<record> find(identity wanted) const;

    // Notes that a mailbox has asked about a signature, and makes a record for it. `mailbox` is a hash of the mailbox.
    void see(identity asked, judgement::signature_code kind, std::uint64_t mailbox);

    // Calls `change` with the record, a new one if there is none yet. No other operation of the table inside it.
    void change(identity wanted, const std::function<void(record&)>& change);

    void for_each(const std::function<void(identity, const record&)>& visit) const; // part by part

    // Takes the identities whose record was changed since the last call: what has to be written to the store.
    [[nodiscard]] std::vector<identity> take_changed();

    [[nodiscard]] std::size_t size() const;

    // How often members have asked, for all they asked about: what a server has seen of its members' mail.
    void count_question() noexcept { questions_.fetch_add(1, std::memory_order_relaxed); }
    [[nodiscard]] std::uint64_t questions() const noexcept { return questions_.load(std::memory_order_relaxed); }
    void restore_questions(std::uint64_t before) noexcept { questions_ = before; }

private:
    static constexpr std::size_t part_count = 64;
    struct part {
        mutable std::shared_mutex lock;
        std::unordered_map<identity, record> records;
        std::vector<identity> changed; // with repetitions
        std::size_t unproven = 0;
        std::size_t hand = 0; // the bucket where the search for something to drop goes on
    };

    [[nodiscard]] part& part_of(identity wanted) { return parts_[wanted % part_count]; }
    [[nodiscard]] const part& part_of(identity wanted) const { return parts_[wanted % part_count]; }
    static void drop_one(part& crowded);

    std::size_t most_unproven_; // in one part
    std::atomic<std::uint64_t> questions_{0};
    std::array<part, part_count> parts_;
};

} // namespace brimwarden::server::knowledge
