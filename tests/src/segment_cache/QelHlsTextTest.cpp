#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QelTableNames.h"

#include "segment_cache/QelHlsText.h"

using namespace std::string_literals;

namespace
{

struct SplitCase
{
    const char* pszBehaviour;
    std::string strText;
    const char* pszDelimiter;
    std::vector<std::string> vecPieces;
};

QEL_PRINT_ROW_AS_BEHAVIOUR(SplitCase)

const SplitCase kSplitCases[] = {
    {"pieces between delimiters", "a\nb\nc", "\n", {"a", "b", "c"}},
    {"empty pieces are dropped", "\n\na\n\n\nb\n", "\n", {"a", "b"}},
    {"text without delimiter is one piece", "abc", "\n", {"abc"}},
    {"empty text without delimiter is one empty piece", "", "\n", {""}},
    {"text of delimiters only yields nothing", "\n\n", "\n", {}},
    {"multi-character delimiter", "a, b,,c, ", ", ", {"a", "b,,c"}},
    {"empty delimiter yields the whole text", "a,b", "", {"a,b"}},
    {"null delimiter yields the whole text", "a,b", nullptr, {"a,b"}},
    {"zero bytes are ordinary characters", "a\0b\nc"s, "\n", {"a\0b"s, "c"}},
};

class SplitTest : public testing::TestWithParam<SplitCase>
{
};

TEST_P(SplitTest, Pieces)
{
    EXPECT_EQ(qel::Split(GetParam().strText, GetParam().pszDelimiter), GetParam().vecPieces);
}

INSTANTIATE_TEST_SUITE_P(Table, SplitTest, testing::ValuesIn(kSplitCases), qel_test::RowName());

struct TrimCase
{
    const char* pszBehaviour;
    std::string strIn;
    std::string strOut;   // ignored when bThrows
    bool bThrows;
};

QEL_PRINT_ROW_AS_BEHAVIOUR(TrimCase)

const TrimCase kTrimCases[] = {
    {"both ends trimmed", " \t a b \r\n", "a b", false},
    {"inner blanks kept", "a \t b", "a \t b", false},
    {"only blanks become empty", " \r\n\t ", "", false},
    {"empty stays empty", "", "", false},
    {"byte 255 inside is kept", "a\xFF" "b", "a\xFF" "b", false},
    {"byte 254 at the end is an ordinary character", "a\xFE", "a\xFE", false},
    {"byte 255 at the end throws", "abc\xFF", "", true},
    {"byte 255 at the start throws", "\xFF" "abc", "", true},
    {"byte 255 met after trailing blanks throws", "abc\xFF \r", "", true},
    {"byte 255 met after leading blanks throws", " \xFF" "abc", "", true},
    {"a lone byte 255 throws", "\xFF", "", true},
};

class TrimTest : public testing::TestWithParam<TrimCase>
{
};

TEST_P(TrimTest, Result)
{
    const TrimCase& c = GetParam();
    std::string str = c.strIn;
    if (c.bThrows)
    {
        try
        {
            qel::Trim(str, " \r\n\t");
            FAIL() << c.pszBehaviour << ": no exception";
        }
        catch (const std::out_of_range& e)
        {
            EXPECT_STREQ(e.what(), "invalid string position");
            EXPECT_EQ(str, c.strIn) << "the string is left as it was";
        }
    }
    else
    {
        qel::Trim(str, " \r\n\t");
        EXPECT_EQ(str, c.strOut) << c.pszBehaviour;
    }
}

INSTANTIATE_TEST_SUITE_P(Table, TrimTest, testing::ValuesIn(kTrimCases), qel_test::RowName());

TEST(TrimSet, ByteTwoFiftyFiveInTheSetIsIgnored)
{
    std::string str = "xabcx";
    qel::Trim(str, "x\xFF");
    EXPECT_EQ(str, "abc");
}

struct BetweenCase
{
    const char* pszBehaviour;
    const char* pszBegin;
    const char* pszEnd;
    std::string strOut;
};

QEL_PRINT_ROW_AS_BEHAVIOUR(BetweenCase)

// All rows work on "key=a=b;c".
const BetweenCase kBetweenCases[] = {
    {"no markers: the whole text", nullptr, nullptr, "key=a=b;c"},
    {"end marker only: text before its first occurrence", nullptr, "=", "key"},
    {"begin marker only: text after its first occurrence", "=", nullptr, "a=b;c"},
    {"both markers: end searched after the begin", "=", ";", "a=b"},
    {"begin marker not found: empty", "#", nullptr, ""},
    {"end marker not found: empty", nullptr, "#", ""},
    {"end marker only before the begin: empty", ";", "=", ""},
    {"empty begin marker matches at the start", "", ";", "key=a=b"},
};

class GetBetweenTest : public testing::TestWithParam<BetweenCase>
{
};

TEST_P(GetBetweenTest, Result)
{
    const BetweenCase& c = GetParam();
    EXPECT_EQ(qel::GetBetween("key=a=b;c", c.pszBegin, c.pszEnd), c.strOut) << c.pszBehaviour;
}

INSTANTIATE_TEST_SUITE_P(Table, GetBetweenTest, testing::ValuesIn(kBetweenCases), qel_test::RowName());

TEST(ParseAttributes, StreamInfAttributes)
{
    qel::QelHlsAttributeMap map;
    qel::ParseAttributes(" PROGRAM-ID=1, bandwidth = 1280000 ,CODECS=\"avc1.4d401f,mp4a.40.2\",RESOLUTION=640x360",
                         ",", "=", map);
    EXPECT_EQ(qel::GetAttribute(map, "PROGRAM-ID"), "1");
    EXPECT_EQ(qel::GetAttribute(map, "BANDWIDTH"), "1280000") << "keys match without regard to case, trimmed";
    EXPECT_EQ(qel::GetAttribute(map, "codecs"), "\"avc1.4d401f") << "quoted commas split the value";
    EXPECT_EQ(qel::GetAttribute(map, ""), "") << "the piece after the quoted comma has no '='";
    EXPECT_EQ(map.count(""), 1u);
    EXPECT_EQ(qel::GetAttribute(map, "RESOLUTION"), "640x360");
    EXPECT_EQ(qel::GetAttribute(map, "AUDIO"), "") << "missing key";
    EXPECT_EQ(map.size(), 5u);
}

TEST(ParseAttributes, DuplicateKeysKeepInsertionOrderAndLookupYieldsTheFirst)
{
    qel::QelHlsAttributeMap map;
    qel::ParseAttributes("a=1,B=2,A=3,b=4,a", ",", "=", map);
    EXPECT_EQ(qel::GetAttribute(map, "A"), "1");
    EXPECT_EQ(qel::GetAttribute(map, "b"), "2");
    EXPECT_EQ(map.size(), 5u);
    auto range = map.equal_range("a");
    std::vector<std::string> vecValues;
    for (auto it = range.first; it != range.second; ++it)
        vecValues.push_back(it->second);
    EXPECT_EQ(vecValues, (std::vector<std::string>{"1", "3"}));
}

TEST(ParseAttributes, ByteTwoFiftyFiveAtAValueEndThrows)
{
    qel::QelHlsAttributeMap map;
    EXPECT_THROW(qel::ParseAttributes("A=1\xFF,B=2", ",", "=", map), std::out_of_range);
}

TEST(Stricmp, OrdersAsTheCLibraryDoesInTheCLocale)
{
    EXPECT_EQ(qel::Stricmp("BandWidth", "bandwidth"), 0);
    EXPECT_LT(qel::Stricmp("A", "b"), 0);
    EXPECT_LT(qel::Stricmp("_", "A"), 0) << "letters compare as lower case, above '_'";
    EXPECT_LT(qel::Stricmp("ab", "abc"), 0);
    EXPECT_EQ(qel::Stricmp("ab\0x"s, "AB\0y"s), 0) << "a zero byte ends the key";
    EXPECT_LT(qel::Stricmp("\xC4", "\xE4"), 0) << "no case mapping beyond ASCII";
}

} // namespace
