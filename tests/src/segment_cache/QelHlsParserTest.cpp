// The playlist parser over text: entries, URL resolution, header fields and the quirks it
// keeps, with the text helpers it is built from seen through it.
#include <climits>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QelTableNames.h"

#include "QelCommaLocale.h"
#include "segment_cache/QelHlsParser.h"

using namespace std::string_literals;

namespace
{

// Records what OnParsed delivers and exposes the header fields.
class RecordingParser : public QelHlsParser
{
public:
    using QelHlsParser::m_bAllowCache;
    using QelHlsParser::m_bExtM3U;
    using QelHlsParser::m_bLive;
    using QelHlsParser::m_bStreamInf;
    using QelHlsParser::m_fTotalDuration;
    using QelHlsParser::m_llMediaSequence;
    using QelHlsParser::m_nTargetDuration;
    using QelHlsParser::m_nVersion;

    int nOnParsed = 0;
    bool bStreamInf = false;
    long long llMediaSequence = 0;
    QelHlsItemMap mapItems;

protected:
    void OnParsed(bool bStreamInfArg, long long llMediaSequenceArg, QelHlsItemMap& mapItemsArg) override
    {
        ++nOnParsed;
        bStreamInf = bStreamInfArg;
        llMediaSequence = llMediaSequenceArg;
        mapItems = mapItemsArg;
    }
};

const std::string kUrl = "http://server/a/b/index.m3u8";

struct Entry
{
    int nKey;
    std::string strUri;
    std::string strUrl;
    float fDuration = 0.0f;
    int nBandwidth = 0;
    int nWidth = 0;
    int nHeight = 0;
    int nProgramId = 0;
};

struct ParseCase
{
    const char* pszBehaviour;
    std::string strText;
    bool bResult;                 // also whether OnParsed is called
    std::vector<Entry> vecEntries;
    float fTotal = 0.0f;
    bool bStreamInf = false;      // the master-playlist flag given to OnParsed
    std::string strUrl = kUrl;
};

QEL_PRINT_ROW_AS_BEHAVIOUR(ParseCase)

// Entry of a media playlist at kUrl.
Entry Seg(int nKey, const std::string& strUri, float fDuration)
{
    return Entry{nKey, strUri, "http://server/a/b/" + strUri, fDuration};
}

Entry Variant(int nBandwidth, const std::string& strUri, int nWidth, int nHeight, int nProgramId = 0)
{
    return Entry{nBandwidth, strUri, "http://server/a/b/" + strUri, 0.0f, nBandwidth, nWidth, nHeight, nProgramId};
}

const std::string kMedia = "#EXTM3U\n#EXTINF:10,\ns0.ts\n#EXTINF:9.5,\ns1.ts\n#EXT-X-ENDLIST\n";

const ParseCase kParseCases[] = {
    {"media playlist: segments keyed 0, 1, ... with resolved URLs",
     kMedia, true, {Seg(0, "s0.ts", 10.0f), Seg(1, "s1.ts", 9.5f)}, 19.5f},
    {"no #EXTM3U line: false, nothing delivered",
     "#EXTINF:10,\ns0.ts\n", false, {}, 10.0f},
    {"#EXTM3U followed by another character is not",
     "#EXTM3U8\n#EXTINF:4,\ns0.ts\n", false, {}, 4.0f},
    {"CRLF line ends and blanks around lines, the header line's too",
     "#EXTM3U \t\r\n#EXTINF:3.5,\r\ns0.ts\r\n#EXTINF:2,\r\n s1.ts \r\n", true,
     {Seg(0, "s0.ts", 3.5f), Seg(1, "s1.ts", 2.0f)}, 5.5f},
    {"last line without a line end is parsed",
     "#EXTM3U\n#EXTINF:1,\ns0.ts", true, {Seg(0, "s0.ts", 1.0f)}, 1.0f},
    {"two #EXTINF before one URI: the second is used, both are summed",
     "#EXTM3U\n#EXTINF:3,\n#EXTINF:5,\ns0.ts\n", true, {Seg(0, "s0.ts", 5.0f)}, 8.0f},
    {"duration 0: the URI is ignored and the counter does not advance",
     "#EXTM3U\n#EXTINF:0,\nzero.ts\n#EXTINF:2,\ns1.ts\n", true, {Seg(0, "s1.ts", 2.0f)}, 2.0f},
    {"negative duration is pending like any other",
     "#EXTM3U\n#EXTINF:5,\ns0.ts\n#EXTINF:-1,\nneg.ts\n", true,
     {Seg(0, "s0.ts", 5.0f), Seg(1, "neg.ts", -1.0f)}, 4.0f},
    {"unreadable duration keeps the pending one and adds it again",
     "#EXTM3U\n#EXTINF:5,\n#EXTINF:abc,\ns0.ts\n", true, {Seg(0, "s0.ts", 5.0f)}, 10.0f},
    {"duration without comma, with blanks, with a title",
     "#EXTM3U\n#EXTINF:2\na.ts\n#EXTINF: 3.25,My title, with comma\nb.ts\n", true,
     {Seg(0, "a.ts", 2.0f), Seg(1, "b.ts", 3.25f)}, 5.25f},
    {"a tag between #EXTINF and its URI does not cancel the segment",
     "#EXTM3U\n#EXTINF:4,\n#EXT-X-DISCONTINUITY\n# comment\ns0.ts\n", true, {Seg(0, "s0.ts", 4.0f)}, 4.0f},
    {"byte 255 inside a line is an ordinary character",
     "#EXTM3U\n#EXTINF:1,\ns\xFF" "0.ts\n", true, {Seg(0, "s\xFF" "0.ts", 1.0f)}, 1.0f},
    {"a URI nobody asked for is ignored",
     "#EXTM3U\nstray.ts\n#EXTINF:4,\ns0.ts\nstray2.ts\n", true, {Seg(0, "s0.ts", 4.0f)}, 4.0f},
    {"lines shorter than two characters are skipped",
     "#EXTM3U\n#EXTINF:4,\nx\n\r\n \ns0.ts\n", true, {Seg(0, "s0.ts", 4.0f)}, 4.0f},
    {"rooted URI: the playlist's scheme and server",
     "#EXTM3U\n#EXTINF:1,\n/x/s1.ts\n", true, {{0, "/x/s1.ts", "http://server/x/s1.ts", 1.0f}}, 1.0f},
    {"rooted URI under https: the server ends after \"https://\"",
     "#EXTM3U\n#EXTINF:1,\n/x/s1.ts\n", true, {{0, "/x/s1.ts", "https://server/x/s1.ts", 1.0f}}, 1.0f, false,
     "https://server/a/index.m3u8"},
    {"rooted URI: the slash at position 8 already ends a one-letter server",
     "#EXTM3U\n#EXTINF:1,\n/r.ts\n", true, {{0, "/r.ts", "http://a/r.ts", 1.0f}}, 1.0f, false, "http://a/b/i.m3u8"},
    {"absolute http and https URIs are kept",
     "#EXTM3U\n#EXTINF:1,\nhttps://cdn/s0.ts\n#EXTINF:1,\nhttp://cdn/s1.ts\n", true,
     {{0, "https://cdn/s0.ts", "https://cdn/s0.ts", 1.0f}, {1, "http://cdn/s1.ts", "http://cdn/s1.ts", 1.0f}}, 2.0f},
    {"an upper-case scheme is relative",
     "#EXTM3U\n#EXTINF:1,\nHTTP://cdn/s0.ts\n", true,
     {{0, "HTTP://cdn/s0.ts", "http://server/a/b/HTTP://cdn/s0.ts", 1.0f}}, 1.0f},
    {"a slash in the playlist URL's query is its last slash",
     "#EXTM3U\n#EXTINF:1,\ns0.ts\n", true,
     {{0, "s0.ts", "http://server/index.m3u8?p=x/s0.ts", 1.0f}}, 1.0f, false, "http://server/index.m3u8?p=x/y"},
    {"rooted URI with a server-only playlist URL appends to the whole URL",
     "#EXTM3U\n#EXTINF:1,\n/s0.ts\n", true, {{0, "/s0.ts", "http://a/s0.ts", 1.0f}}, 1.0f, false, "http://a"},
    {"playlist URL without any slash: relative URIs stand alone",
     "#EXTM3U\n#EXTINF:1,\ns0.ts\n#EXTINF:1,\n/r.ts\n", true,
     {{0, "s0.ts", "s0.ts", 1.0f}, {1, "/r.ts", "index.m3u8/r.ts", 1.0f}}, 2.0f, false, "index.m3u8"},
    {"master playlist: variants keyed and ordered by BANDWIDTH",
     "#EXTM3U\n#EXT-X-STREAM-INF:PROGRAM-ID=1,BANDWIDTH=800000,RESOLUTION=1280x720\nhi.m3u8\n"
     "#EXT-X-STREAM-INF:PROGRAM-ID=1,BANDWIDTH=200000,RESOLUTION=320x180\nlo.m3u8\n",
     true, {Variant(200000, "lo.m3u8", 320, 180, 1), Variant(800000, "hi.m3u8", 1280, 720, 1)}, 0.0f, true},
    {"master playlist: equal BANDWIDTH keeps the first variant",
     "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=500,RESOLUTION=2x2\nfirst.m3u8\n"
     "#EXT-X-STREAM-INF:BANDWIDTH=500,RESOLUTION=4x4\nsecond.m3u8\n",
     true, {Variant(500, "first.m3u8", 2, 2)}, 0.0f, true},
    {"master playlist followed by a tag: the flag given is false",
     "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=500\nv.m3u8\n#EXT-X-ENDLIST\n", true,
     {Variant(500, "v.m3u8", 0, 0)}, 0.0f, false},
    {"a tag between #EXT-X-STREAM-INF and its URI cancels the variant",
     "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=500\n# comment\nv.m3u8\n", true, {}, 0.0f, false},
    {"missing RESOLUTION inherits the previous variant's, missing BANDWIDTH and PROGRAM-ID are 0",
     "#EXTM3U\n#EXT-X-STREAM-INF:PROGRAM-ID=3,BANDWIDTH=9,RESOLUTION=640x360\na.m3u8\n"
     "#EXT-X-STREAM-INF:CODECS=\"x\"\nb.m3u8\n",
     true, {Variant(0, "b.m3u8", 640, 360, 0), Variant(9, "a.m3u8", 640, 360, 3)}, 0.0f, true},
    {"attribute names in any case; quoted commas split; RESOLUTION read as %dx%d",
     "#EXTM3U\n#EXT-X-STREAM-INF:bandwidth=77,CODECS=\"avc1,mp4a\",Resolution = 100x50x9\nv.m3u8\n", true,
     {Variant(77, "v.m3u8", 100, 50)}, 0.0f, true},
    {"a repeated attribute: the first one counts",
     "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1,bandwidth=2\nv.m3u8\n", true, {Variant(1, "v.m3u8", 0, 0)}, 0.0f, true},
    {"RESOLUTION with only a width keeps the previous height",
     "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1,RESOLUTION=8x6\na.m3u8\n"
     "#EXT-X-STREAM-INF:BANDWIDTH=2,RESOLUTION=10 x 20\nb.m3u8\n",
     true, {Variant(1, "a.m3u8", 8, 6), Variant(2, "b.m3u8", 10, 6)}, 0.0f, true},
    {"a pending #EXTINF duration travels into a variant",
     "#EXTM3U\n#EXTINF:3,\n#EXT-X-STREAM-INF:BANDWIDTH=5\nv.m3u8\n", true,
     {{5, "v.m3u8", "http://server/a/b/v.m3u8", 3.0f, 5}}, 3.0f, true},
    {"segments after a variant carry its fields and may collide with its key",
     "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=0,RESOLUTION=4x3\nv.m3u8\n#EXTINF:1,\ns0.ts\n#EXTINF:1,\ns1.ts\n", true,
     {{0, "v.m3u8", "http://server/a/b/v.m3u8", 0.0f, 0, 4, 3}, {1, "s1.ts", "http://server/a/b/s1.ts", 1.0f, 0, 4, 3}},
     2.0f, false},
};

class ParseTableTest : public testing::TestWithParam<ParseCase>
{
};

TEST_P(ParseTableTest, Entries)
{
    const ParseCase& c = GetParam();
    RecordingParser parser;
    EXPECT_EQ(parser.Parse(c.strUrl, c.strText), c.bResult) << c.pszBehaviour;
    EXPECT_EQ(parser.nOnParsed, c.bResult ? 1 : 0) << c.pszBehaviour;
    EXPECT_FLOAT_EQ(parser.m_fTotalDuration, c.fTotal) << c.pszBehaviour;
    if (!c.bResult)
        return;
    EXPECT_EQ(parser.bStreamInf, c.bStreamInf) << c.pszBehaviour;
    ASSERT_EQ(parser.mapItems.size(), c.vecEntries.size()) << c.pszBehaviour;
    auto it = parser.mapItems.begin();
    for (const Entry& e : c.vecEntries)
    {
        SCOPED_TRACE(std::string(c.pszBehaviour) + ", entry " + e.strUri);
        EXPECT_EQ(it->first, e.nKey);
        const QelHlsItem& item = it->second;
        EXPECT_EQ(item.strPlaylistUrl, c.strUrl);
        EXPECT_EQ(item.strUri, e.strUri);
        EXPECT_EQ(item.strUrl, e.strUrl);
        EXPECT_EQ(item.fDuration, e.fDuration);
        EXPECT_EQ(item.nBandwidth, e.nBandwidth);
        EXPECT_EQ(item.nWidth, e.nWidth);
        EXPECT_EQ(item.nHeight, e.nHeight);
        EXPECT_EQ(item.nProgramId, e.nProgramId);
        ++it;
    }
}

INSTANTIATE_TEST_SUITE_P(Table, ParseTableTest, testing::ValuesIn(kParseCases), qel_test::RowName());

struct HeaderCase
{
    const char* pszBehaviour;
    std::string strText;
    bool bAllowCache;
    bool bLive;
    int nVersion;
    int nTargetDuration;
    long long llMediaSequence;
    int nDuration;   // GetDuration
};

QEL_PRINT_ROW_AS_BEHAVIOUR(HeaderCase)

const HeaderCase kHeaderCases[] = {
    {"full header of a finished playlist",
     "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:10\n#EXT-X-MEDIA-SEQUENCE:9000000000\n"
     "#EXT-X-ALLOW-CACHE:YES\n#EXTINF:9.9,\ns.ts\n#EXT-X-ENDLIST\n",
     true, false, 3, 10, 9000000000LL, 9},
    {"live playlist without #EXT-X-ENDLIST", "#EXTM3U\n#EXTINF:4,\ns.ts\n", false, true, 0, 0, 0, 4},
    {"fractional target duration keeps its integer part", "#EXTM3U\n#EXT-X-TARGETDURATION:6.9\n", false, true, 0, 6, 0, 0},
    {":YES anywhere in the line allows caching", "#EXTM3U\n#EXT-X-ALLOW-CACHE:NO:YES\n", true, true, 0, 0, 0, 0},
    {"the last ALLOW-CACHE line wins", "#EXTM3U\n#EXT-X-ALLOW-CACHE:YES\n#EXT-X-ALLOW-CACHE:NO\n", false, true, 0, 0, 0, 0},
    {"#EXT-X-ENDLIST is a prefix test", "#EXTM3U\n#EXT-X-ENDLIST-NOT\n", false, false, 0, 0, 0, 0},
    {"unreadable numbers leave the fields alone", "#EXTM3U\n#EXT-X-VERSION:x\n#EXT-X-MEDIA-SEQUENCE:\n", false, true, 0, 0, 0, 0},
    {"negative total truncates toward zero", "#EXTM3U\n#EXTINF:-2.5,\ns.ts\n", false, true, 0, 0, 0, -2},
    {"huge media sequence saturates", "#EXTM3U\n#EXT-X-MEDIA-SEQUENCE:99999999999999999999\n", false, true, 0, 0, LLONG_MAX, 0},
    {"total beyond the int range: INT_MIN", "#EXTM3U\n#EXTINF:3e9,\ns.ts\n", false, true, 0, 0, 0, INT_MIN},
    {"not-a-number total: INT_MIN", "#EXTM3U\n#EXTINF:nan,\ns.ts\n", false, true, 0, 0, 0, INT_MIN},
};

class HeaderTableTest : public testing::TestWithParam<HeaderCase>
{
};

TEST_P(HeaderTableTest, Fields)
{
    const HeaderCase& c = GetParam();
    RecordingParser parser;
    ASSERT_TRUE(parser.Parse(kUrl, c.strText)) << c.pszBehaviour;
    EXPECT_EQ(parser.m_bAllowCache, c.bAllowCache) << c.pszBehaviour;
    EXPECT_EQ(parser.m_bLive, c.bLive) << c.pszBehaviour;
    EXPECT_EQ(parser.m_nVersion, c.nVersion) << c.pszBehaviour;
    EXPECT_EQ(parser.m_nTargetDuration, c.nTargetDuration) << c.pszBehaviour;
    EXPECT_EQ(parser.m_llMediaSequence, c.llMediaSequence) << c.pszBehaviour;
    EXPECT_EQ(parser.llMediaSequence, c.llMediaSequence) << c.pszBehaviour;
    EXPECT_EQ(parser.GetDuration(), c.nDuration) << c.pszBehaviour;
}

INSTANTIATE_TEST_SUITE_P(Table, HeaderTableTest, testing::ValuesIn(kHeaderCases), qel_test::RowName());

TEST(QelHlsParser, ReparseResetsOnlyTotalLiveAndStreamInf)
{
    RecordingParser parser;
    ASSERT_TRUE(parser.Parse(kUrl, "#EXTM3U\n#EXT-X-VERSION:4\n#EXT-X-ALLOW-CACHE:YES\n#EXT-X-ENDLIST\n"
                                   "#EXT-X-STREAM-INF:BANDWIDTH=1\nv.m3u8\n"));
    ASSERT_TRUE(parser.m_bStreamInf);

    // No "#EXTM3U" this time: the flag from the first parse still makes it a success.
    EXPECT_TRUE(parser.Parse(kUrl, "#EXTINF:2,\ns0.ts\n"));
    EXPECT_EQ(parser.nOnParsed, 2);
    EXPECT_EQ(parser.m_nVersion, 4);
    EXPECT_TRUE(parser.m_bAllowCache);
    EXPECT_TRUE(parser.m_bLive);
    EXPECT_FALSE(parser.m_bStreamInf);
    EXPECT_EQ(parser.m_fTotalDuration, 2.0f);
    ASSERT_EQ(parser.mapItems.size(), 1u) << "the entry map is new for every parse";
    EXPECT_EQ(parser.mapItems.begin()->second.strUri, "s0.ts");
    EXPECT_EQ(parser.mapItems.begin()->second.nBandwidth, 0) << "the working entry is new for every parse";
}

TEST(QelHlsParser, ByteTwoFiftyFiveAtALineEndThrowsOutOfRange)
{
    for (const std::string& strText : {"#EXTM3U\n#EXTINF:1,\ns0.ts\xFF\n"s, "#EXTM3U\n\xFF#EXTINF:1,\n"s,
                                       "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\xFF,X=1\nv.m3u8\n"s})
    {
        RecordingParser parser;
        try
        {
            parser.Parse(kUrl, strText);
            ADD_FAILURE() << "no exception for " << strText;
        }
        catch (const std::out_of_range& e)
        {
            EXPECT_STREQ(e.what(), "invalid string position");
        }
        EXPECT_EQ(parser.nOnParsed, 0);
    }
}

TEST(QelHlsParser, CommaDecimalLocaleChangesNothing)
{
    qel_test::QelCommaLocale locale;
    if (!locale.IsActive())
        GTEST_SKIP() << "no locale with a decimal comma on this system";
    float fLibrary = 0.0f;
    ASSERT_EQ(std::sscanf("10.5", "%f", &fLibrary), 1);
    ASSERT_EQ(fLibrary, 10.0f) << "the C library itself now stops at the '.'";
    RecordingParser parser;
    ASSERT_TRUE(parser.Parse(kUrl, "#EXTM3U\n#EXTINF:10.5,\ns0.ts\n#EXTINF:2,5\ns1.ts\n"));
    ASSERT_EQ(parser.mapItems.size(), 2u);
    EXPECT_EQ(parser.mapItems.at(0).fDuration, 10.5f) << locale.GetName();
    EXPECT_EQ(parser.mapItems.at(1).fDuration, 2.0f) << "',' ends the number as in the C locale";
    EXPECT_EQ(parser.GetDuration(), 12);
}

} // namespace
