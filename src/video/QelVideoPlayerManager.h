// The exported class through which every video is played. A player window owns one by
// value, names its windows (SetHWnd) and render area (SetRendArea), and calls Play, Pause,
// Resume, Seek and Stop. The manager drives the video engine through an opaque handle and
// owns the video files that cache remote HLS videos.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "QelExport.h"
#include "video/QelVideoEngine.h"
#include "winapi/QelWinApi.h"

class QelVideoFile;
class QelVideoFileSet;

class QEL_API QelVideoPlayerManager {
public:
    QelVideoPlayerManager();
    // Neither closes the engine player nor stops anything: the owner calls Stop first.
    // The video files go with the last copy of this manager (their workers call back into
    // it), joining their threads.
    ~QelVideoPlayerManager();
    // Member-wise: the video files are shared, not duplicated.
    QelVideoPlayerManager(const QelVideoPlayerManager& other) = default;
    QelVideoPlayerManager& operator=(const QelVideoPlayerManager& other) = default;

    // Stops the current video and opens url. Always true: failures arrive as messages.
    bool Play(const std::wstring& url, const std::map<std::wstring, std::wstring>& mapSha256, long long llUserData);
    void Stop();
    void Pause();
    void Resume();
    void Seek(long long llPos);

    long long GetCurPosition();
    long long GetVideoDuration();
    int GetVideoWidth();
    int GetVideoHeight();
    bool IsOpenFile();
    bool IsPlaying();
    bool IsPaused();
    bool IsCaching();

    void SetAudioVolume(int nVolume);
    int GetAudioVolume();
    void SetRenderType(int nType);
    void SetVideoSpeed(int nPercent);
    void SetHWnd(HWND hNotifyWnd, HWND hRenderWnd);
    void SetRendArea(RECT rc);
    void SetVideoUpdateTime(long long llMilliSeconds);

    // The cache root; '/' become separators, one is appended, the folder is created.
    // An empty path changes nothing.
    void SetVideoDownloadPath(const std::wstring& strPath);
    // The cache folder of the video last named.
    void GetVideoDownloadPath(std::wstring& strPath);
    // The cached playlist of url when it is on disk, else empty.
    std::wstring GetM3u8File(const std::wstring& url);
    // Fetches the group of segment nTSIndex of url's video next (after a seek).
    void UpdateDownloadPriority(const std::wstring& url, int nTSIndex);

protected:
    friend class QelVideoFile;

    // Opens the file's local path in the engine and starts playback. Called by Play and,
    // for HLS videos, on the segment package's thread once the first group is cached.
    void StartPlay(QelVideoFile* pFile);
    // Root + MD5(url#update time) + separator + file name; names the video's folder too.
    std::wstring GetDownloadPath(const std::string& strFileName, const std::string& strUrl);
    void NotifyDownloadSuccess(int nIndex, long long llSize);
    void NotifyDownloadFailed(int nType, int nIndex);

private:
    void ApplyRenderArea();

    // StartPlay may run on a worker thread while the UI thread stops, seeks or plays: the
    // engine handle and the facts read from it change under this lock only. The video
    // files and their map are the UI thread's alone. Copies get a lock of their own.
    struct Lock {
        Lock() = default;
        Lock(const Lock&) {}
        Lock& operator=(const Lock&) { return *this; }
        std::recursive_mutex mutex;
    };

    QelVideoPlayerHandle m_hPlayer;
    HWND m_hNotifyWnd;
    HWND m_hRenderWnd;
    bool m_bPlaying;
    RECT m_rcRender;
    int m_nRenderType;
    int m_nAudioVolume;
    long long m_llVideoDuration;
    int m_nVideoWidth;
    int m_nVideoHeight;
    std::wstring m_strDownloadPath;
    std::wstring m_strVideoDownloadPath;
    long long m_llVideoUpdateTime;
    std::map<std::wstring, QelVideoFile*> m_mapVideoFiles;
    QelVideoFile* m_pCurVideoFile;
    mutable Lock m_lock;
    // Every video file this manager and its copies created and have not deleted yet.
    std::shared_ptr<QelVideoFileSet> m_pOwnedFiles;
};
