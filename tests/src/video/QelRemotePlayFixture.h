// What the remote play tests share, whichever engine they run on: ffmpeg-made HLS videos
// served by the loopback server, a cache root deep inside a scratch folder, a manager that
// posts to a test window, every message that window received in order, listings of the
// file tree, and a run of this same test program as a second process.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/utils/QelTestTempDir.h"
#include "qelserve/QelLoopbackServer.h"
#include "support/TestNotifyWindow.h"
#include "video/QelVideoPlayerManager.h"

namespace qel::test {

// Turns a hang into a failure; never a judgement of speed.
inline constexpr std::chrono::seconds kHangBound{30};

// An HLS video on disk as scripts/make-sample-content.sh makes it: hls/index.m3u8 and
// hls/index<i>.ts (1-second segments), with the digests sha256sum printed for them.
class HlsContent {
public:
    // The 5-second sample of the build tree.
    static const HlsContent& Short();
    // A 24-second video made for these tests when the tests were built.
    static const HlsContent& Long();

    // The folder to serve: it holds hls/.
    std::filesystem::path Root() const;
    int Count() const { return static_cast<int>(m_vecDigests.size()); }
    static std::string SegmentName(int nIndex) { return "index" + std::to_string(nIndex) + ".ts"; }
    std::string SegmentBytes(int nIndex) const;
    std::string PlaylistBytes() const;
    // Lower-case hex, as sha256sum wrote it.
    const std::string& Digest(int nIndex) const { return m_vecDigests.at(static_cast<size_t>(nIndex)); }

private:
    explicit HlsContent(const std::wstring& strRoot);
    std::string FileBytes(const std::string& strRelative) const;

    std::wstring m_strRoot;  // ends with the separator
    std::vector<std::string> m_vecDigests;
};

// What a listing shows of one entry: a folder, or a file with its size and write time.
struct TreeEntry {
    bool bFolder = false;
    long long llSize = 0;
    long long llWriteTime = 0;
    bool operator==(const TreeEntry& other) const {
        return bFolder == other.bFolder && llSize == other.llSize && llWriteTime == other.llWriteTime;
    }
};
// Every entry under strTop by its relative path ('/' separated), leaving out strSkip (a
// folder ending with the separator) and everything in it.
std::map<std::string, TreeEntry> ListTree(const std::wstring& strTop, const std::wstring& strSkip = L"");
// Names of the files under a folder, relative, '/' separated.
std::vector<std::string> FilesIn(const std::wstring& strFolder);
std::string ReadFileBytes(const std::wstring& strPath);

// Runs this test program again as a child process with only the tests the filter names
// and these environment variables added; its exit code (-1 when it cannot start).
int RunThisProgram(const std::string& strFilter, const std::map<std::string, std::string>& mapEnvironment);

class RemotePlayTest : public ::testing::Test {
protected:
    // The update time every test names its cache folder with, unless it sets another.
    static constexpr long long kUpdateTime = 1500000000000LL;
    // The play request's user data: its low 32 bits return with every download success.
    static constexpr long long kUserData = 0x5A00000007LL;
    static constexpr WPARAM kUserDataLow = 7;

    RemotePlayTest();
    ~RemotePlayTest() override;

    // The server for a content folder (the empty path: in-memory bodies only). Made once.
    TestHttpServer& Serve(const std::filesystem::path& root);
    TestHttpServer& Server() { return *m_pServer; }
    // The segment URL -> digest map a host passes to Play.
    std::map<std::wstring, std::wstring> DigestMap(const HlsContent& content, const std::string& strFolderUrl) const;

    // The cache folder of a remote playlist: root + MD5(url#update time) + separator.
    std::wstring CacheFolder(const std::string& strUrl, long long llUpdateTime = kUpdateTime) const;
    const std::wstring& CacheRoot() const { return m_strCacheRoot; }
    const std::wstring& Sandbox() const { return m_sandbox.Path(); }

    // Plays a URL as a player window does, with the test's user data; the window's
    // messages are then answered as that window answers them.
    bool Play(const std::string& strUrl, const std::map<std::wstring, std::wstring>& mapDigests);

    // Takes the window's messages for the time given, keeping them. Taking one plays the
    // player window's part: a QEL_VIDEO_SEEK_TS from the engine makes the segment it names
    // the next download of the video played last.
    void Pump(std::chrono::milliseconds duration);
    // Takes messages until the predicate holds; false when the bound passes first.
    bool PumpUntil(const std::function<bool()>& predicate, std::chrono::milliseconds bound = kHangBound);
    // The first message of that number (and wParam, when given) from the nFrom-th message
    // received on, waiting for it.
    std::optional<PostedMessage> WaitFor(UINT message, std::optional<WPARAM> wParam = std::nullopt,
                                         size_t nFrom = 0, std::chrono::milliseconds bound = kHangBound);
    const std::vector<PostedMessage>& Messages() const { return m_vecMessages; }
    int Count(UINT message) const;
    // The messages received so far, as "SUCCESS(7,1234) STARTED ..." for failure output.
    std::string Describe() const;

    // A seek to segment nIndex, of which llPositionMs is a moment: the engine names the
    // segment it needs and the window makes it the next download. The substitute names
    // none, so the test names it in the engine's place.
    void SeekToSegment(int nIndex, long long llPositionMs);
    // Segments nFirst .. nFirst + nCount - 1 of a sample-made video are in the folder.
    static bool AllCached(const std::wstring& strFolder, int nCount, int nFirst = 0);
    // With a decoding engine: the video plays to its end and the end is reported.
    void ExpectPlaysToTheEnd();

    // Segment indexes in the order their requests reached the server; a path with no
    // index maps to -1.
    std::vector<int> RequestedSegments() const;
    // The paths the server was asked for, in order, for failure output.
    std::string DescribeRequests() const;

private:
    // In this order, so that the manager goes first (joining its downloads), then the
    // window and server it used, then the files.
    QelTestTempDir m_sandbox;
    std::wstring m_strCacheRoot;
    std::unique_ptr<TestHttpServer> m_pServer;
    std::vector<PostedMessage> m_vecMessages;
    std::wstring m_strPlayingUrl;

protected:
    TestNotifyWindow m_window;
    QelVideoPlayerManager m_manager;
};

}  // namespace qel::test
