// One segment downloader against the loopback server: the cache check, the fetch, the
// digest check with its single retry, and what it posts.
#include "segment_cache/QelTS.h"

#include <fstream>
#include <memory>
#include <optional>

#include "QelSegmentFixture.h"
#include "segment_cache/QelCacheTemporary.h"
#include "utils/QelCode.h"
#include "utils/QelFileUtils.h"
#include "utils/QelOS.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"

using namespace std::chrono_literals;
using qel::TestHttpFault;
using qel::test::kHangBound;

namespace {

// The downloader's segment: position 1 of a list of TS 4, 5 and 6.
constexpr int kTS = 5;
constexpr long long kUserData = 0x500000007LL;  // the message carries the low 32 bits: 7

// Stands for the segment's own bytes in the table.
constexpr const char* kRealBytes = "<the segment>";

enum class Posted { Nothing, Success, Failure };

struct DownloadCase {
    const char* szName;
    bool bDigests;                   // the item expects the segment's real digest
    std::optional<std::string> cached;  // bytes already at the cache path
    std::optional<TestHttpFault> fault;
    int nRequests;
    Posted posted;
    bool bFinishedWhole;             // the cache file ends up holding the whole segment
    const char* szLogText;           // a line the log must hold, with how many of them
    int nLogLines;
};

std::ostream& operator<<(std::ostream& os, const DownloadCase& c) { return os << c.szName; }

TestHttpFault WrongBytesOnce() {
    TestHttpFault fault = TestHttpFault::WrongBytes();
    fault.nTimes = 1;
    return fault;
}

const DownloadCase kCases[] = {
    {"CachedFileWithoutDigestIsAcceptedWithoutRequest", false, std::string("not a segment"), std::nullopt, 0,
     Posted::Nothing, false, nullptr, 0},
    {"CachedFileWithMatchingDigestIsAccepted", true, std::string(kRealBytes), std::nullopt, 0,
     Posted::Nothing, true, nullptr, 0},
    {"CachedFileWithWrongDigestIsReplaced", true, std::string("stale bytes"), std::nullopt, 1, Posted::Success,
     true, "Existed ts sha256 is NOT the same, existed sha256:", 1},
    {"MissingFileIsFetchedWithoutDigest", false, std::nullopt, std::nullopt, 1, Posted::Success, true,
     "Download ts success:", 1},
    {"MissingFileIsFetchedAndVerified", true, std::nullopt, std::nullopt, 1, Posted::Success, true,
     "Download ts success:", 1},
    {"RedirectIsFollowed", true, std::nullopt, TestHttpFault::Redirect("/v/seg10.ts"), 2, Posted::Success, true,
     "Download ts success:", 1},
    {"NotFoundFailsOnceWithoutRetry", true, std::nullopt, TestHttpFault::Status(404), 1, Posted::Failure, false,
     "Download ts failed:", 1},
    {"ServerErrorFailsOnceWithoutRetry", true, std::nullopt, TestHttpFault::Status(500), 1, Posted::Failure,
     false, "Download ts failed:", 1},
    {"ResetMidBodyFails", true, std::nullopt, TestHttpFault::ResetAfter(10000), 1, Posted::Failure, false,
     "Download ts failed:", 1},
    {"ShortBodyFails", true, std::nullopt, TestHttpFault::ShortBody(100), 1, Posted::Failure, false,
     "Download ts failed:", 1},
    {"WrongBytesOnceAreFetchedAgain", true, std::nullopt, WrongBytesOnce(), 2, Posted::Success, true,
     "Downloaded ts sha256 is NOT the same, downloaded sha256:", 1},
    {"WrongBytesAlwaysAreDroppedAfterTwoFetches", true, std::nullopt, TestHttpFault::WrongBytes(), 2,
     Posted::Nothing, false, "Downloaded ts sha256 is NOT the same, downloaded sha256:", 2},
    {"WrongBytesWithoutDigestAreKept", false, std::nullopt, TestHttpFault::WrongBytes(), 1, Posted::Success,
     false, nullptr, 0},
};

class DownloadTable : public qel::test::SegmentFixture, public ::testing::WithParamInterface<DownloadCase> {};

TEST_P(DownloadTable, FetchesPostsAndLeavesTheCacheAsExpected) {
    const DownloadCase& c = GetParam();
    if (c.cached)
        Cache(kTS, *c.cached == kRealBytes ? qel::test::SegmentBody(kTS) : *c.cached);
    if (c.fault)
        m_server.SetFault(SegmentPath(kTS), *c.fault);

    QelTS ts(nullptr, nullptr, &m_hWnd, false, kUserData);
    ts.SetTSItems(Items(3, c.bDigests, 4), 1);
    ASSERT_TRUE(qel::test::Eventually([&] { return !ts.IsDownloading(); }));

    // A redirect lands on another path that serves the same bytes.
    EXPECT_EQ(RequestsFor(kTS), c.fault && !c.fault->strRedirectTo.empty() ? 1 : c.nRequests);
    EXPECT_EQ(static_cast<int>(RequestedSegments().size()), c.nRequests);
    const auto messages = Drain(200ms);
    switch (c.posted) {
    case Posted::Nothing:
        EXPECT_TRUE(messages.empty());
        break;
    case Posted::Success:
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].message, static_cast<UINT>(QEL_VIDEO_DOWNLOAD_SUCCESS));
        EXPECT_EQ(messages[0].wParam, 7u);
        EXPECT_EQ(messages[0].lParam, static_cast<LPARAM>(QelFileUtils::GetFileSize(CachePath(kTS))));
        break;
    case Posted::Failure:
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_EQ(messages[0].message, static_cast<UINT>(QEL_VIDEO_DOWNLOAD_FAILED));
        EXPECT_EQ(messages[0].wParam, 1u);
        EXPECT_EQ(messages[0].lParam, kTS);
        break;
    }
    EXPECT_EQ(ts.IsFinished(), c.posted == Posted::Success || (c.cached && c.nRequests == 0));
    if (c.bFinishedWhole) {
        EXPECT_TRUE(HoldsSegment(kTS));
    }
    if (c.posted != Posted::Success && !(c.cached && c.nRequests == 0)) {
        EXPECT_FALSE(IsCached(kTS));
    }
    // Nothing but the cache file, if any, is left behind: no temporary of any kind.
    EXPECT_LE(CacheFiles().size(), 1u);
    if (c.szLogText) {
        EXPECT_EQ(m_log.Count(c.szLogText), c.nLogLines) << m_log.Text();
    }
}

