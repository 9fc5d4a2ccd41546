// What the segment download tests share beyond the HLS fixture: a cache folder, the
// ffmpeg-made sample segments served as /v/seg0.ts ... (segment i carries the bytes and the
// real SHA-256 of sample segment i % 5), their records, and a probe of the playback side
// the package reports to.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "QelHlsFixture.h"
#include "platform/utils/QelTestTempDir.h"
#include "segment_cache/QelTSItem.h"
#include "segment_cache/QelVideoFile.h"
#include "video/QelVideoPlayerManager.h"

namespace qel::test {

std::string SegmentBody(int nIndex);
std::wstring SegmentDigest(int nIndex);

class SegmentFixture : public HlsFixture {
protected:
    explicit SegmentFixture(WPARAM wUserDataLow = 0);

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

    QelTestTempDir m_cache;
    TestHttpServer& m_server;
    HWND m_hWnd;
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
