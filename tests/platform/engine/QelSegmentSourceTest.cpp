// The segment reader on its own: the time line of the durations, the byte stream of the
// cache files, and the abort of the wait for a file that is not there yet (the wait
// itself is the engine tests' business, where playback shows it).
#include "QelSegmentSource.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <limits>
#include <string>
#include <vector>

#include "platform/utils/QelFileTestHelpers.h"
#include "support/TestEventually.h"
#include "utils/QelString.h"

using namespace std::chrono_literals;

namespace {

// A stand-in for a TS segment: whole packets, each starting on the sync byte.
std::string FakeTs(char chFill, int nPackets) {
    std::string strBytes;
    for (int i = 0; i < nPackets; ++i)
        strBytes += '\x47' + std::string(187, chFill);
    return strBytes;
}

QelTSItem Item(int nIndex, float fDuration, const std::wstring& strPath = L"") {
    QelTSItem item;
    item.nIndex = nIndex;
    item.fDuration = fDuration;
    item.strLocalPath = strPath;
    return item;
}

std::vector<QelTSItem> Items(const std::vector<float>& vecDurations) {
    std::vector<QelTSItem> vecItems;
    for (float fDuration : vecDurations)
        vecItems.push_back(Item(static_cast<int>(vecItems.size()), fDuration));
    return vecItems;
}

// Everything Read gives until the end, the abort, or the limit.
std::string ReadAll(QelSegmentSource& source, long long* pllLast = nullptr) {
    std::string strBytes;
    unsigned char buffer[300];
    for (;;) {
        const long long llRead = source.Read(buffer, sizeof(buffer));
        if (llRead <= 0) {
            if (pllLast)
                *pllLast = llRead;
            return strBytes;
        }
        strBytes.append(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(llRead));
    }
}

// ---------------------------------------------------------------------------------------
// The time line.

struct TimeLineCase {
    const char* szName;
    std::vector<float> vecDurations;
    std::int64_t llDuration;
    std::vector<std::pair<std::int64_t, std::size_t>> vecPositions;  // time -> segment
};

void PrintTo(const TimeLineCase& c, std::ostream* pOut) { *pOut << c.szName; }

class TimeLineTest : public ::testing::TestWithParam<TimeLineCase> {};

TEST_P(TimeLineTest, DurationsGiveTheSegmentOfEachTime) {
    const TimeLineCase& c = GetParam();
    QelSegmentSource source(Items(c.vecDurations));
    EXPECT_EQ(source.DurationMs(), c.llDuration);
    EXPECT_EQ(source.StartMs(source.Count()), c.llDuration);
    for (const auto& [llTime, nPos] : c.vecPositions)
        EXPECT_EQ(source.PosAt(llTime), nPos) << "at " << llTime << " ms";
}

const float kNan = std::numeric_limits<float>::quiet_NaN();
const float kInf = std::numeric_limits<float>::infinity();

INSTANTIATE_TEST_SUITE_P(
    Segments, TimeLineTest,
    ::testing::Values(
        TimeLineCase{"Even", {1, 1, 1}, 3000, {{-5, 0}, {0, 0}, {999, 0}, {1000, 1}, {2500, 2}, {3000, 2}, {99999, 2}}},
        TimeLineCase{"FractionsAddUpBeforeRounding", {0.3334f, 0.3333f, 0.3333f}, 1000, {{332, 0}, {333, 1}, {666, 1}, {667, 2}}},
        TimeLineCase{"ZeroLengthSegmentHoldsNoTime", {2.5f, 0, 1}, 3500, {{2499, 0}, {2500, 2}}},
        TimeLineCase{"NegativeAndNonNumbersCountAsZero", {-1, kNan, kInf, 1}, 1000, {{0, 0}, {1, 3}, {500, 3}}},
        TimeLineCase{"Empty", {}, 0, {{0, 0}, {100, 0}}}),
    [](const ::testing::TestParamInfo<TimeLineCase>& info) { return std::string(info.param.szName); });

TEST(QelSegmentSource, ReportsEachSegmentByItsOwnIndex) {
    std::vector<QelTSItem> vecItems = {Item(10, 1), Item(11, 1), Item(12, 1)};
    QelSegmentSource source(vecItems);
    EXPECT_EQ(source.IndexOf(1), 11);
    EXPECT_EQ(source.IndexOf(source.PosAt(2500)), 12);
    EXPECT_EQ(source.StartMs(2), 2000);
}

// ---------------------------------------------------------------------------------------
// The byte stream.

class SegmentFilesTest : public ::testing::Test {
protected:
    std::wstring Write(const std::wstring& strName, const std::string& strBytes) const {
        WriteWholeFile(m_dir / strName, strBytes);
        return m_dir / strName;
    }
    QelTestTempDir m_dir;
};

TEST_F(SegmentFilesTest, ReadsSegmentsBackToBackAndSkipsThoseThatCanNeverPlay) {
    const std::string strFirst = FakeTs('a', 3), strLast = FakeTs('b', 1), strAnsi = FakeTs('c', 2);
    QelTSItem ansiOnly = Item(6, 1);
    ansiOnly.strLocalPathA = QelString::UnicodeToAnsi(Write(L"ansi.ts", strAnsi));
    std::vector<QelTSItem> vecItems = {
        Item(0, 1, Write(L"0.ts", strFirst)),
        Item(1, 1),                                                      // no path at all
        Item(2, 1, Write(L"2.ts", "#EXTM3U\n#EXTINF:1,\n0.ts\n")),       // not TS
        Item(3, 1, Write(L"3.ts", "")),                                   // empty
        Item(4, 1, Write(L"4.ts", "\x47" + std::string(187, 'x') + "y")),  // second packet out of sync
        Item(5, 1, Write(L"5.ts", strLast)),
        ansiOnly,  // only the ANSI form of the path
    };
    QelSegmentSource source(vecItems);
    source.Open();
    long long llLast = 1;
    EXPECT_EQ(ReadAll(source, &llLast), strFirst + strLast + strAnsi);
    EXPECT_EQ(llLast, 0);
    EXPECT_EQ(source.BytesRead(), strFirst.size() + strLast.size() + strAnsi.size());
    EXPECT_FALSE(source.IsWaiting());
    source.Close();

    // Each stream starts where Rewind put it.
    source.Rewind(5);
    source.Open();
    EXPECT_EQ(ReadAll(source), strLast + strAnsi);
    source.Close();
}

TEST_F(SegmentFilesTest, AbortEndsTheWaitAndEveryReadUntilTheNextRewind) {
    const std::string strSecond = FakeTs('b', 1);
    QelSegmentSource source({Item(0, 1, m_dir / L"never.ts"), Item(1, 1, Write(L"1.ts", strSecond))});
    source.Open();
    auto reader = std::async(std::launch::async, [&source] { return ReadAll(source); });
    EXPECT_TRUE(qel::test::Eventually([&] { return source.IsWaiting(); }));
    source.Abort();
    ASSERT_EQ(reader.wait_for(10s), std::future_status::ready);
    EXPECT_EQ(reader.get(), "");
    EXPECT_FALSE(source.IsWaiting());
    unsigned char byte = 0;
    EXPECT_EQ(source.Read(&byte, 1), -1);
    source.Close();

    source.Rewind(1);
    source.Open();
    EXPECT_EQ(ReadAll(source), strSecond);
    source.Close();
}

TEST_F(SegmentFilesTest, SeeksWithinTheBytesItHasDelivered) {
    const std::string strFirst = FakeTs('a', 2), strSecond = FakeTs('b', 2);
    const std::string strAll = strFirst + strSecond;
    QelSegmentSource source({Item(0, 1, Write(L"0.ts", strFirst)), Item(1, 1, Write(L"1.ts", strSecond))});
    source.Open();
    ASSERT_EQ(ReadAll(source), strAll);

    for (std::uint64_t llOffset : {std::uint64_t{10}, std::uint64_t{strFirst.size()}, std::uint64_t{strFirst.size() + 5}}) {
        ASSERT_TRUE(source.Seek(llOffset)) << llOffset;
        EXPECT_EQ(ReadAll(source), strAll.substr(llOffset)) << llOffset;
    }
    EXPECT_TRUE(source.Seek(strAll.size()));
    EXPECT_EQ(ReadAll(source), "");
    EXPECT_FALSE(source.Seek(strAll.size() + 1));
    source.Close();

    // Nothing delivered yet: only the start is a place.
    source.Rewind(0);
    source.Open();
    EXPECT_TRUE(source.Seek(0));
    EXPECT_FALSE(source.Seek(1));
    source.Close();
}

}  // namespace
