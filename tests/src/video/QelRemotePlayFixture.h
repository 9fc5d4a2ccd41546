// What the remote play tests share, whichever engine they run on: the HLS fixture, ffmpeg-made
// HLS videos served by the loopback server, a cache root deep inside a scratch folder, a
// manager that posts to the test window, listings of the file tree, and a run of this same
// test program as a second process.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "QelHlsFixture.h"
#include "platform/utils/QelTestTempDir.h"
#include "video/QelVideoPlayerManager.h"

namespace qel::test {

// An HLS video on disk as scripts/make-sample-content.sh makes it: hls/index.m3u8 and
// hls/index<i>.ts (1-second segments), with the digests sha256sum printed for them.
class HlsContent {
public:
    static const HlsContent& Short();  // the 5-second sample of the build tree
    static const HlsContent& Long();   // a 24-second video made for these tests

    std::filesystem::path Root() const;  // the folder to serve: it holds hls/
    int Count() const { return static_cast<int>(m_vecDigests.size()); }
    static std::string SegmentName(int nIndex) { return "index" + std::to_string(nIndex) + ".ts"; }
    std::string SegmentBytes(int nIndex) const;
    std::string PlaylistBytes() const;
    const std::string& Digest(int nIndex) const { return m_vecDigests.at(static_cast<size_t>(nIndex)); }

private:
    explicit HlsContent(const std::wstring& strRoot);

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
std::string Sha256Of(const std::wstring& strPath);

// Runs this test program again as a child process with only the tests the filter names
// and these environment variables added; its exit code (-1 when it cannot start).
int RunThisProgram(const std::string& strFilter, const std::map<std::string, std::string>& mapEnvironment);

class RemotePlayTest : public HlsFixture {
protected:
    // The update time every test names its cache folder with, unless it sets another.
    static constexpr long long kUpdateTime = 1500000000000LL;
    // The play request's user data: its low 32 bits return with every download success.
    static constexpr long long kUserData = 0x5A00000007LL;

    RemotePlayTest();
    ~RemotePlayTest() override;

    // The segment URL -> digest map a host passes to Play.
    std::map<std::wstring, std::wstring> DigestMap(const HlsContent& content, const std::string& strFolderUrl) const;
    // The cache folder of a remote playlist: root + MD5(url#update time) + separator.
    std::wstring CacheFolder(const std::string& strUrl, long long llUpdateTime = kUpdateTime) const;
    const std::wstring& CacheRoot() const { return m_strCacheRoot; }
    const std::wstring& Sandbox() const { return m_sandbox.Path(); }

    // Plays a URL as a player window does, with the test's user data; the window's
    // messages are then answered as that window answers them: a QEL_VIDEO_SEEK_TS from the
    // engine makes the segment it names the next download.
    bool Play(const std::string& strUrl, const std::map<std::wstring, std::wstring>& mapDigests);
    void OnMessage(const PostedMessage& message) override;
    // Serves a playlist of the long video's segments under these URIs, each segment under
    // every path a request for it may reach the server by, whatever the HTTP client makes
    // of dot segments, backslashes, escapes and fragments; plays it with their digests and
    // waits for the start. Its URL.
    std::string ServeHostilePlaylist(const std::vector<std::string>& vecUris);
    // A seek to segment nIndex, of which llPositionMs is a moment: the engine names the
    // segment it needs and the window makes it the next download. The substitute names
    // none, so the test names it in the engine's place.
    void SeekToSegment(int nIndex, long long llPositionMs);
    // Segments nFirst .. nFirst + nCount - 1 of a sample-made video are in the folder.
    static bool AllCached(const std::wstring& strFolder, int nCount, int nFirst = 0);
    // The folder holds the playlist as served and segments 0 .. nCount - 1 under their own
    // names, each with its published digest, and nothing else.
    static ::testing::AssertionResult HoldsPlaylistAndSegments(const std::wstring& strFolder, const std::string& strPlaylist,
                                                               const std::string& strPlaylistBytes,
                                                               const HlsContent& content, int nCount);
    // Playback was started once in this test, on this playlist with this many segments (the
    // manager's log line on either engine, the substitute's record of the Open besides).
    ::testing::AssertionResult OpenedOnceWith(const std::wstring& strPlaylist, size_t nSegments) const;
    ::testing::AssertionResult NeverOpened();
    // With a decoding engine: the video plays to its end and the end is reported.
    void ExpectPlaysToTheEnd();

private:
    // In this order, so that the manager goes first (joining its downloads), then the
    // window and server it used, then the files.
    QelTestTempDir m_sandbox;
    std::wstring m_strCacheRoot;
    std::wstring m_strPlayingUrl;

protected:
    QelVideoPlayerManager m_manager;
};

}  // namespace qel::test
