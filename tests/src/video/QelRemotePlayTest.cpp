// A remote HLS video from the play request to the picture, on whichever engine this
// program links: playlist and segments come from the loopback server into the cache and are
// verified, playback starts once segments 0 and 1 are there, a second play needs no
// network, a seek moves the downloads, packed, master, unreachable and stalled playlists,
// digests in either letter case, and playlists whose segment URIs try to leave the cache.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cwctype>
#include <fstream>
#include <regex>
#include <set>
#include <thread>

#include "QelPlaylistPacker.h"
#include "QelRemotePlayEngine.h"
#include "QelRemotePlayFixture.h"
#include "utils/QelCode.h"
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

std::string Ansi(const std::wstring& str) {
    return QelString::UnicodeToAnsi(str);
}

std::string Sha256Of(const std::wstring& strPath) {
    std::wstring strDigest;
    QelCode::SHA256File(strPath, strDigest);
    return QelString::UnicodeToUtf8(strDigest);
}

std::string PathOf(const std::string& strName) {
    return QelString::UnicodeToUtf8(QelString::StringReplace(Wide(strName), L"/", kQelPathSeparator));
}

// The folder holds the playlist as served and segments nFirst.. nFirst+nCount-1 of the
// content under their own names, each with its published digest, and nothing else.
::testing::AssertionResult HoldsPlaylistAndSegments(const std::wstring& strFolder, const std::string& strPlaylist,
                                                    const std::string& strPlaylistBytes, const HlsContent& content,
                                                    int nCount) {
    std::vector<std::string> vecExpected{strPlaylist};
    for (int i = 0; i < nCount; ++i)
        vecExpected.push_back(HlsContent::SegmentName(i));
    std::sort(vecExpected.begin(), vecExpected.end());
    const std::vector<std::string> vecFiles = FilesIn(strFolder);
    if (vecFiles != vecExpected) {
        auto failure = ::testing::AssertionFailure() << "the cache folder holds:";
        for (const std::string& strName : vecFiles)
            failure << ' ' << strName;
        return failure;
    }
    if (ReadFileBytes(strFolder + Wide(strPlaylist)) != strPlaylistBytes)
        return ::testing::AssertionFailure() << strPlaylist << " differs from what was served";
    for (int i = 0; i < nCount; ++i) {
        if (Sha256Of(strFolder + Wide(HlsContent::SegmentName(i))) != content.Digest(i))
            return ::testing::AssertionFailure() << HlsContent::SegmentName(i) << " does not match its digest";
    }
    return ::testing::AssertionSuccess();
}

// ---- end to end -------------------------------------------------------------------------