INSTANTIATE_TEST_SUITE_P(Segment, DownloadTable, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.szName); });

using DownloadTest = qel::test::SegmentFixture;

TEST_F(DownloadTest, LogLinesJoinTheirPiecesWithoutSeparators) {
    Cache(kTS, "stale bytes");
    m_server.SetFault(SegmentPath(kTS), TestHttpFault::WrongBytes());
    QelTS ts(nullptr, nullptr, &m_hWnd, false, 0);
    const auto items = Items(3, true, 4);
    ts.SetTSItems(items, 1);
    ASSERT_TRUE(qel::test::Eventually([&] { return !ts.IsDownloading(); }));

    const std::string strExpected = QelString::UnicodeToUtf8(items[1].strSha256);
    const std::string strLog = m_log.Text();
    EXPECT_NE(strLog.find("[QelTS::SetTSItems@"), std::string::npos);
    EXPECT_NE(strLog.find("] Existed ts sha256 is NOT the same, existed sha256:" +
                          QelString::UnicodeToUtf8(QelCode::Sha256Hex("stale bytes", 11)) +
                          ", server sha256:" + strExpected + "\r\n"),
              std::string::npos)
        << strLog;
    EXPECT_NE(strLog.find("[QelTS::DownloadTs@"), std::string::npos);
    EXPECT_NE(strLog.find("] Download ts success:" + items[1].strUrl + ", size:" +
                          std::to_string(qel::test::SegmentBody(kTS).size()) + "\r\n"),
              std::string::npos)
        << strLog;
    EXPECT_NE(strLog.find("] Downloaded ts sha256 is NOT the same, downloaded sha256:"), std::string::npos);
    EXPECT_NE(strLog.find(", server sha256:" + strExpected + "\r\n"), std::string::npos);
}

