#include <gtest/gtest.h>

extern "C" int c_client_scan();

TEST(public_header, serves_a_client_in_c) { EXPECT_EQ(c_client_scan(), 0); }
