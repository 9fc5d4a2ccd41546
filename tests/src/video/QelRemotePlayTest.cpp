// A remote HLS video from the play request to the picture, on whichever engine this
// program links: playlist and segments come from the loopback server into the cache and are
// verified, playback starts once segments 0 and 1 are there, a second play needs no
// network, a seek moves the downloads, packed, master, unreachable and stalled playlists,
// digests in either letter case, and playlists whose segment URIs try to leave the cache.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cwctype>
#include <fstream>
#include <regex>
#include <set>
#include <thread>

#include "QelPlaylistPacker.h"
#include "QelRemotePlayEngine.h"
#include "QelRemotePlayFixture.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"

using namespace std::chrono_literals;

namespace qel::test {
namespace {

// The suite is named after the engine the program links (see CMakeLists.txt).
using QEL_REMOTE_PLAY_SUITE = RemotePlayTest;

std::wstring Wide(const std::string& str) {
    return QelString::Utf8ToUnicode(str);
}

// ---- end to end -------------------------------------------------------------------------

struct WholeVideoCase {
    const char* pszName;
    const char* pszPlaylist;  // served as made, or packed when it is not index.m3u8
    bool bUpperCaseDigests;   // hosts send digests in either letter case
};

class WholeVideoTest : public RemotePlayTest, public ::testing::WithParamInterface<WholeVideoCase> {};

TEST_P(WholeVideoTest, DownloadsVerifiesAndCachesEverySegmentAndStartsAfterTheFirstTwo) {
    const WholeVideoCase& c = GetParam();
    const HlsContent& content = HlsContent::Short();
    Serve(content.Root());
    const bool bPacked = std::string(c.pszPlaylist) != "index.m3u8";
    const std::string strPlaylistBytes = bPacked ? qel_test::PackPlaylist(content.PlaylistBytes()) : content.PlaylistBytes();
    if (bPacked)
        Server().AddBody(std::string("/hls/") + c.pszPlaylist, strPlaylistBytes);
    std::map<std::wstring, std::wstring> mapDigests = DigestMap(content, Server().Url("/hls/"));
    for (auto& entry : mapDigests) {
        if (c.bUpperCaseDigests)
            std::transform(entry.second.begin(), entry.second.end(), entry.second.begin(), ::towupper);
    }
    const std::string strUrl = Server().Url(std::string("/hls/") + c.pszPlaylist);
    const std::wstring strFolder = CacheFolder(strUrl);
    ASSERT_TRUE(Play(strUrl, mapDigests));

    // The playlist and segments 0 and 1, then the start (the engine opens on a thread of its
    // own, so more segments may come first); the engine's segment requests left aside.
    ASSERT_TRUE(WaitFor(QEL_VIDEO_STARTED)) << Describe();
    const std::string strStart = std::regex_replace(Describe(), std::regex(" ?seek\\(\\d+\\)"), "");
    EXPECT_TRUE(std::regex_match(strStart, std::regex("ok ok ok( ok)* started"))) << strStart;
    EXPECT_EQ(m_manager.GetVideoDuration(), 5000);

    // The rest arrives while the video plays to its end, each segment reported once verified.
    EXPECT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_SUCCESS, 1 + content.Count())) << Describe();
    ExpectPlaysToTheEnd();
    EXPECT_EQ(Count(QEL_VIDEO_DOWNLOAD_FAILED), 0) << Describe();
    EXPECT_TRUE(OpenedOnceWith(strFolder + Wide(c.pszPlaylist), 5));
    std::wstring strReported;
    m_manager.GetVideoDownloadPath(strReported);
    EXPECT_EQ(strReported, strFolder);
    EXPECT_TRUE(HoldsPlaylistAndSegments(strFolder, c.pszPlaylist, strPlaylistBytes, content, 5));
}

