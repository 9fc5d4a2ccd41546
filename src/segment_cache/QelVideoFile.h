// One video opened by QelVideoPlayerManager::Play. For a plain video it only carries the
// path. For an HLS playlist it gets the playlist into the cache (downloading it on a thread
// of its own when it is not there yet), reads it plain or packed, turns its entries into the
// segment list and hands that to its segment package, which starts playback through the
// manager once the first two segments are cached.
//
// Threads: the playlist is parsed on the download thread or on the caller of the
// constructor or Reparse, while the UI thread seeks and stops and the package's scheduler
// reads the segment list to start playback; every member may be called meanwhile.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "http/QelHttp.h"
#include "segment_cache/QelHlsParser.h"
#include "segment_cache/QelSegmentList.h"
#include "segment_cache/QelTSItem.h"
#include "utils/QelInstantThread.h"
#include "winapi/QelWinApi.h"

class QelVideoPlayerManager;
class QelTSPackage;

class QelVideoFile : public QelHlsParser {
public:
    // pNotifyWnd is read once, here. A cached playlist is loaded now, on this thread; a
    // missing one is downloaded on the video file's own thread. A playlist file larger than
    // qel::kMaxPlaylistBytes (64 MiB), or packed with a larger text, is not read: it is
    // logged and nothing plays.
    QelVideoFile(QelVideoPlayerManager* pManager, const std::wstring& strUrl, const std::wstring& strLocalPath,
                 const HWND* pNotifyWnd, const std::map<std::wstring, std::wstring>& mapSha256, long long llUserData);
    // Deletes the package (stopping and joining its downloads), then ends the playlist
    // download before the rest goes.
    virtual ~QelVideoFile();
    QelVideoFile(const QelVideoFile&) = delete;
    QelVideoFile& operator=(const QelVideoFile&) = delete;

    // The package's scheduler calls this once the first two segments are on disk. Virtual
    // so that a test can watch the moment.
    virtual void OnFirstGroupReady();

    std::wstring GetLocalPath() const { return m_strLocalPath; }
    std::vector<QelTSItem> GetTSItems() const;
    // The same records, shared rather than copied: what the engine is opened with.
    QelSegmentList GetSegmentList() const;
    bool IsM3u8() const { return m_bM3u8; }
    void SetSha256Map(const std::map<std::wstring, std::wstring>& mapSha256);
    void StopDownload();
    // The playlist's total duration in whole seconds; 0 until a playlist is parsed.
    int GetDuration() const;
    // The cache file of a segment: the video's folder, a separator, the uri when it is a
    // plain relative path (otherwise a name made from it that stays inside the folder).
    std::wstring GetTSLocalPath(const std::string& strUri) const;

    // Rebuilds the segment list from the cached playlist, or downloads it again.
    void Reparse();
    // Fetches the group of that segment next.
    void UpdateDownloadPriority(int nTSIndex);

    // Whether the manager still wants this video to start: its Stop withdraws the start,
    // its Play grants it again, and a start that finds it withdrawn opens nothing. Granted
    // from construction.
    void SetStartAllowed(bool bAllowed) { m_bStartAllowed = bAllowed; }
    bool IsStartAllowed() const { return m_bStartAllowed; }

protected:
    void OnParsed(bool bStreamInf, long long llMediaSequence, QelHlsItemMap& mapItems) override;

private:
    void DownloadM3u8(void* pParam);
    void LoadLocalM3u8(const std::string& strUrl, const std::wstring& strLocalPath);
    void StartPlaylistDownload();
    void HandSegmentsToPackage();
    static bool IsPlaylistPath(const std::wstring& strLocalPath);

protected:
    QelVideoPlayerManager* m_pManager;
    HWND m_hNotifyWnd;
    std::wstring m_strDirectory;
    std::wstring m_strLocalPath;
    std::wstring m_strUrl;
    std::atomic<bool> m_bM3u8;
    bool m_bParsed;
    QelHttp m_http;
    QelInstantThread m_downloadThread;
    QelTSItem m_m3u8Item;
    // Replaced whole by each parse, never changed in place.
    QelSegmentList m_vecTSItems;
    // Made by the first parse, on whichever thread parses first.
    std::atomic<QelTSPackage*> m_pTSPackage;
    long long m_llUserData;
    std::map<std::wstring, std::wstring> m_mapSha256;

private:
    // Guards the parser, the segment list, the digest map and the parse results: the
    // playlist is parsed on the download thread or the UI thread while the package's
    // worker reads the duration and the segment list to start playback.
    mutable std::recursive_mutex m_parseMutex;
    // The package is made once, whichever thread parses first.
    std::mutex m_packageMutex;
    std::atomic<bool> m_bStartAllowed{true};
    bool m_bSegmentsParsed = false;
    std::string m_strBestVariantUrl;  // a master playlist's best variant; never played

    // Makes a playlist download in flight give up when the video file goes.
    struct StopFlag : QelHttpDownloadProgressCallback {
        std::atomic<bool> bStop{false};
        bool OnDownloadProgress(long long, long long, void*) override { return bStop; }
    };
    StopFlag m_downloadStop;
};
