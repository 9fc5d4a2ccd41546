// The packed playlist container: its scramble, the plain-file fallback, damage, and the
// inflate bound that stops a bomb; the packer is the tests' own, written apart from the reader.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QelTableNames.h"

#include "QelPlaylistPacker.h"
#include "segment_cache/QelPackedPlaylist.h"

using namespace std::string_literals;

namespace
{

const std::string kMagic = "??\0\1"s;

// Payloads of nine bytes or more are scrambled in nine slices, which the tests' own packer
// writes independently: every round trip below checks that layout. A zlib stream is never
// shorter than eight bytes, so the short layout is seen here alone.
TEST(PackedPlaylist, ShortPayloadByteJGetsItsDistanceFromTheEnd)
{
    std::vector<unsigned char> vecBytes(5, 0xA5);
    qel::XorPackedPayload(vecBytes.data(), vecBytes.size());
    EXPECT_EQ(vecBytes, (std::vector<unsigned char>{0xA5 ^ 5, 0xA5 ^ 4, 0xA5 ^ 3, 0xA5 ^ 2, 0xA5 ^ 1}));
}

struct FileCase
{
    const char* pszBehaviour;
    std::string strFile;
    std::string strText;
};

QEL_PRINT_ROW_AS_BEHAVIOUR(FileCase)

const FileCase kFileCases[] = {
    {"exactly the 4-byte header: empty text", kMagic, ""},
    {"shorter than the header is a plain file, cut at its zero byte", "??\0"s, "??"},
    {"plain file without zero byte is taken whole", "#EXTM3U\nx", "#EXTM3U\nx"},
    {"plain file is cut at its first zero byte", "#EXTM3U\0#EXTINF"s, "#EXTM3U"},
    {"a different fourth byte is a plain file", "??\0\2#"s, "??"},
    {"garbage after the magic: empty text", kMagic + "not a zlib stream at all", ""},
    {"empty file", "", ""},
    {"a stream left unscrambled is damaged: empty text", kMagic + qel_test::Deflate("#EXTM3U", 0), ""},
    {"inflated text is cut at its first zero byte", qel_test::PackPlaylist("#EXTM3U\n\0tail"s), "#EXTM3U\n"},
};

class FileTextTest : public testing::TestWithParam<FileCase>
{
};

TEST_P(FileTextTest, Text)
{
    EXPECT_EQ(qel::PlaylistFileText(GetParam().strFile), GetParam().strText) << GetParam().pszBehaviour;
}

INSTANTIATE_TEST_SUITE_P(Table, FileTextTest, testing::ValuesIn(kFileCases), qel_test::RowName());

TEST(PackedPlaylist, DamagedPayloadGivesEmptyText)
{
    std::string strPacked = qel_test::PackPlaylist("#EXTM3U\n#EXTINF:10,\ns0.ts\n");
    strPacked[strPacked.size() / 2] ^= 0x40;
    EXPECT_EQ(qel::PlaylistFileText(strPacked), "");
    EXPECT_EQ(qel::PlaylistFileText(strPacked.substr(0, strPacked.size() - 1)), "") << "truncated";
}

std::string MakeMediaPlaylist(int nSegments)
{
    std::string strText = "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:11\n#EXT-X-MEDIA-SEQUENCE:0\n";
    char szLine[96];
    for (int i = 0; i < nSegments; ++i)
    {
        std::snprintf(szLine, sizeof(szLine), "#EXTINF:%d.%03d,\nseg_%06d.ts\n", 9 + i % 3, (i * 7919) % 1000, i);
        strText += szLine;
    }
    return strText + "#EXT-X-ENDLIST\n";
}

// A realistic playlist packs well within the bound.
TEST(PackedPlaylist, TenThousandSegmentRoundTrip)
{
    const std::string strText = MakeMediaPlaylist(10000);
    EXPECT_EQ(qel::PlaylistFileText(qel_test::PackPlaylist(strText)), strText);
}

TEST(PackedPlaylist, InflatedSizeBoundIsTwentyTimesThePayload)
{
    // For every length, a text unpacks exactly when it is at most 20 times its packed payload.
    int nWithin = 0;
    int nBeyond = 0;
    for (size_t nLength = 1; nLength <= 4000; nLength += 3)
    {
        const std::string strText(nLength, 'a');
        const std::string strPacked = qel_test::PackPlaylist(strText);
        const bool bWithin = nLength <= (strPacked.size() - 4) * 20;
        EXPECT_EQ(qel::PlaylistFileText(strPacked), bWithin ? strText : "") << nLength;
        (bWithin ? nWithin : nBeyond)++;
    }
    EXPECT_GT(nWithin, 0);
    EXPECT_GT(nBeyond, 0);
}

TEST(PackedPlaylist, BombThatInflatesPastTheBoundGivesEmptyText)
{
    const std::string strBomb = qel_test::PackPlaylist("#EXTM3U\n" + std::string(16 << 20, '#'));
    ASSERT_LT(strBomb.size(), 64u * 1024) << "16 MiB packs to a few KiB";
    EXPECT_EQ(qel::PlaylistFileText(strBomb), "");
}

} // namespace