INSTANTIATE_TEST_SUITE_P(QEL_REMOTE_PLAY_SUITE, WholeVideoTest,
                         ::testing::Values(WholeVideoCase{"Plain", "index.m3u8", false},
                                           WholeVideoCase{"PackedAndKeptPacked", "packed.m3u8", false},
                                           WholeVideoCase{"UpperCaseDigests", "index.m3u8", true}),
                         [](const auto& info) { return std::string(info.param.pszName); });

// The replay in a process of its own: registered only when the parent test runs this
// program again with the cached video's address in the environment.
class ReplayFromTheCache : public RemotePlayTest {
    void TestBody() override {
        const std::string strUrl = std::getenv("QEL_REPLAY_URL");
        m_manager.SetVideoDownloadPath(Wide(std::getenv("QEL_REPLAY_ROOT")));
        m_manager.SetVideoUpdateTime(std::atoll(std::getenv("QEL_REPLAY_UPDATE_TIME")));
        Play(strUrl, DigestMap(HlsContent::Short(), strUrl.substr(0, strUrl.rfind('/') + 1)));

        ASSERT_TRUE(WaitFor(QEL_VIDEO_STARTED)) << Describe();
        ExpectPlaysToTheEnd();
        Pump(engine::Renders() ? 100ms : 500ms);
        EXPECT_EQ(Count(QEL_VIDEO_DOWNLOAD_SUCCESS) + Count(QEL_VIDEO_DOWNLOAD_FAILED), 0) << Describe();
        std::wstring strFolder;
        m_manager.GetVideoDownloadPath(strFolder);
        EXPECT_TRUE(OpenedOnceWith(strFolder + L"index.m3u8", 5));
    }
};

const bool g_bReplayRegistered = [] {
    if (!std::getenv("QEL_REPLAY_URL"))
        return false;
    ::testing::RegisterTest("RemotePlayReplay", "FromTheCacheAlone", nullptr, nullptr, __FILE__, __LINE__,
                            []() -> RemotePlayTest* { return new ReplayFromTheCache; });
    return true;
}();

TEST_F(QEL_REMOTE_PLAY_SUITE, SameUpdateTimeReplaysInANewProcessWithoutTheNetworkAndAnotherFetchesAgain) {
    const HlsContent& content = HlsContent::Short();
    Serve(content.Root());
    const std::string strUrl = Server().Url("/hls/index.m3u8");
    const std::wstring strFolder = CacheFolder(strUrl);
    Play(strUrl, DigestMap(content, Server().Url("/hls/")));
    // Started and wholly cached: a Stop before the start would win over it.
    ASSERT_TRUE(PumpUntil([&] {
        return Count(QEL_VIDEO_STARTED) == 1 && Count(QEL_VIDEO_DOWNLOAD_SUCCESS) >= 1 + content.Count() &&
               AllCached(strFolder, content.Count());
    })) << Describe();
    m_manager.Stop();
    const auto cached = ListTree(strFolder);
    Server().ClearRequests();

    const int nExit = RunThisProgram("RemotePlayReplay.*", {{"QEL_REPLAY_URL", strUrl},
                                                            {"QEL_REPLAY_ROOT", QelString::UnicodeToUtf8(CacheRoot())},
                                                            {"QEL_REPLAY_UPDATE_TIME", std::to_string(kUpdateTime)}});
    EXPECT_EQ(nExit, 0) << "the replay failed in its own process (its output is above)";
    EXPECT_EQ(Server().RequestCount(), 0u);
    EXPECT_TRUE(ListTree(strFolder) == cached) << "the cached files changed";

    // A changed video: another update time, another folder, fetched again from the start.
    m_manager.SetVideoUpdateTime(kUpdateTime + 1);
    Play(strUrl, DigestMap(content, Server().Url("/hls/")));
    ASSERT_TRUE(PumpUntil([&] { return Count(QEL_VIDEO_STARTED) == 2; })) << Describe();
    std::wstring strReported;
    m_manager.GetVideoDownloadPath(strReported);
    EXPECT_EQ(strReported, CacheFolder(strUrl, kUpdateTime + 1));
    EXPECT_TRUE(QelFileUtils::IsFileExist(strReported + L"index.m3u8"));
    EXPECT_TRUE(AllCached(strReported, 2));
    EXPECT_EQ(RequestedSegments().at(0), -1) << DescribeRequests();
    EXPECT_TRUE(ListTree(strFolder) == cached);
}

