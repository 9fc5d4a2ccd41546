// The clock in milliseconds. The process check is the segment cache's test, where
// leftovers of a live process stay and those of an ended one go.
#include <gtest/gtest.h>

#include <ctime>

#include "utils/QelTime.h"

namespace {

TEST(QelTimeTest, CurrentTimeIsWholeSecondsOfTheClock) {
    const long long before = static_cast<long long>(std::time(nullptr)) * 1000;
    const long long now = QelTime::CurrentTimeMilliSeconds();
    const long long after = static_cast<long long>(std::time(nullptr)) * 1000;
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
    EXPECT_EQ(now % 1000, 0);
}

}  // namespace
