#include <gtest/gtest.h>

extern "C" int UseProximityFromC(void);

TEST(ProximityInterface, ServesAHostInC) { EXPECT_EQ(UseProximityFromC(), 0); }