// ---- seek ---------------------------------------------------------------------------------

TEST_F(QEL_REMOTE_PLAY_SUITE, SeekFarAheadFetchesThatSegmentBeforeTheRestOfTheChain) {
    const HlsContent& content = HlsContent::Long();
    Serve(content.Root());
    const int nTarget = 20;
    // About ten seconds a segment between the first group and the target: the chain is
    // still on its first groups when the seek arrives, however slowly the engine seeks.
    for (int i = 2; i < nTarget; ++i)
        Server().SetFault("/hls/" + HlsContent::SegmentName(i), TestHttpFault::Throttle(5000));
    const std::string strUrl = Server().Url("/hls/index.m3u8");
    const std::wstring strFolder = CacheFolder(strUrl);
    Play(strUrl, DigestMap(content, Server().Url("/hls/")));
    ASSERT_TRUE(WaitFor(QEL_VIDEO_STARTED)) << Describe();
    // The start settles: the chain's next group, and any segment the engine asked for
    // while it opened, are on their way when no new request has come for a while.
    for (int nTurn = 0; nTurn < 20; ++nTurn) {
        const size_t nRequests = Server().RequestCount();
        Pump(400ms);
        if (Server().RequestCount() == nRequests)
            break;
    }
    const std::vector<int> vecBefore = RequestedSegments();
    EXPECT_TRUE(std::find(vecBefore.begin(), vecBefore.end(), 2) != vecBefore.end()) << DescribeRequests();

    SeekToSegment(nTarget, nTarget * 1000LL + 300);
    ASSERT_TRUE(PumpUntil([&] {
        const auto vec = RequestedSegments();
        return std::find(vec.begin() + static_cast<std::ptrdiff_t>(vecBefore.size()), vec.end(), nTarget) != vec.end();
    })) << "segment " << nTarget << " never requested\n" << DescribeRequests();
    // Nothing but the target's own group (20, 21, 22) came between the seek and it.
    const std::vector<int> vecRequested = RequestedSegments();
    for (size_t i = vecBefore.size(); i < vecRequested.size() && vecRequested[i] != nTarget; ++i)
        EXPECT_LE(std::abs(vecRequested[i] - nTarget), 2) << "segment " << vecRequested[i] << " came before the target";

    // The target's group is cached and verified, and playback goes on from the target to
    // the end.
    ASSERT_TRUE(PumpUntil([&] { return AllCached(strFolder, 3, nTarget); })) << Describe() << "\nrequests:\n"
                                                                              << DescribeRequests();
    for (int i = nTarget; i < nTarget + 3; ++i)
        EXPECT_EQ(Sha256Of(strFolder + Wide(HlsContent::SegmentName(i))), content.Digest(i)) << i;
    if (engine::Renders()) {
        EXPECT_TRUE(PumpUntil([&] { return m_manager.GetCurPosition() >= nTarget * 1000LL + 500; }))
            << "position " << m_manager.GetCurPosition();
    }
    ExpectPlaysToTheEnd();
    EXPECT_EQ(Count(QEL_VIDEO_DOWNLOAD_FAILED), 0) << Describe();
}

// ---- master and unreachable playlists -------------------------------------------------

struct NothingPlaysCase {
    const char* pszBehaviour;
    const char* pszPath;  // of the playlist on the server
    const char* pszBody;  // served in memory; null: no body
    TestHttpFault fault;
    const char* pszPosted;
};

void PrintTo(const NothingPlaysCase& param, std::ostream* pOut) {
    *pOut << param.pszBehaviour;
}

class NothingPlaysTest : public RemotePlayTest, public ::testing::WithParamInterface<NothingPlaysCase> {};