TEST_F(DownloadTest, WithoutWindowTheWorkIsDoneAndNothingIsPosted) {
    HWND hNoWindow = nullptr;
    m_server.SetFault(SegmentPath(1), TestHttpFault::Status(404));
    QelTS fetched(nullptr, nullptr, &hNoWindow, false, 1);
    QelTS failed(nullptr, nullptr, nullptr, false, 1);
    fetched.SetTSItems(Items(2), 0);
    failed.SetTSItems(Items(2), 1);
    ASSERT_TRUE(qel::test::Eventually([&] { return !fetched.IsDownloading() && !failed.IsDownloading(); }));

    EXPECT_TRUE(HoldsSegment(0));
    EXPECT_TRUE(fetched.IsFinished());
    EXPECT_EQ(RequestsFor(1), 1);
    EXPECT_TRUE(Drain(200ms).empty());
}

TEST_F(DownloadTest, DestroyingAbortsTheTransferAndReportsItAsFailed) {
    m_server.SetFault(SegmentPath(2), TestHttpFault::Throttle(8 * 1024));  // about six seconds
    {
        QelTS ts(nullptr, nullptr, &m_hWnd, false, 0);
        ts.SetTSItems(Items(3), 2);
        ASSERT_TRUE(m_server.WaitForRequests(1, kHangBound));
    }
    const auto failed = ReceiveN(QEL_VIDEO_DOWNLOAD_FAILED, 1, 5s);
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].lParam, 2);
    EXPECT_TRUE(CacheFiles().empty());
}

TEST_F(DownloadTest, LeftoversOfEndedDownloadsGoWhenTheSegmentIsFetchedOrFoundCachedButLiveOnesAndOtherNamesStay) {
    // 999999999 is no process: beyond Linux's pid range, and no multiple of 4 as Windows' ids are.
    const std::wstring strOwn = std::to_wstring(QelOS::CurrentProcessId());
    const std::vector<std::wstring> vecLeftovers = {L".tmp", L".tmp.qelpart-999999999-7", L".qelpart-999999999-2",
                                                    L".qeltmp-999999999-1", L".qeltmp-999999999-1.qelpart-999999999-2",
                                                    L".qeltmp-" + strOwn + L"-999999", L"2.tmp"};
    const QelCacheTemporary live(CachePath(kTS));
    std::ofstream(QelTestTempDir::NativePath(live.Path())) << "being written";
    // The second time the segment is cached: a killed process may have cached it through one
    // download while another download of it was under way.
    for (const char* szCase : {"fetched", "found cached"}) {
        SCOPED_TRACE(szCase);
        for (const std::wstring& strLeftover : vecLeftovers)
            std::ofstream(QelTestTempDir::NativePath(CachePath(kTS) + strLeftover)) << "left over";
        QelTS ts(nullptr, nullptr, &m_hWnd, false, 0);
        ts.SetTSItems(Items(3, true, 4), 1);
        ASSERT_TRUE(qel::test::Eventually([&] { return !ts.IsDownloading(); }));
        EXPECT_TRUE(HoldsSegment(kTS));
        const std::string strLive = QelString::UnicodeToUtf8(QelFileUtils::GetFileFullName(live.Path()));
        EXPECT_EQ(CacheFiles(), (std::set<std::string>{"seg5.ts", "seg5.ts2.tmp", strLive}));
    }
}

TEST_F(DownloadTest, IndexOutsideTheListOrEmptyListDoesNothing) {
    QelTS ts(nullptr, nullptr, &m_hWnd, false, 0);
    ts.SetTSItems({}, 0);
    ts.SetTSItems(Items(2), -1);
    ts.SetTSItems(Items(2), 2);
    EXPECT_FALSE(ts.IsDownloading());
    EXPECT_FALSE(ts.IsFinished());
    EXPECT_TRUE(Drain(100ms).empty());
    EXPECT_EQ(m_server.RequestCount(), 0u);
}

}  // namespace
