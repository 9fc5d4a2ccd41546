// The locale-free stand-ins for sscanf's %f, %d and %lld, against what the C library does
// in the C locale.
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "segment_cache/QelCScan.h"

using namespace std::string_literals;

namespace
{

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kUnchanged = -12345.0f;

// Equal as numbers, NaN equal to NaN, and the sign of a zero or infinity kept.
::testing::AssertionResult SameFloat(float fActual, float fExpected)
{
    if ((fActual == fExpected || (std::isnan(fActual) && std::isnan(fExpected))) &&
        std::signbit(fActual) == std::signbit(fExpected))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << fActual << " instead of " << fExpected;
}

// glibc's scanf is the reference; the C runtime of the Windows build reads neither
// hexadecimal floats nor infinities, so the rows below stand for it there.
TEST(ScanFloat, ReadsWhatScanfReadsInTheCLocale)
{
#ifdef _WIN32
    GTEST_SKIP() << "no C library here reads every form";
#else
    for (const char* psz : {"10.5,title", " \t\v\f\r\n9", "-1,", "--1", "10,5", "1.5e2x", ".", "+.5e-1z", "1.e5",
                            "0x1.8p1,", "0X1P+3", "-INFINITY", "infx", "1e39", "-1e999999999999999999999", "1e-60",
                            "0x1p-200", "0.000000001e50", "0.1", "16777217", "3.4028235e38", "1.17549435e-38",
                            "1.4e-45", "9.999999e-1", "-0"})
    {
        float fExpected = kUnchanged;
        int nExpected = 0;
        const bool bExpected = std::sscanf(psz, "%f%n", &fExpected, &nExpected) == 1;
        float f = kUnchanged;
        size_t nUsed = 0;
        EXPECT_EQ(qel::ScanFloat(psz, f, &nUsed), bExpected) << psz;
        EXPECT_TRUE(SameFloat(f, fExpected)) << psz;
        if (bExpected)
        {
            EXPECT_EQ(nUsed, static_cast<size_t>(nExpected)) << psz;
        }
    }
#endif
}

struct FloatCase
{
    std::string strIn;
    bool bRead;
    float fValue;   // kUnchanged when not read
    size_t nUsed;
};

// Where glibc's scanf consumes characters it then does not use, the count is strtof's;
// the rest are the forms the Windows build checks here alone.
TEST(ScanFloat, FixedRows)
{
    const FloatCase kCases[] = {
        {"7e+", true, 7.0f, 1},
        {"0xg", true, 0.0f, 1},
        {"nan(0x1f),", true, std::numeric_limits<float>::quiet_NaN(), 9},
        {"1\0" "5"s, true, 1.0f, 1},
        {"10,5", true, 10.0f, 2},
        {"--1", false, kUnchanged, 0},
        {"0x1.8p1,", true, 3.0f, 7},
        {"-1e999999999999999999999", true, -kInf, 24},
        {"1e-60", true, 0.0f, 5},
    };
    for (const FloatCase& c : kCases)
    {
        float f = kUnchanged;
        size_t nUsed = 0;
        EXPECT_EQ(qel::ScanFloat(c.strIn, f, &nUsed), c.bRead) << c.strIn;
        EXPECT_TRUE(SameFloat(f, c.fValue)) << c.strIn;
        EXPECT_EQ(nUsed, c.nUsed) << c.strIn;
    }
}

struct IntCase
{
    std::string strIn;
    bool bRead;
    long long llValue;   // for ScanInt, the expected int value
    size_t nUsed;
};

// Where scanf's own result is undefined (beyond the range), the value saturates.
TEST(ScanInt, AsScanfInTheCLocaleSaturatingBeyondTheRange)
{
    const IntCase kCases[] = {
        {"  -7", true, -7, 4},
        {"10.9", true, 10, 2},
        {"x1", false, 0, 0},
        {"2147483647", true, INT_MAX, 10},
        {"2147483648", true, INT_MAX, 10},
        {"-99999999999999999999999", true, INT_MIN, 24},
    };
    for (const IntCase& c : kCases)
    {
        int n = -3;
        size_t nUsed = 0;
        EXPECT_EQ(qel::ScanInt(c.strIn, n, &nUsed), c.bRead) << c.strIn;
        EXPECT_EQ(n, c.bRead ? c.llValue : -3) << c.strIn;
        if (c.bRead)
        {
            EXPECT_EQ(nUsed, c.nUsed) << c.strIn;
        }
        EXPECT_EQ(qel::Atoi(c.strIn), c.bRead ? c.llValue : 0) << c.strIn;
    }
}

} // namespace