TEST_P(NothingPlaysTest, OneReportNoSegmentRequestNothingOpened) {
    const NothingPlaysCase& param = GetParam();
    Serve();
    if (param.pszBody)
        Server().AddBody(param.pszPath, param.pszBody);
    Server().SetFault(param.pszPath, param.fault);
    const std::string strUrl = Server().Url(param.pszPath);
    const std::string strName = strUrl.substr(strUrl.rfind('/') + 1);
    EXPECT_TRUE(Play(strUrl, {}));

    ASSERT_TRUE(WaitForCount(param.pszPosted[0] == 'o' ? QEL_VIDEO_DOWNLOAD_SUCCESS : QEL_VIDEO_DOWNLOAD_FAILED, 1));
    Pump(1s);
    EXPECT_EQ(Describe(), param.pszPosted);
    // The master playlist is kept; nothing half-written is left of a failed one.
    EXPECT_EQ(FilesIn(CacheFolder(strUrl)), param.pszPosted[0] == 'o' ? std::vector<std::string>{strName}
                                                                        : std::vector<std::string>{});
    for (const TestHttpRequest& request : Server().Requests())
        EXPECT_EQ(request.strPath, param.pszPath) << "no variant, no segment";
    EXPECT_TRUE(NeverOpened());
}

INSTANTIATE_TEST_SUITE_P(
    QEL_REMOTE_PLAY_SUITE, NothingPlaysTest,
    ::testing::Values(NothingPlaysCase{"MasterPlaylistIsCachedButNoVariantFetched", "/hls/master.m3u8",
                                       "#EXTM3U\n#EXT-X-STREAM-INF:PROGRAM-ID=1,BANDWIDTH=200000\nlow/index.m3u8\n"
                                       "#EXT-X-STREAM-INF:PROGRAM-ID=1,BANDWIDTH=800000\nindex.m3u8\n",
                                       TestHttpFault(), "ok"},
                      NothingPlaysCase{"NotFound", "/hls/gone.m3u8", nullptr, TestHttpFault(), "failed(0,0)"},
                      NothingPlaysCase{"CutShort", "/hls/index.m3u8", "#EXTM3U\n#EXTINF:1,\na.ts\n#EXT-X-ENDLIST\n",
                                       TestHttpFault::ShortBody(10), "failed(0,0)"}),
    [](const auto& info) { return std::string(info.param.pszBehaviour); });

// ---- a stalled server --------------------------------------------------------------------

TEST_F(QEL_REMOTE_PLAY_SUITE, AnotherPlayWhileThePlaylistStallsReturnsWellBeforeTheStallTimeOut) {
    Serve(HlsContent::Short().Root());
    Server().SetFault("/hls/index.m3u8", TestHttpFault::Stall(0, 60000));
    Play(Server().Url("/hls/index.m3u8"), {});
    ASSERT_TRUE(Server().WaitForRequests(1, kHangBound));
    std::this_thread::sleep_for(300ms);  // into the stall

    const auto tpPlay = std::chrono::steady_clock::now();
    Play("", {});  // deletes the video whose playlist is on its way
    EXPECT_LT(std::chrono::steady_clock::now() - tpPlay, 5s);  // the downloads' stall time-out is 10 s
}

// ---- hostile segment URIs ---------------------------------------------------------------

