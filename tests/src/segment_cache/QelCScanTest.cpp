// The locale-free stand-ins for sscanf's %f, %d and %lld, against what the C library does
// in the C locale.
#include <climits>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "QelTableNames.h"

#include "segment_cache/QelCScan.h"

using namespace std::string_literals;

namespace
{

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kUnchanged = -12345.0f;

struct FloatCase
{
    const char* pszBehaviour;
    std::string strIn;
    bool bRead;
    float fValue;   // kUnchanged when not read; NaN compared as NaN
    size_t nUsed;
};

QEL_PRINT_ROW_AS_BEHAVIOUR(FloatCase)

const FloatCase kFloatCases[] = {
    {"plain decimal", "10.5,title", true, 10.5f, 4},
    {"leading C white space skipped", " \t\v\f\r\n9", true, 9.0f, 7},
    {"sign", "-1,", true, -1.0f, 2},
    {"two signs read nothing", "--1", false, kUnchanged, 0},
    {"comma is not a decimal separator", "10,5", true, 10.0f, 2},
    {"exponent", "1.5e2x", true, 150.0f, 5},
    {"dangling exponent is left", "7e+", true, 7.0f, 1},
    {"dot alone reads nothing", ".", false, kUnchanged, 0},
    {"hexadecimal float", "0x1.8p1,", true, 3.0f, 7},
    {"0x without digits is the number 0", "0xg", true, 0.0f, 1},
    {"infinity", "-INFINITY", true, -kInf, 9},
    {"overflow is infinity", "1e39", true, kInf, 4},
    {"huge exponent is infinity", "-1e999999999999999999999", true, -kInf, 24},
    {"underflow is zero", "1e-60", true, 0.0f, 5},
    {"tiny hexadecimal underflows", "0x1p-200", true, 0.0f, 8},
    {"many leading zeros then a huge exponent", "0.000000001e50", true, kInf, 14},
    {"zero byte ends the number", "1\0" "5"s, true, 1.0f, 1},
};

class ScanFloatTest : public testing::TestWithParam<FloatCase>
{
};

TEST_P(ScanFloatTest, AsScanfInTheCLocale)
{
    const FloatCase& c = GetParam();
    float f = kUnchanged;
    size_t nUsed = 0;
    EXPECT_EQ(qel::ScanFloat(c.strIn, f, &nUsed), c.bRead) << c.pszBehaviour;
    EXPECT_EQ(f, c.fValue) << c.pszBehaviour;
    EXPECT_EQ(std::signbit(f), std::signbit(c.fValue)) << c.pszBehaviour;
    if (c.bRead)
    {
        EXPECT_EQ(nUsed, c.nUsed) << c.pszBehaviour;
    }
}

INSTANTIATE_TEST_SUITE_P(Table, ScanFloatTest, testing::ValuesIn(kFloatCases), qel_test::RowName());

TEST(ScanFloat, NotANumber)
{
    float f = 0.0f;
    size_t nUsed = 0;
    ASSERT_TRUE(qel::ScanFloat("nan(0x1f),", f, &nUsed));
    EXPECT_TRUE(std::isnan(f));
    EXPECT_EQ(nUsed, 9u);
}

TEST(ScanFloat, CorrectlyRoundedLikeStrtof)
{
    // Values near a rounding boundary of float.
    for (const char* psz : {"0.1", "16777217", "3.4028235e38", "1.17549435e-38", "1.4e-45", "9.999999e-1"})
    {
        float f = 0.0f;
        ASSERT_TRUE(qel::ScanFloat(psz, f));
        float fExpected = 0.0f;
        ASSERT_EQ(std::sscanf(psz, "%f", &fExpected), 1);
        EXPECT_EQ(f, fExpected) << psz;
    }
}

struct IntCase
{
    const char* pszBehaviour;
    std::string strIn;
    bool bRead;
    long long llValue;   // for ScanInt, the expected int value
    size_t nUsed;
};

QEL_PRINT_ROW_AS_BEHAVIOUR(IntCase)

const IntCase kIntCases[] = {
    {"leading blanks and sign", "  -7", true, -7, 4},
    {"stops at a dot", "10.9", true, 10, 2},
    {"no digits", "x1", false, 0, 0},
    {"largest int", "2147483647", true, INT_MAX, 10},
    {"above int saturates", "2147483648", true, INT_MAX, 10},
    {"below int saturates", "-99999999999999999999999", true, INT_MIN, 24},
};

class ScanIntTest : public testing::TestWithParam<IntCase>
{
};

TEST_P(ScanIntTest, AsScanfInTheCLocale)
{
    const IntCase& c = GetParam();
    int n = -3;
    size_t nUsed = 0;
    EXPECT_EQ(qel::ScanInt(c.strIn, n, &nUsed), c.bRead) << c.pszBehaviour;
    EXPECT_EQ(n, c.bRead ? c.llValue : -3) << c.pszBehaviour;
    if (c.bRead)
    {
        EXPECT_EQ(nUsed, c.nUsed) << c.pszBehaviour;
    }
    EXPECT_EQ(qel::Atoi(c.strIn), c.bRead ? c.llValue : 0) << c.pszBehaviour;
}

INSTANTIATE_TEST_SUITE_P(Table, ScanIntTest, testing::ValuesIn(kIntCases), qel_test::RowName());

} // namespace