TEST_F(QEL_REMOTE_PLAY_SUITE, DownloadsVerifiesAndCachesEverySegmentAndStartsAfterTheFirstTwo) {
    const HlsContent& content = HlsContent::Short();
    Serve(content.Root());
    const std::string strUrl = Server().Url("/hls/index.m3u8");
    const std::wstring strFolder = CacheFolder(strUrl);
    ASSERT_TRUE(Play(strUrl, DigestMap(content, Server().Url("/hls/"))));

    ASSERT_TRUE(WaitFor(QEL_VIDEO_STARTED)) << Describe();
    // Up to the start, the engine's segment requests left aside: the playlist, then
    // segments 0 and 1 in either order; the start comes after both.
    std::vector<PostedMessage> vecFlow;
    for (const PostedMessage& posted : Messages()) {
        if (posted.message != QEL_VIDEO_SEEK_TS)
            vecFlow.push_back(posted);
    }
    const auto size = [&](int i) { return static_cast<LPARAM>(content.SegmentBytes(i).size()); };
    ASSERT_GE(vecFlow.size(), 4u) << Describe();
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(vecFlow[i].message, static_cast<UINT>(QEL_VIDEO_DOWNLOAD_SUCCESS)) << Describe();
        EXPECT_EQ(vecFlow[i].wParam, kUserDataLow);
    }
    EXPECT_EQ(vecFlow[0].lParam, static_cast<LPARAM>(content.PlaylistBytes().size()));
    EXPECT_EQ((std::multiset<LPARAM>{vecFlow[1].lParam, vecFlow[2].lParam}), (std::multiset<LPARAM>{size(0), size(1)}))
        << Describe();
    EXPECT_EQ(vecFlow.back().message, static_cast<UINT>(QEL_VIDEO_STARTED));
    EXPECT_TRUE(AllCached(strFolder, 2));
    EXPECT_EQ(m_manager.GetVideoDuration(), 5000);
    EXPECT_TRUE(m_manager.IsOpenFile());

    // The rest arrives group by group while the video plays to its end, each segment
    // reported (by its size) once it is verified.
    const std::set<LPARAM> setAllSizes = {size(0), size(1), size(2), size(3), size(4)};
    const auto reportedSizes = [&] {
        std::set<LPARAM> setSizes;
        for (size_t i = 1; i < Messages().size(); ++i) {
            if (Messages()[i].message == QEL_VIDEO_DOWNLOAD_SUCCESS)
                setSizes.insert(Messages()[i].lParam);
        }
        return setSizes;
    };
    EXPECT_TRUE(PumpUntil([&] { return reportedSizes() == setAllSizes; })) << Describe();
    ExpectPlaysToTheEnd();
    EXPECT_EQ(Count(QEL_VIDEO_DOWNLOAD_FAILED), 0) << Describe();
    EXPECT_TRUE(engine::OpenedOnceWith(Ansi(strFolder + L"index.m3u8"), 5));

    std::wstring strReported;
    m_manager.GetVideoDownloadPath(strReported);
    EXPECT_EQ(strReported, strFolder);
    EXPECT_TRUE(HoldsPlaylistAndSegments(strFolder, "index.m3u8", content.PlaylistBytes(), content, 5));
    // The playlist first, then segments 0 and 1, then the rest.
    const std::vector<int> vecRequested = RequestedSegments();
    ASSERT_GE(vecRequested.size(), 6u) << DescribeRequests();
    EXPECT_EQ(vecRequested[0], -1);
    EXPECT_EQ((std::set<int>{vecRequested[1], vecRequested[2]}), (std::set<int>{0, 1})) << DescribeRequests();
    EXPECT_EQ(std::set<int>(vecRequested.begin() + 1, vecRequested.end()), (std::set<int>{0, 1, 2, 3, 4}));
}

