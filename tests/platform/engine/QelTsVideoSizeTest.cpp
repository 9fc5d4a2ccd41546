// The picture size read from an H.264 sequence parameter set, alone and inside TS.
#include "QelTsVideoSize.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/utils/QelFileTestHelpers.h"
#include "support/TestSampleContent.h"

namespace {

std::vector<unsigned char> FromHex(const std::string& strHex) {
    std::vector<unsigned char> vecBytes;
    for (std::size_t i = 0; i + 1 < strHex.size(); i += 2)
        vecBytes.push_back(static_cast<unsigned char>(std::stoi(strHex.substr(i, 2), nullptr, 16)));
    return vecBytes;
}

struct SpsCase {
    const char* szName;
    const char* szHex;  // an SPS NAL unit as x264 (through ffmpeg) wrote it
    int nWidth;
    int nHeight;
};

void PrintTo(const SpsCase& c, std::ostream* pOut) { *pOut << c.szName; }

class SpsSizeTest : public ::testing::TestWithParam<SpsCase> {};

TEST_P(SpsSizeTest, GivesTheDisplayedSize) {
    const std::vector<unsigned char> vecNal = FromHex(GetParam().szHex);
    QelVideoSize size;
    ASSERT_TRUE(QelH264SpsSize(vecNal.data(), vecNal.size(), size));
    EXPECT_EQ(size.nWidth, GetParam().nWidth);
    EXPECT_EQ(size.nHeight, GetParam().nHeight);
}

INSTANTIATE_TEST_SUITE_P(
    X264, SpsSizeTest,
    ::testing::Values(
        SpsCase{"High1080pCropsEightLines", "67640028acd940780227e5c044000003000400000300c83c60c658", 1920, 1080},
        SpsCase{"InterlacedCountsBothFields", "6764001eacd940b424d8088000000300800000190f8a14cb", 720, 576},
        SpsCase{"High444CropsInLumaUnits", "67f4001e919b281405fcb17808800000030080000019078b16cb", 636, 358},
        SpsCase{"High422", "677a001fbcd9405005bb011000000300100000030320f1831960", 1280, 720},
        SpsCase{"MonochromeCropsInLumaUnits", "6764001ef3650290bf8f9f016c800000030080000019078b16cb", 642, 362},
        SpsCase{"BaselineHasNoChromaFields", "6742c00bd902c4ec0440000003004000000c83c50a92", 176, 144},
        SpsCase{"OddWidth", "6764001eacd940d83de6f011000003000100000300320f162d96", 854, 480}),
    [](const ::testing::TestParamInfo<SpsCase>& info) { return std::string(info.param.szName); });

TEST(QelH264SpsSize, RefusesWhatIsNotAWholeSps) {
    const std::vector<unsigned char> vecSps = FromHex("67640028acd940780227e5c044000003000400000300c83c60c658");
    QelVideoSize size;
    EXPECT_FALSE(QelH264SpsSize(nullptr, 10, size));
    EXPECT_FALSE(QelH264SpsSize(vecSps.data(), 6, size)) << "cut before the picture size";
    std::vector<unsigned char> vecPps = vecSps;
    vecPps[0] = 0x68;
    EXPECT_FALSE(QelH264SpsSize(vecPps.data(), vecPps.size(), size)) << "a picture parameter set";
    const std::vector<unsigned char> vecZeros(64, 0);
    std::vector<unsigned char> vecEndless = {0x67, 0x64, 0x00, 0x28};
    vecEndless.insert(vecEndless.end(), vecZeros.begin(), vecZeros.end());
    EXPECT_FALSE(QelH264SpsSize(vecEndless.data(), vecEndless.size(), size)) << "an Exp-Golomb code without end";
    EXPECT_EQ(size.nWidth, 0);
}

std::vector<unsigned char> SampleSegment(int nIndex) {
    const std::string strBytes = ReadWholeFile(qel::test::SampleFile("hls/index" + std::to_string(nIndex) + ".ts"));
    return std::vector<unsigned char>(strBytes.begin(), strBytes.end());
}

TEST(QelTsVideoSize, ReadsEverySampleSegment) {
    for (int i = 0; i < 5; ++i) {
        const std::vector<unsigned char> vecTs = SampleSegment(i);
        QelVideoSize size;
        ASSERT_TRUE(QelTsVideoSize(vecTs.data(), vecTs.size(), size)) << i;
        EXPECT_EQ(size.nWidth, 320);
        EXPECT_EQ(size.nHeight, 240);
    }
}

TEST(QelTsVideoSize, FindsNothingWhereThereIsNoH264Sps) {
    const std::vector<unsigned char> vecTs = SampleSegment(0);
    ASSERT_GT(vecTs.size(), 188u * 4);
    QelVideoSize size;
    EXPECT_FALSE(QelTsVideoSize(nullptr, 100, size));
    EXPECT_FALSE(QelTsVideoSize(vecTs.data(), 0, size));
    EXPECT_FALSE(QelTsVideoSize(vecTs.data(), 187, size)) << "less than a packet";
    EXPECT_FALSE(QelTsVideoSize(vecTs.data(), 188 * 2, size)) << "tables only";
    const std::string strText = "#EXTM3U\n" + std::string(400, 'x');
    EXPECT_FALSE(QelTsVideoSize(reinterpret_cast<const unsigned char*>(strText.data()), strText.size(), size));
    std::vector<unsigned char> vecNoSync = vecTs;
    vecNoSync[188 * 3] = 0;
    EXPECT_FALSE(QelTsVideoSize(vecNoSync.data(), vecNoSync.size(), size)) << "sync lost before the video";
    EXPECT_EQ(size.nWidth, 0);
}

}  // namespace
