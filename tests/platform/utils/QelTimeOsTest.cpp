// The clock in milliseconds and the process check.
#include <gtest/gtest.h>

#include <ctime>

#include "utils/QelOS.h"
#include "utils/QelTime.h"

namespace {

TEST(QelTimeTest, SecondsToMilliseconds) {
    // Past 2038: the arithmetic is 64-bit.
    EXPECT_EQ(QelTime::TimetToMilliSeconds(4102444800LL), 4102444800000LL);
}

TEST(QelTimeTest, CurrentTimeIsWholeSecondsOfTheClock) {
    const long long before = static_cast<long long>(std::time(nullptr)) * 1000;
    const long long now = QelTime::CurrentTimeMilliSeconds();
    const long long after = static_cast<long long>(std::time(nullptr)) * 1000;
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
    EXPECT_EQ(now % 1000, 0);
}

TEST(QelOSTest, ThisProcessRunsAndAnIdNoSystemGivesDoesNot) {
    EXPECT_TRUE(QelOS::IsProcessRunning(QelOS::CurrentProcessId()));
    // Beyond Linux's pid range, and no multiple of 4 as Windows' ids are.
    EXPECT_FALSE(QelOS::IsProcessRunning(999999999));
    EXPECT_FALSE(QelOS::IsProcessRunning(0));
}

}  // namespace
