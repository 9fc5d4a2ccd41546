// One segment downloader against the loopback server: the cache check, the digest check
// with its single retry, what it posts, and what it leaves in the cache. The HTTP faults
// themselves are QelHttp's tests; here a failed transfer is one row.
#include "segment_cache/QelTS.h"

#include <fstream>
#include <optional>

#include "QelSegmentFixture.h"
#include "QelTableNames.h"
#include "segment_cache/QelCacheTemporary.h"
#include "utils/QelCode.h"
#include "utils/QelFileUtils.h"
#include "utils/QelOS.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"

using namespace std::chrono_literals;
using qel::TestHttpFault;
using qel::test::Eventually;
using qel::test::kHangBound;

namespace {

// The downloader's segment: position 1 of a list of TS 4, 5 and 6.
constexpr int kTS = 5;
constexpr long long kUserData = 0x500000007LL;  // the message carries the low 32 bits: 7

class DownloadTest : public qel::test::SegmentFixture {
protected:
    DownloadTest() : SegmentFixture(7) {}

    // Downloads TS 5 and describes what followed: "requests=1 posted=OK(7,size) cache=seg5.ts".
    std::string Download(bool bDigests) {
        QelTS ts(nullptr, nullptr, &m_hWnd, false, kUserData);
        ts.SetTSItems(Items(3, bDigests, 4), 1);
        if (!Eventually([&] { return !ts.IsDownloading(); }, kHangBound))
            return "hang";
        const size_t nFrom = Messages().size();
        Pump(200ms);
        std::string strPosted;
        for (size_t i = nFrom; i < Messages().size(); ++i) {
            const auto& m = Messages()[i];
            const bool bOk = m.message == QEL_VIDEO_DOWNLOAD_SUCCESS;
            const bool bWholeSize = bOk && m.lParam == static_cast<LPARAM>(qel::test::SegmentBody(kTS).size());
            strPosted += std::string(bOk ? "OK(" : m.message == QEL_VIDEO_DOWNLOAD_FAILED ? "FAILED(" : "?(") +
                         std::to_string(m.wParam) + "," + (bWholeSize ? "size" : std::to_string(m.lParam)) + ")";
        }
        return "requests=" + std::to_string(RequestedSegments().size()) + " posted=" +
               (strPosted.empty() ? "-" : strPosted) + " finished=" + (ts.IsFinished() ? "1" : "0") +
               " cache=" + CacheListing();
    }
};

struct DownloadCase {
    const char* pszBehaviour;
    bool bDigests;                      // the item expects the segment's real digest
    std::optional<std::string> cached;  // bytes already at the cache path ("" for the segment's own)
    std::optional<TestHttpFault> fault;
    const char* pszOutcome;
};

TestHttpFault WrongBytesOnce() {
    TestHttpFault fault = TestHttpFault::WrongBytes();
    fault.nTimes = 1;
    return fault;
}

const DownloadCase kCases[] = {
    {"cached file without digest is accepted unread", false, std::string("not a segment"), std::nullopt,
     "requests=0 posted=- finished=1 cache=seg5.ts!"},
    {"cached file with matching digest is accepted", true, std::string(), std::nullopt,
     "requests=0 posted=- finished=1 cache=seg5.ts"},
    {"cached file with wrong digest is fetched again", true, std::string("stale bytes"), std::nullopt,
     "requests=1 posted=OK(7,size) finished=1 cache=seg5.ts"},
    {"missing file is fetched and verified", true, std::nullopt, std::nullopt,
     "requests=1 posted=OK(7,size) finished=1 cache=seg5.ts"},
    {"failed transfer is reported once, never retried", true, std::nullopt, TestHttpFault::Status(404),
     "requests=1 posted=FAILED(1,5) finished=0 cache="},
    {"wrong bytes once are fetched again", true, std::nullopt, WrongBytesOnce(),
     "requests=2 posted=OK(7,size) finished=1 cache=seg5.ts"},
    {"wrong bytes always are dropped after two fetches, silently", true, std::nullopt, TestHttpFault::WrongBytes(),
     "requests=2 posted=- finished=0 cache="},
    {"wrong bytes without digest are kept", false, std::nullopt, TestHttpFault::WrongBytes(),
     "requests=1 posted=OK(7,size) finished=1 cache=seg5.ts!"},
};

class DownloadTable : public DownloadTest, public ::testing::WithParamInterface<DownloadCase> {};

TEST_P(DownloadTable, Outcome) {
    const DownloadCase& c = GetParam();
    if (c.cached)
        Cache(kTS, c.cached->empty() ? qel::test::SegmentBody(kTS) : *c.cached);
    if (c.fault)
        m_server.SetFault(SegmentPath(kTS), *c.fault);
    EXPECT_EQ(Download(c.bDigests), c.pszOutcome);
}

INSTANTIATE_TEST_SUITE_P(Segment, DownloadTable, ::testing::ValuesIn(kCases), qel_test::RowName());

TEST_F(DownloadTest, LogLinesJoinTheirPiecesWithoutSeparators) {
    Cache(kTS, "stale bytes");
    m_server.SetFault(SegmentPath(kTS), TestHttpFault::WrongBytes());
    ASSERT_EQ(Download(true), "requests=2 posted=- finished=0 cache=");

    const std::string strExpected = QelString::UnicodeToUtf8(qel::test::SegmentDigest(kTS));
    const std::string strLog = m_log.Text();
    EXPECT_NE(strLog.find("[QelTS::SetTSItems@"), std::string::npos);
    EXPECT_NE(strLog.find("] Existed ts sha256 is NOT the same, existed sha256:" +
                          QelString::UnicodeToUtf8(QelCode::Sha256Hex("stale bytes", 11)) +
                          ", server sha256:" + strExpected + "\r\n"),
              std::string::npos)
        << strLog;
    EXPECT_NE(strLog.find("[QelTS::DownloadTs@"), std::string::npos);
    EXPECT_NE(strLog.find("] Download ts success:" + m_server.Url(SegmentPath(kTS)) + ", size:" +
                          std::to_string(qel::test::SegmentBody(kTS).size()) + "\r\n"),
              std::string::npos)
        << strLog;
    EXPECT_EQ(m_log.Count("] Downloaded ts sha256 is NOT the same, downloaded sha256:"), 2);
    EXPECT_EQ(m_log.Count(", server sha256:" + strExpected + "\r\n"), 3);
}

TEST_F(DownloadTest, FailureIsLoggedWithItsUrl) {
    m_server.SetFault(SegmentPath(kTS), TestHttpFault::Status(404));
    ASSERT_EQ(Download(true), "requests=1 posted=FAILED(1,5) finished=0 cache=");
    EXPECT_EQ(m_log.Count("] Download ts failed:" + m_server.Url(SegmentPath(kTS)) + "\r\n"), 1) << m_log.Text();
}

TEST_F(DownloadTest, WithoutWindowTheWorkIsDoneAndNothingIsPosted) {
    HWND hNoWindow = nullptr;
    m_server.SetFault(SegmentPath(1), TestHttpFault::Status(404));
    QelTS fetched(nullptr, nullptr, &hNoWindow, false, 1);
    QelTS failed(nullptr, nullptr, nullptr, false, 1);
    fetched.SetTSItems(Items(2), 0);
    failed.SetTSItems(Items(2), 1);
    ASSERT_TRUE(Eventually([&] { return !fetched.IsDownloading() && !failed.IsDownloading(); }, kHangBound));

    EXPECT_EQ(CacheListing(), "seg0.ts");
    EXPECT_EQ(m_server.RequestCount(), 2u);
    Pump(200ms);
    EXPECT_EQ(Describe(), "");
}

TEST_F(DownloadTest, DestroyingAbortsTheTransferAndReportsItAsFailed) {
    m_server.SetFault(SegmentPath(2), TestHttpFault::Throttle(4 * 1024));  // over ten seconds
    {
        QelTS ts(nullptr, nullptr, &m_hWnd, false, 0);
        ts.SetTSItems(Items(3), 2);
        ASSERT_TRUE(m_server.WaitForRequests(1, kHangBound));
    }
    ASSERT_TRUE(WaitFor(QEL_VIDEO_DOWNLOAD_FAILED, std::nullopt, 0, 5s));
    EXPECT_EQ(Describe(), "failed(1,2)");
    EXPECT_EQ(CacheListing(), "");
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
    const std::string strKept = " seg5.ts " + QelString::UnicodeToUtf8(QelFileUtils::GetFileFullName(live.Path())) +
                                " seg5.ts2.tmp";
    for (const char* pszOutcome : {"requests=1 posted=OK(7,size) finished=1 cache=", "requests=1 posted=- finished=1 cache="}) {
        for (const std::wstring& strLeftover : vecLeftovers)
            std::ofstream(QelTestTempDir::NativePath(CachePath(kTS) + strLeftover)) << "left over";
        EXPECT_EQ(Download(true), pszOutcome + strKept.substr(1));
    }
}

TEST_F(DownloadTest, IndexOutsideTheListOrEmptyListDoesNothing) {
    QelTS ts(nullptr, nullptr, &m_hWnd, false, 0);
    ts.SetTSItems({}, 0);
    ts.SetTSItems(Items(2), -1);
    ts.SetTSItems(Items(2), 2);
    EXPECT_FALSE(ts.IsDownloading());
    Pump(100ms);
    EXPECT_EQ(Describe(), "");
    EXPECT_EQ(m_server.RequestCount(), 0u);
}

}  // namespace