// The replay in a process of its own: registered only when the parent test runs this
// program again with the cached video's address in the environment.
class ReplayFromTheCache : public RemotePlayTest {
    void TestBody() override {
        const std::string strUrl = std::getenv("QEL_REPLAY_URL");
        const std::wstring strRoot = Wide(std::getenv("QEL_REPLAY_ROOT"));
        m_manager.SetVideoDownloadPath(strRoot);
        m_manager.SetVideoUpdateTime(std::atoll(std::getenv("QEL_REPLAY_UPDATE_TIME")));
        const std::string strFolderUrl = strUrl.substr(0, strUrl.rfind('/') + 1);
        Play(strUrl, DigestMap(HlsContent::Short(), strFolderUrl));

        ASSERT_TRUE(WaitFor(QEL_VIDEO_STARTED)) << Describe();
        ExpectPlaysToTheEnd();
        Pump(engine::Renders() ? 100ms : 500ms);
        EXPECT_EQ(Count(QEL_VIDEO_DOWNLOAD_SUCCESS), 0) << Describe();
        EXPECT_EQ(Count(QEL_VIDEO_DOWNLOAD_FAILED), 0) << Describe();
        std::wstring strFolder;
        m_manager.GetVideoDownloadPath(strFolder);
        EXPECT_TRUE(engine::OpenedOnceWith(Ansi(strFolder + L"index.m3u8"), 5));
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

    // A changed video: another update time, another folder, everything fetched again.
    m_manager.SetVideoUpdateTime(kUpdateTime + 1);
    const size_t nBefore = Messages().size();
    Play(strUrl, DigestMap(content, Server().Url("/hls/")));
    ASSERT_TRUE(PumpUntil([&] { return Count(QEL_VIDEO_STARTED) == 2; })) << Describe();
    const std::wstring strOtherFolder = CacheFolder(strUrl, kUpdateTime + 1);
    EXPECT_NE(strOtherFolder, strFolder);
    std::wstring strReported;
    m_manager.GetVideoDownloadPath(strReported);
    EXPECT_EQ(strReported, strOtherFolder);
    EXPECT_GE(Messages().size() - nBefore, 3u) << "playlist and first two segments downloaded: " << Describe();
    EXPECT_GE(Server().RequestCount(), 3u);
    EXPECT_TRUE(QelFileUtils::IsFileExist(strOtherFolder + L"index.m3u8"));
    EXPECT_TRUE(QelFileUtils::IsFileExist(strOtherFolder + L"index1.ts"));
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

// ---- packed, master and unreachable playlists ----------------------------------------

TEST_F(QEL_REMOTE_PLAY_SUITE, PackedPlaylistPlaysLikeAPlainOne) {
    const HlsContent& content = HlsContent::Short();
    Serve(content.Root());
    const std::string strPacked = qel_test::PackPlaylist(content.PlaylistBytes());
    Server().AddBody("/hls/packed.m3u8", strPacked);
    const std::string strUrl = Server().Url("/hls/packed.m3u8");
    const std::wstring strFolder = CacheFolder(strUrl);
    Play(strUrl, DigestMap(content, Server().Url("/hls/")));

    ASSERT_TRUE(WaitFor(QEL_VIDEO_STARTED)) << Describe();
    ASSERT_FALSE(Messages().empty());
    EXPECT_EQ(Messages()[0].lParam, static_cast<LPARAM>(strPacked.size()));
    EXPECT_EQ(m_manager.GetVideoDuration(), 5000);
    ASSERT_TRUE(PumpUntil([&] {
        return Count(QEL_VIDEO_DOWNLOAD_SUCCESS) >= 1 + content.Count() && AllCached(strFolder, content.Count());
    })) << Describe();
    ExpectPlaysToTheEnd();
    EXPECT_EQ(Count(QEL_VIDEO_DOWNLOAD_FAILED), 0) << Describe();
    EXPECT_TRUE(engine::OpenedOnceWith(Ansi(strFolder + L"packed.m3u8"), 5));
    // Kept as downloaded, packed.
    EXPECT_TRUE(HoldsPlaylistAndSegments(strFolder, "packed.m3u8", strPacked, content, 5));
}

struct NothingPlaysCase {
    const char* szName;
    const char* szPath;            // of the playlist on the server
    const char* szBody;            // served in memory; null: no body
    TestHttpFault fault;
    bool bRefused;                 // no server listens at the address
    UINT nReport;                  // the one message expected
};

void PrintTo(const NothingPlaysCase& param, std::ostream* pOut) {
    *pOut << param.szName;
}

const TestHttpFault kNoFault;

class NothingPlaysTest : public RemotePlayTest, public ::testing::WithParamInterface<NothingPlaysCase> {};

TEST_P(NothingPlaysTest, OneReportNoSegmentRequestNothingOpened) {
    const NothingPlaysCase& param = GetParam();
    Serve({});
    if (param.szBody)
        Server().AddBody(param.szPath, param.szBody);
    Server().SetFault(param.szPath, param.fault);
    const std::string strUrl = param.bRefused
                                   ? "http://127.0.0.1:" + std::to_string(ClosedLoopbackPort()) + param.szPath
                                   : Server().Url(param.szPath);
    const std::wstring strFolder = CacheFolder(strUrl);
    const std::wstring strPlaylist = strFolder + Wide(strUrl.substr(strUrl.rfind('/') + 1));
    EXPECT_TRUE(Play(strUrl, {}));

    ASSERT_TRUE(WaitFor(param.nReport)) << Describe();
    Pump(1s);
    ASSERT_EQ(Messages().size(), 1u) << Describe();
    if (param.nReport == QEL_VIDEO_DOWNLOAD_FAILED) {
        EXPECT_EQ(Messages()[0].wParam, 0u);
        EXPECT_EQ(Messages()[0].lParam, 0);
        // Nothing half-written is left where the playlist would be.
        EXPECT_FALSE(QelFileUtils::IsFileExist(strPlaylist));
        EXPECT_EQ(m_manager.GetM3u8File(Wide(strUrl)), L"");
    } else {
        EXPECT_EQ(Messages()[0].wParam, kUserDataLow);
        EXPECT_EQ(FilesIn(strFolder), std::vector<std::string>{strUrl.substr(strUrl.rfind('/') + 1)});
    }
    for (const TestHttpRequest& request : Server().Requests())
        EXPECT_EQ(request.strPath, param.szPath) << "no variant, no segment";
    EXPECT_FALSE(m_manager.IsOpenFile());
    EXPECT_TRUE(engine::NeverOpened());
}

const char kMasterPlaylist[] =
    "#EXTM3U\n"
    "#EXT-X-STREAM-INF:PROGRAM-ID=1,BANDWIDTH=200000,RESOLUTION=160x120\n"
    "low/index.m3u8\n"
    "#EXT-X-STREAM-INF:PROGRAM-ID=1,BANDWIDTH=800000,RESOLUTION=320x240\n"
    "index.m3u8\n";

INSTANTIATE_TEST_SUITE_P(
    QEL_REMOTE_PLAY_SUITE, NothingPlaysTest,
    ::testing::Values(
        NothingPlaysCase{"MasterPlaylistIsCachedButNoVariantFetched", "/hls/master.m3u8", kMasterPlaylist, kNoFault,
                         false, QEL_VIDEO_DOWNLOAD_SUCCESS},
        NothingPlaysCase{"NotFound", "/hls/gone.m3u8", nullptr, kNoFault, false, QEL_VIDEO_DOWNLOAD_FAILED},
        NothingPlaysCase{"ServerError", "/hls/index.m3u8", "#EXTM3U\n", TestHttpFault::Status(500), false,
                         QEL_VIDEO_DOWNLOAD_FAILED},
        NothingPlaysCase{"CutShort", "/hls/index.m3u8", "#EXTM3U\n#EXTINF:1,\na.ts\n#EXT-X-ENDLIST\n",
                         TestHttpFault::ShortBody(10), false, QEL_VIDEO_DOWNLOAD_FAILED},
        NothingPlaysCase{"Refused", "/hls/index.m3u8", nullptr, kNoFault, true, QEL_VIDEO_DOWNLOAD_FAILED}),
    [](const ::testing::TestParamInfo<NothingPlaysCase>& info) { return std::string(info.param.szName); });

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

// ---- the host's digests -------------------------------------------------------------------

// Hosts send digests in capitals or in small letters; either verifies every segment.
class DigestCaseTest : public RemotePlayTest, public ::testing::WithParamInterface<bool> {};

TEST_P(DigestCaseTest, EverySegmentIsVerifiedAndCachedInEitherLetterCase) {
    const HlsContent& content = HlsContent::Short();
    Serve(content.Root());
    std::map<std::wstring, std::wstring> mapDigests = DigestMap(content, Server().Url("/hls/"));
    for (auto& entry : mapDigests) {
        if (GetParam())
            std::transform(entry.second.begin(), entry.second.end(), entry.second.begin(), ::towupper);
    }
    const std::string strUrl = Server().Url("/hls/index.m3u8");
    Play(strUrl, mapDigests);
    EXPECT_TRUE(PumpUntil([&] { return Count(QEL_VIDEO_STARTED) == 1 && AllCached(CacheFolder(strUrl), content.Count()); }))
        << Describe();
    EXPECT_EQ(Count(QEL_VIDEO_DOWNLOAD_FAILED), 0) << Describe();
}

INSTANTIATE_TEST_SUITE_P(QEL_REMOTE_PLAY_SUITE, DigestCaseTest, ::testing::Bool(),
                         [](const auto& info) { return std::string(info.param ? "UpperCase" : "LowerCase"); });

// ---- hostile segment URIs ---------------------------------------------------------------

// RFC 3986 dot-segment removal on a path.
std::string WithoutDotSegments(const std::string& strPath) {
    std::vector<std::string> vecParts;
    size_t nStart = 0;
    const bool bTrailing = !strPath.empty() && strPath.back() == '/';
    while (nStart <= strPath.size()) {
        const size_t nSlash = std::min(strPath.find('/', nStart), strPath.size());
        const std::string strPart = strPath.substr(nStart, nSlash - nStart);
        if (strPart == "..") {
            if (!vecParts.empty())
                vecParts.pop_back();
        } else if (strPart != "." && !strPart.empty()) {
            vecParts.push_back(strPart);
        }
        nStart = nSlash + 1;
    }
    std::string strOut;
    for (const std::string& strPart : vecParts)
        strOut += "/" + strPart;
    return strOut.empty() || bTrailing ? strOut + "/" : strOut;
}

std::string PercentDecoded(const std::string& str) {
    std::string strOut;
    for (size_t i = 0; i < str.size(); ++i) {
        if (str[i] == '%' && i + 2 < str.size() && std::isxdigit(static_cast<unsigned char>(str[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(str[i + 2]))) {
            strOut += static_cast<char>(std::stoi(str.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            strOut += str[i];
        }
    }
    return strOut;
}

// The paths under which a request for the URL may reach the server, whatever the HTTP
// client makes of dot segments, backslashes, escapes and fragments; as the server's log
// shows them (query cut off, escapes decoded).
std::set<std::string> ServerPathsOf(const std::string& strUrl) {
    const size_t nPathStart = strUrl.find('/', strUrl.find("://") + 3);
    const std::string strRaw = strUrl.substr(nPathStart);
    std::set<std::string> setPaths;
    for (const std::string& strWhole : {strRaw, strRaw.substr(0, strRaw.find('#'))}) {
        const std::string strPath = strWhole.substr(0, strWhole.find('?'));
        std::string strSlashed = strPath;
        std::replace(strSlashed.begin(), strSlashed.end(), '\\', '/');
        for (const std::string& strForm : {strPath, strSlashed}) {
            setPaths.insert(PercentDecoded(strForm));
            setPaths.insert(PercentDecoded(WithoutDotSegments(strForm)));
            setPaths.insert(WithoutDotSegments(PercentDecoded(strForm)));
        }
    }
    return setPaths;
}

TEST_F(QEL_REMOTE_PLAY_SUITE, HostileSegmentUrisWriteNothingOutsideTheCacheAndStillPlay) {
    const HlsContent& content = HlsContent::Long();
    Serve({});
    // The sandbox as a path from the root of its drive, '/' separated, and with its drive.
    std::string strSandbox = QelString::UnicodeToUtf8(Sandbox());
    std::replace(strSandbox.begin(), strSandbox.end(), '\\', '/');
    const std::string strDrive = strSandbox.size() > 1 && strSandbox[1] == ':' ? strSandbox.substr(0, 2) : "C:";
    const std::string strRooted = strSandbox.size() > 1 && strSandbox[1] == ':' ? strSandbox.substr(2) : strSandbox;

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
    std::string strPlaylist = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n";
    std::map<std::wstring, std::wstring> mapDigests;
    for (size_t i = 0; i < vecUris.size(); ++i) {
        const std::string& strUri = vecUris[i];
        strPlaylist += "#EXTINF:1.000000,\n" + strUri + "\n";
        const std::string strSegmentUrl = strUri.rfind("http://", 0) == 0 ? strUri
                                          : strUri[0] == '/'            ? Server().Url(strUri)
                                                                        : Server().Url("/hls/") + strUri;
        for (const std::string& strPath : ServerPathsOf(strSegmentUrl))
            Server().AddBody(strPath, content.SegmentBytes(static_cast<int>(i)));
        mapDigests[Wide(strSegmentUrl)] = Wide(content.Digest(static_cast<int>(i)));
    }
    strPlaylist += "#EXT-X-ENDLIST\n";
    Server().AddBody("/hls/hostile.m3u8", strPlaylist);
    const std::string strUrl = Server().Url("/hls/hostile.m3u8");
    const std::wstring strFolder = CacheFolder(strUrl);

    // Something to disturb on every level around the root.
    for (const std::wstring& strDecoy : {Sandbox() + L"escape0.ts", Sandbox() + L"outer" + kQelPathSeparator + L"keep",
                                         Sandbox() + L"outer" + kQelPathSeparator + L"middle" + kQelPathSeparator +
                                             L"keep"}) {
        std::ofstream(QelTestTempDir::NativePath(strDecoy)) << "keep";
    }
    const auto before = ListTree(Sandbox(), CacheRoot());

    Play(strUrl, mapDigests);
    ASSERT_TRUE(WaitFor(QEL_VIDEO_STARTED)) << Describe();
    const int nCount = static_cast<int>(vecUris.size());
    // Every segment reported, and nothing but the playlist and the segments in the folder.
    ASSERT_TRUE(PumpUntil([&] {
        return (Count(QEL_VIDEO_DOWNLOAD_SUCCESS) >= 1 + nCount && FilesIn(strFolder).size() == 1u + nCount) ||
               Count(QEL_VIDEO_DOWNLOAD_FAILED) > 0;
    })) << Describe();
    EXPECT_EQ(Count(QEL_VIDEO_DOWNLOAD_FAILED), 0) << Describe() << "\nrequests:\n" << DescribeRequests();
    ExpectPlaysToTheEnd();
    EXPECT_TRUE(engine::OpenedOnceWith(Ansi(strFolder + L"hostile.m3u8"), vecUris.size()));
    m_manager.Stop();

    EXPECT_TRUE(ListTree(Sandbox(), CacheRoot()) == before) << "something changed outside the cache root";
    // Inside the root: the video's folder and nothing else.
    const std::string strVideoFolder = QelString::UnicodeToUtf8(QelFileUtils::GetFileFullName(
        strFolder.substr(0, strFolder.size() - 1)));
    for (const auto& entry : ListTree(CacheRoot()))
        EXPECT_EQ(entry.first.substr(0, strVideoFolder.size()), strVideoFolder) << entry.first;

    // Every segment once in the folder: plain URIs under their own names, the others under
    // names made from them.
    std::multiset<std::string> setDigests;
    static const std::regex kMadeName("[0-9a-f]{32}\\.ts");
    // Escaped dots are no dots to the file system: a plain name, folders and all.
    const std::set<std::string> setPlainNames = {"deep/plain8.ts", "plain11.ts", "%2e%2e/%2e%2e/%2e%2e/%2e%2e/pct6.ts"};
    for (const std::string& strName : FilesIn(strFolder)) {
        if (strName == "hostile.m3u8")
            continue;
        setDigests.insert(Sha256Of(strFolder + Wide(PathOf(strName))));
        EXPECT_TRUE(setPlainNames.count(strName) || std::regex_match(strName, kMadeName)) << strName;
    }
    std::multiset<std::string> setExpected;
    for (int i = 0; i < nCount; ++i)
        setExpected.insert(content.Digest(i));
    EXPECT_EQ(setDigests, setExpected);
    for (const std::string& strName : setPlainNames)
        EXPECT_TRUE(QelFileUtils::IsFileExist(strFolder + Wide(PathOf(strName)))) << strName;
}

}  // namespace
}  // namespace qel::test
