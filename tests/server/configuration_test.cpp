#include "server/daemon/configuration.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace brimwarden::server::daemon {
namespace {

struct configuration_case {
    const char* label;
    const char* text;
    const char* problem; // empty: there is none
};

const configuration_case cases[] = {
    {"nothing in it", "", ""},
    {"no TOML", "[listen\n", ":1:"},
    {"unknown table", "\n[nonsense]\n", ":2:1: \"nonsense\" is not known"},
    {"unknown key", "[listen]\nprot = 1\n", ":2:8: \"prot\" is not known"},
    {"number out of its range", "[listen]\nport = 65536\n", ":2:8: port has to be between 1 and 65535"},
    {"text for a number", "[listen]\nport = \"2409\"\n", "port has to be a whole number"},
    {"value for a table", "listen = 1\n", "listen has to be a table"},
    {"IPv6", "[listen]\naddresses = [\"::1\"]\n", "no IPv4 address; the protocol has no other"},
    {"not a number", "[judgement]\nthreshold = nan\n", "threshold has to be a number"},
};

TEST(configuration, says_what_is_wrong_and_where) {
    char name[] = "/tmp/brmx-config-XXXXXX";
    const std::string folder = mkdtemp(name);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const std::string path = folder + "/file";
        std::ofstream(path) << c.text;
        std::string problem;
        try {
            (void)read_configuration(path);
        } catch (const bad_configuration& error) {
            problem = error.what();
        }
        EXPECT_EQ(problem.empty(), *c.problem == '\0');
        EXPECT_NE(problem.find(c.problem), problem.npos) << problem;
    }
    std::filesystem::remove_all(folder);
}

TEST(configuration, takes_anonymous_questions_on_loopback_alone) {
    char name[] = "/tmp/brmx-config-XXXXXX";
    const std::string folder = mkdtemp(name);
    const std::string path = folder + "/file";
    std::ofstream(path) << "[listen]\naddresses = [\"127.0.0.1\"]\n";
    EXPECT_TRUE(read_configuration(path).settings.anonymous_queries);
    std::ofstream(path) << "[listen]\naddresses = [\"127.0.0.1\", \"192.0.2.1\"]\n";
    EXPECT_FALSE(read_configuration(path).settings.anonymous_queries);
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace brimwarden::server::daemon