TEST_F(QEL_REMOTE_PLAY_SUITE, HostileSegmentUrisWriteNothingOutsideTheCacheAndStillPlay) {
    Serve();
    // The sandbox as a path from the root of its drive, '/' separated, and with its drive.
    std::string strSandbox = QelString::UnicodeToUtf8(Sandbox());
    std::replace(strSandbox.begin(), strSandbox.end(), '\\', '/');
    const bool bDrive = strSandbox.size() > 1 && strSandbox[1] == ':';
    const std::string strDrive = bDrive ? strSandbox.substr(0, 2) : "C:";
    const std::string strRooted = bDrive ? strSandbox.substr(2) : strSandbox;
    const std::vector<std::string> vecUris = {
        "../../../../escape0.ts",              // up out of the video's folder and the root
        strRooted + "rooted1.ts",              // a rooted path into the sandbox
        strDrive + strRooted + "drive2.ts",    // the same with a drive letter
        "..\\..\\..\\..\\back3.ts",            // Windows separators
        Server().Url("/elsewhere/abs4.ts"),    // an absolute URL
        "q5.ts?token=../../x&path=C:\\y",      // a query
        "%2e%2e/%2e%2e/%2e%2e/%2e%2e/pct6.ts",  // escaped dots, kept as a name
        "frag7.ts#../../z",                    // a fragment
        "deep/plain8.ts",                      // plain: kept as written
        "CON.ts",                              // a Windows device name
        "seg10.ts:stream",                     // a Windows alternate data stream
        "plain11.ts",                          // plain
    };
    // Something to disturb on every level around the root.
    for (const std::wstring& strDecoy : {Sandbox() + L"escape0.ts", Sandbox() + L"outer" + kQelPathSeparator + L"keep",
                                         Sandbox() + L"outer" + kQelPathSeparator + L"middle" + kQelPathSeparator +
                                             L"keep"})
        std::ofstream(QelTestTempDir::NativePath(strDecoy)) << "keep";
    const auto before = ListTree(Sandbox(), CacheRoot());

    const std::string strUrl = ServeHostilePlaylist(vecUris);
    const std::wstring strFolder = CacheFolder(strUrl);
    const int nCount = static_cast<int>(vecUris.size());
    ASSERT_TRUE(PumpUntil([&] {
        return (Count(QEL_VIDEO_DOWNLOAD_SUCCESS) >= 1 + nCount && FilesIn(strFolder).size() == 1u + nCount) ||
               Count(QEL_VIDEO_DOWNLOAD_FAILED) > 0;
    })) << Describe();
    EXPECT_EQ(Count(QEL_VIDEO_DOWNLOAD_FAILED), 0) << Describe() << "\nrequests:\n" << DescribeRequests();
    ExpectPlaysToTheEnd();
    EXPECT_TRUE(OpenedOnceWith(strFolder + L"hostile.m3u8", vecUris.size()));
    m_manager.Stop();

    EXPECT_TRUE(ListTree(Sandbox(), CacheRoot()) == before) << "something changed outside the cache root";
    // Inside the root: the video's folder and nothing else.
    const std::string strVideoFolder =
        QelString::UnicodeToUtf8(QelFileUtils::GetFileFullName(strFolder.substr(0, strFolder.size() - 1)));
    for (const auto& entry : ListTree(CacheRoot()))
        EXPECT_EQ(entry.first.substr(0, strVideoFolder.size()), strVideoFolder) << entry.first;

    // Every segment once in the folder: plain URIs under their own names (escaped dots are
    // no dots to the file system), the others under names made from them.
    const std::set<std::string> setPlainNames = {"deep/plain8.ts", "plain11.ts", "%2e%2e/%2e%2e/%2e%2e/%2e%2e/pct6.ts"};
    std::multiset<std::string> setDigests, setExpected;
    for (const std::string& strName : FilesIn(strFolder)) {
        if (strName == "hostile.m3u8")
            continue;
        setDigests.insert(Sha256Of(strFolder + QelString::StringReplace(Wide(strName), L"/", kQelPathSeparator)));
        EXPECT_TRUE(setPlainNames.count(strName) || std::regex_match(strName, std::regex("[0-9a-f]{32}\\.ts")))
            << strName;
    }
    for (int i = 0; i < nCount; ++i)
        setExpected.insert(HlsContent::Long().Digest(i));
    EXPECT_EQ(setDigests, setExpected);
    const std::vector<std::string> vecFiles = FilesIn(strFolder);
    for (const std::string& strName : setPlainNames)
        EXPECT_NE(std::find(vecFiles.begin(), vecFiles.end(), strName), vecFiles.end()) << strName;
}

}  // namespace
}  // namespace qel::test
