// QelString: UTF-8 both ways with replacement characters, ANSI, and the small helpers.
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "utils/QelString.h"

namespace {

// Wide text from code points, as this build stores it (pairs of UTF-16 units on Windows).
std::wstring W(std::initializer_list<char32_t> cps) {
    std::wstring out;
    for (char32_t cp : cps) {
#ifdef _WIN32
        if (cp >= 0x10000) {
            out.push_back(static_cast<wchar_t>(0xD800 + ((cp - 0x10000) >> 10)));
            out.push_back(static_cast<wchar_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
            continue;
        }
#endif
        out.push_back(static_cast<wchar_t>(cp));
    }
    return out;
}

constexpr char32_t R = 0xFFFD;

struct Utf8Case {
    const char* pName;
    std::string strUtf8;
    std::wstring strWide;
};

class Utf8DecodeTest : public ::testing::TestWithParam<Utf8Case> {};

TEST_P(Utf8DecodeTest, DecodesWithOneReplacementPerMaximalSubpart) {
    const Utf8Case& c = GetParam();
    std::wstring out = L"stale";
    EXPECT_TRUE(QelString::Utf8ToUnicode(c.strUtf8, out));
    EXPECT_EQ(out, c.strWide);
    EXPECT_EQ(QelString::Utf8ToUnicode(c.strUtf8), c.strWide);
}

INSTANTIATE_TEST_SUITE_P(
    Table, Utf8DecodeTest,
    ::testing::Values(
        // Well-formed text of every length is the round trip's below.
        Utf8Case{"empty", "", W({})},
        Utf8Case{"last_before_surrogates", "\xED\x9F\xBF", W({0xD7FF})},
        Utf8Case{"truncated_at_end", "a\xF0\x9F\x8E", W({'a', R})},
        Utf8Case{"truncated_then_ascii", "\xE2\x82z", W({R, 'z'})},
        Utf8Case{"truncated_then_lead", "\xE2\xC3\xA9", W({R, 0xE9})},
        Utf8Case{"lone_continuations", "\x80\xBF", W({R, R})},
        Utf8Case{"overlong_two", "\xC0\xAF", W({R, R})},
        Utf8Case{"overlong_three", "\xE0\x80\xAF", W({R, R, R})},
        Utf8Case{"overlong_four", "\xF0\x80\x80\xAF", W({R, R, R, R})},
        Utf8Case{"surrogate_high", "\xED\xA0\x80", W({R, R, R})},
        Utf8Case{"above_max", "\xF4\x90\x80\x80", W({R, R, R, R})},
        Utf8Case{"f5_lead", "\xF5\x80\x80\x80", W({R, R, R, R})}),
    [](const ::testing::TestParamInfo<Utf8Case>& info) { return std::string(info.param.pName); });

TEST(QelStringTest, NonAsciiRoundTripsThroughUtf8) {
    const std::wstring text = W({'h', 0xE9, 0x4F8B, 0x5B50, 0x1F3AC, 0, 0x10FFFF, 'z'});
    const std::string utf8 = QelString::UnicodeToUtf8(text);
    EXPECT_EQ(utf8, std::string("h\xC3\xA9\xE4\xBE\x8B\xE5\xAD\x90\xF0\x9F\x8E\xAC\0\xF4\x8F\xBF\xBFz", 19));
    EXPECT_EQ(QelString::Utf8ToUnicode(utf8), text);

    std::string out = "stale";
    EXPECT_TRUE(QelString::UnicodeToUtf8(std::wstring(), out));
    EXPECT_TRUE(out.empty());
}

TEST(QelStringTest, LoneSurrogatesBecomeReplacementCharacters) {
    const std::string kRepl = "\xEF\xBF\xBD";
    const std::wstring highThenAscii{static_cast<wchar_t>(0xD800), L'a'};
    const std::wstring lowAlone{static_cast<wchar_t>(0xDC00)};
    const std::wstring reversedPair{static_cast<wchar_t>(0xDC00), static_cast<wchar_t>(0xD800)};
    const std::wstring highAtEnd{L'a', static_cast<wchar_t>(0xDBFF)};
    EXPECT_EQ(QelString::UnicodeToUtf8(highThenAscii), kRepl + "a");
    EXPECT_EQ(QelString::UnicodeToUtf8(lowAlone), kRepl);
    EXPECT_EQ(QelString::UnicodeToUtf8(reversedPair), kRepl + kRepl);
    EXPECT_EQ(QelString::UnicodeToUtf8(highAtEnd), "a" + kRepl);
#ifndef _WIN32
    EXPECT_EQ(QelString::UnicodeToUtf8(std::wstring{static_cast<wchar_t>(0x110000)}), kRepl);
#endif
}

TEST(QelStringTest, AnsiConversions) {
    std::string narrow = "stale";
    EXPECT_TRUE(QelString::UnicodeToAnsi(std::wstring(), narrow));
    EXPECT_TRUE(narrow.empty());
    std::wstring wide = L"stale";
    EXPECT_TRUE(QelString::AnsiToUnicode(std::string(), wide));
    EXPECT_TRUE(wide.empty());

    const std::wstring ascii = L"C:\\cache\\index.m3u8";
    EXPECT_EQ(QelString::UnicodeToAnsi(ascii), "C:\\cache\\index.m3u8");
    EXPECT_EQ(QelString::AnsiToUnicode(QelString::UnicodeToAnsi(ascii)), ascii);

    const std::wstring accented = W({'c', 'a', 'f', 0xE9});
#ifdef _WIN32
    // Whatever the code page (1252, or UTF-8), it holds the accent and gives it back.
    EXPECT_EQ(QelString::AnsiToUnicode(QelString::UnicodeToAnsi(accented)), accented);
#else
    // Without a code page of its own, ANSI is UTF-8.
    EXPECT_EQ(QelString::UnicodeToAnsi(accented), "caf\xC3\xA9");
    EXPECT_EQ(QelString::AnsiToUnicode("caf\xC3\xA9\xFF"), W({'c', 'a', 'f', 0xE9, R}));
#endif
}

TEST(QelStringTest, ToLowerChangesAsciiLettersOnly) {
    EXPECT_EQ(QelString::ToLower(W({'A', 'b', 'Z', ' ', '1', 0xC0, 0xC9, 0x410, '@', '['})),
              W({'a', 'b', 'z', ' ', '1', 0xC0, 0xC9, 0x410, '@', '['}));
    EXPECT_EQ(QelString::ToLower(std::string("HeLLo \xC3\x89.M3U8")), std::string("hello \xC3\x89.m3u8"));
}

struct ReplaceCase {
    std::wstring s, from, to, expected;
};

class StringReplaceTest : public ::testing::TestWithParam<ReplaceCase> {};

TEST_P(StringReplaceTest, ReplacesLeftToRight) {
    const ReplaceCase& c = GetParam();
    EXPECT_EQ(QelString::StringReplace(c.s, c.from, c.to), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, StringReplaceTest,
    ::testing::Values(ReplaceCase{L"aaa", L"aa", L"b", L"ba"},           // left to right, no overlaps
                      ReplaceCase{L"abc", L"", L"x", L"abc"},           // nothing to look for
                      ReplaceCase{L"abab", L"ab", L"abab", L"abababab"},  // never rescans what it put
                      ReplaceCase{L"a-b-c", L"-", L"", L"abc"}));

TEST(QelStringTest, IsEndWithAndUint64ToString) {
    EXPECT_TRUE(QelString::IsEndWith(L"index.m3u8", L".m3u8"));
    EXPECT_FALSE(QelString::IsEndWith(L"index.M3U8", L".m3u8"));
    EXPECT_TRUE(QelString::IsEndWith(L"", L""));
    EXPECT_FALSE(QelString::IsEndWith(L"m3u8", L"index.m3u8"));
    EXPECT_EQ(QelString::Uint64ToString(18446744073709551615ULL), L"18446744073709551615");
}

}  // namespace
