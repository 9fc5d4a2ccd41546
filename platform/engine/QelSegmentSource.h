// The segments of an HLS video read back to back as one MPEG-TS byte stream, straight from
// their cache files. A segment not on disk yet is waited for (the downloader moves each
// file into place whole); one that can never play (no path, unreadable, not TS) is
// skipped. The playlist file itself is never read.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "segment_cache/QelTSItem.h"
#include "utils/QelFile.h"

class QelSegmentSource {
public:
    // Copies what it needs: the cache path, the duration and the index of each segment.
    explicit QelSegmentSource(const std::vector<QelTSItem>& vecItems);
    QelSegmentSource(const QelSegmentSource&) = delete;
    QelSegmentSource& operator=(const QelSegmentSource&) = delete;

    // The playlist's time line: durations that are not positive numbers count as 0.
    std::size_t Count() const { return m_vecSegments.size(); }
    std::int64_t DurationMs() const { return m_vecStartMs.back(); }
    // Start of a segment on the time line; Count() gives the duration.
    std::int64_t StartMs(std::size_t nPos) const;
    // Position in the list of the segment that holds a time (the last one past the end).
    std::size_t PosAt(std::int64_t llMs) const;
    // The segment's own index, as the downloads know it.
    int IndexOf(std::size_t nPos) const;
    // Its cache file; empty when it has none.
    const std::wstring& PathOf(std::size_t nPos) const { return m_vecSegments[nPos].strPath; }

    // Where the next stream starts; lifts Abort. Call it while no stream is open.
    void Rewind(std::size_t nPos);
    // A waiting Read returns at once, and every Read fails until the next Rewind.
    void Abort();

    // The stream, used by one reader at a time between Open and Close.
    void Open();
    // Bytes read, 0 at the end of the last segment, -1 once aborted.
    long long Read(unsigned char* pBuffer, std::size_t nLength);
    // Back or forth within the bytes this stream has already delivered.
    bool Seek(std::uint64_t llOffset);
    void Close();

    // A Read is waiting for a segment that is not on disk yet.
    bool IsWaiting() const { return m_bWaiting; }
    // Called on the reading thread, with the segment's own index, when a Read has waited a
    // second for a segment; it returns whether it told anyone, and is called again on the
    // next look until it has (a wait that began before playback was asked for still counts).
    // Set it before the first Open.
    void SetMissingSegmentHandler(std::function<bool(int nIndex)> onMissing) { m_onMissing = std::move(onMissing); }
    // Bytes delivered since the stream was opened.
    std::uint64_t BytesRead() const { return m_llBytesRead; }

private:
    struct Segment {
        std::wstring strPath;
        int nIndex = 0;
    };
    // A segment this stream has opened, where its bytes lie in the stream.
    struct Visited {
        std::size_t nPos = 0;
        std::uint64_t llStart = 0;
        std::uint64_t llSize = 0;
    };
    enum class OpenResult { Opened, Skip, Missing };

    OpenResult OpenSegment(std::size_t nPos);
    void WaitForFile();

    std::vector<Segment> m_vecSegments;
    std::vector<std::int64_t> m_vecStartMs;  // one more than segments: the end

    // The reader's own state.
    QelFile m_file;
    std::size_t m_nNext = 0;     // next segment to open
    std::uint64_t m_llOffset = 0;
    std::vector<Visited> m_vecVisited;

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::size_t m_nStart = 0;
    bool m_bAborted = false;
    std::atomic<bool> m_bWaiting{false};
    std::function<bool(int)> m_onMissing;
    std::chrono::steady_clock::time_point m_waitStart;
    bool m_bMissingReported = false;
    std::atomic<std::uint64_t> m_llBytesRead{0};
};
