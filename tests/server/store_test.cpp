#include "server/store/key_file.h"
#include "server/store/sqlite/sqlite_store.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace brimwarden::server::store {
namespace {

class stores : public ::testing::Test {
protected:
    stores() {
        char name[] = "/tmp/brmx-store-XXXXXX";
        folder = mkdtemp(name);
    }
    ~stores() override { std::filesystem::remove_all(folder); }
    std::string folder;
};

TEST_F(stores, keep_all_of_a_change_or_nothing) {
    const std::string path = folder + "/db";
    constexpr identity high = 0x7FFFFFFFFFFFFFFF; // all 63 bits
    const change made{7, 99, true, false, 1, 1000, {{high, signature_code::link, true, false, 0.5F, 2, 1000}}, {}};
    {
        sqlite::sqlite_store kept(path);
        kept.append(made, {{7, 1.5F, 1, 0, 0, 0}});
        EXPECT_THROW(sqlite::sqlite_store{path}, failure) << "one process at a time";
        kept.back_up(folder + "/copy");
    }
    for (const auto& file : {path, folder + "/copy"}) {
        sqlite::sqlite_store kept(file);
        EXPECT_EQ(kept.state_of(7, 99), message_state::reported);
        EXPECT_EQ(kept.state_of(8, 99), message_state::none);
        const auto said = kept.statement_of(7, high);
        ASSERT_TRUE(said);
        EXPECT_TRUE(said->whole && !said->wanted && said->messages == 2 && said->weight == 0.5F);
        EXPECT_EQ(kept.load_reporters().at(0).trust, 1.5F);
        kept.forget(7);
        EXPECT_EQ(kept.state_of(7, 99), message_state::none);
        EXPECT_TRUE(kept.statements_on(high, 10).empty());
    }
    struct stat about {};
    ASSERT_EQ(::stat(path.c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 0777, 0600U);
}

TEST_F(stores, refuse_what_is_no_store_of_this_version) {
    { sqlite::database(folder + "/later").run("PRAGMA user_version=99"); }
    EXPECT_THROW(sqlite::sqlite_store(folder + "/later"), failure);
    EXPECT_THROW(sqlite::sqlite_store(folder + "/missing/db"), failure);
}

TEST_F(stores, secrets_open_only_under_their_key_and_name) {
    const key_file keys(folder + "/key");
    const std::string sealed = keys.seal("a", "secret");
    EXPECT_EQ(key_file(folder + "/key").open("a", sealed), "secret");
    EXPECT_NE(keys.seal("a", "secret"), sealed);
    EXPECT_THROW((void)keys.open("b", sealed), failure);
    EXPECT_THROW((void)key_file(folder + "/other").open("a", sealed), failure);
    EXPECT_THROW((void)keys.open("a", "short"), failure);
    std::string changed = sealed;
    changed.back() ^= 1;
    EXPECT_THROW((void)keys.open("a", changed), failure);
    ::chmod((folder + "/key").c_str(), 0644);
    EXPECT_THROW(key_file(folder + "/key"), failure);
}

} // namespace
} // namespace brimwarden::server::store
