// What the segment download tests share: a cache folder, the loopback server serving the
// ffmpeg-made sample segments as /v/seg0.ts ... (segment i carries the bytes and the real
// SHA-256 of sample segment i % 5), a notify window, the process log read back, and a
// probe of the playback side the package reports to.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "platform/utils/QelTestTempDir.h"
#include "segment_cache/QelTSItem.h"
#include "segment_cache/QelVideoFile.h"
#include "qelserve/QelLoopbackServer.h"
#include "support/TestNotifyWindow.h"
#include "video/QelVideoPlayerManager.h"

namespace qel::test {

using Clock = std::chrono::steady_clock;

// Turns a hang into a failure; never a judgement of speed.
inline constexpr std::chrono::seconds kHangBound{30};

// Polls until the predicate holds; false after the time-out.
bool Eventually(const std::function<bool()>& predicate, std::chrono::milliseconds timeout = kHangBound);

// The process log, opened once per process in a file of its own; a capture reads what was
// written after it was made.
class LogCapture {
public:
    LogCapture();
    std::string Text() const;
    // How many lines contain the text.
    int Count(const std::string& strText) const;

private:
    long long m_llStart;
};

// The sample segment that segment i is made of, and its digest.
std::string SegmentBody(int nIndex);
std::wstring SegmentDigest(int nIndex);

class SegmentFixture : public ::testing::Test {
protected:
    SegmentFixture();

    // Segment i as the server path "/v/seg<i>.ts".
    static std::string SegmentPath(int nIndex);
    std::wstring CachePath(int nIndex) const;
    // Records for segments nFirst .. nFirst + nCount - 1, cached in the folder; with or
    // without their expected digests.
    std::vector<QelTSItem> Items(int nCount, bool bDigests = true, int nFirst = 0) const;
    // Writes the cache file of segment i with the given bytes (its real bytes by default).
    void Cache(int nIndex, const std::string& strBytes) const;
    void Cache(int nIndex) const { Cache(nIndex, SegmentBody(nIndex)); }
    bool IsCached(int nIndex) const;
    // The cache file holds exactly the segment's bytes.
    bool HoldsSegment(int nIndex) const;
    // Names of the files in the cache folder.
    std::set<std::string> CacheFiles() const;
    // Every file in the cache is a whole segment under its own name; nothing else is there.
    ::testing::AssertionResult CacheHoldsOnlyWholeSegments() const;

    // Segment indexes in the order the server received their requests.
    std::vector<int> RequestedSegments() const;
    int RequestsFor(int nIndex) const;
    Clock::time_point RequestTime(int nIndex) const;

    // The messages not taken yet, then those posted until none arrives for the quiet period.
    std::vector<PostedMessage> Drain(std::chrono::milliseconds quiet = std::chrono::milliseconds(300));
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
// player manager on the substitute engine. The manager's StartPlay opens the file in the
// engine and posts QEL_VIDEO_STARTED to the window.
class PlaybackProbe {
public:
    explicit PlaybackProbe(HWND hNotifyWnd);
    ~PlaybackProbe();
    PlaybackProbe(const PlaybackProbe&) = delete;
    PlaybackProbe& operator=(const PlaybackProbe&) = delete;

    QelVideoFile* File() { return m_pFile.get(); }
    // How often the engine was asked to open the video.
    static int Opens();
    // How often the scheduler asked for the start; the Open follows on a thread of its own.
    int Starts() const { return m_pFile->nStarts; }

private:
    struct CountingFile : QelVideoFile {
        using QelVideoFile::QelVideoFile;
        void OnFirstGroupReady() override {
            ++nStarts;
            QelVideoFile::OnFirstGroupReady();
        }
        std::atomic<int> nStarts{0};
    };

    std::unique_ptr<QelVideoPlayerManager> m_pManager;
    std::unique_ptr<CountingFile> m_pFile;
};

}  // namespace qel::test
