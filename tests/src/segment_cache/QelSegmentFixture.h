// What the segment download tests share: a cache folder, the loopback server serving the
// ffmpeg-made sample segments as /v/seg0.ts ... (segment i carries the bytes and the real
// SHA-256 of sample segment i % 5), a notify window, the process log read back, and a
// probe of the playback side the package reports to.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/utils/QelTestTempDir.h"
#include "segment_cache/QelTSItem.h"
#include "segment_cache/QelVideoFile.h"
#include "support/TestEventually.h"
#include "support/TestHttpServer.h"
#include "support/TestNotifyWindow.h"
#include "video/QelVideoPlayerManager.h"

namespace qel::test {

// Turns a hang into a failure; never a judgement of speed.
inline constexpr std::chrono::seconds kHangBound{30};

// The process log (one file per process); a capture reads what was written after it was made.
class LogCapture {
public:
    LogCapture();
    std::string Text() const;
    int Count(const std::string& strText) const;
    // The scheduler's group lines in order, e.g. "new 0:0-1 resume 1:2-4 seek 2:7".
    std::string Groups() const;

private:
    long long m_llStart;
};

std::string SegmentBody(int nIndex);
std::wstring SegmentDigest(int nIndex);

class SegmentFixture : public ::testing::Test {
protected:
    SegmentFixture();

    static std::string SegmentPath(int nIndex);  // "/v/seg<i>.ts"
    std::wstring CachePath(int nIndex) const;
    // Records for segments nFirst .. nFirst + nCount - 1, cached in the folder.
    std::vector<QelTSItem> Items(int nCount, bool bDigests = true, int nFirst = 0) const;
    void Cache(int nIndex, const std::string& strBytes) const;
    void Cache(int nIndex) const { Cache(nIndex, SegmentBody(nIndex)); }
    bool IsCached(int nIndex) const;
    // The cache folder's files, sorted, space-separated; a segment file that does not hold
    // exactly its segment's bytes is marked "!": "seg0.ts seg1.ts!".
    std::string CacheListing() const;
    void ClearCache() const;

    // Segment indexes in the order the server received their requests.
    std::vector<int> RequestedSegments() const;
    int RequestsFor(int nIndex) const;

    // The messages not taken yet, then those posted until none arrives for the quiet period.
    std::vector<PostedMessage> Drain(std::chrono::milliseconds quiet = std::chrono::milliseconds(400));
    // Waits for nCount messages of one number; the others are kept, in order, for later.
    std::vector<PostedMessage> ReceiveN(UINT message, size_t nCount, std::chrono::milliseconds timeout = kHangBound);

    QelTestTempDir m_cache;
    TestHttpServer m_server;
    TestNotifyWindow m_window;
    HWND m_hWnd;
    LogCapture m_log;

private:
    std::deque<PostedMessage> m_dequeKept;
};

// The playback side a package reports its first group to: a plain video file of a video
// player manager on the substitute engine, whose StartPlay opens the file in the engine
// and posts QEL_VIDEO_STARTED to the window.
class PlaybackProbe {
public:
    explicit PlaybackProbe(HWND hNotifyWnd);
    ~PlaybackProbe();
    PlaybackProbe(const PlaybackProbe&) = delete;
    PlaybackProbe& operator=(const PlaybackProbe&) = delete;

    QelVideoFile* File() { return m_pFile.get(); }
    static int Opens();  // how often the engine was asked to open the video

private:
    std::unique_ptr<QelVideoPlayerManager> m_pManager;
    std::unique_ptr<QelVideoFile> m_pFile;
};

}  // namespace qel::test
