// One video player: what a QelVideoPlayerManager and all its copies share. It holds the
// engine player and the facts read from it, the windows and settings, the cache folders
// and the video files, and it carries out every call of the manager.
//
// Threads. Play, Stop and the cache calls are taken one at a time (the call lock); the
// engine player and its facts change under the engine lock, which is never held across
// the engine's Open. A start that the segment scheduler asks for opens the engine on a
// start thread of its own. A start has lost when Stop (also the one inside Play) came
// after it began: it then opens nothing or closes what it opened, and posts nothing; and
// a start never replaces an open player.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "segment_cache/QelSegmentList.h"
#include "video/QelStartThreads.h"
#include "video/QelVideoEngine.h"
#include "video/QelVideoPlayerManager.h"
#include "winapi/QelWinApi.h"

class QelVideoFile;

class QelVideoPlayback {
public:
    explicit QelVideoPlayback(const std::wstring& strDownloadPath);
    // Makes every start still under way lose, deletes the video files (joining their
    // threads), then waits for the starts still in the engine's Open.
    ~QelVideoPlayback();
    QelVideoPlayback(const QelVideoPlayback&) = delete;
    QelVideoPlayback& operator=(const QelVideoPlayback&) = delete;

    bool Play(const std::wstring& url, const std::map<std::wstring, std::wstring>& mapSha256, long long llUserData);
    // A start asked for by a video file's scheduler: the engine is opened on a start thread.
    void StartPlay(QelVideoFile* pFile);
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

    void SetVideoDownloadPath(const std::wstring& strPath);
    void GetVideoDownloadPath(std::wstring& strPath);
    std::wstring GetM3u8File(const std::wstring& url);
    void UpdateDownloadPriority(const std::wstring& url, int nTSIndex);
    std::wstring GetDownloadPath(const std::string& strFileName, const std::string& strUrl);

    void NotifyDownloadSuccess(int nIndex, long long llSize);
    void NotifyDownloadFailed(int nType, int nIndex);

private:
    // What a start needs of its video file, taken while the file is certainly there.
    struct StartRequest {
        std::wstring strLocalPath;
        std::string strPathA;
        QelSegmentList pItems;
        bool bM3u8 = false;
        int nDuration = 0;             // whole seconds, for a playlist
        std::uint64_t nGeneration = 0;  // the Stop count it began after
    };

    // False when the video's start has been withdrawn.
    bool PrepareStart(QelVideoFile* pFile, StartRequest& request);
    // The engine's Open outside the engine lock, then the rest of the start, or the close
    // of what a lost start opened.
    void RunStart(const StartRequest& request);
    // Under the engine lock.
    void CommitStart(QelVideoPlayerHandle hOpened, const StartRequest& request);
    // Play's own start, on the caller's thread.
    void StartPlayNow(QelVideoFile* pFile);
    // Under the call lock.
    void StopVideo();
    std::wstring DownloadPathOf(const std::string& strFileName, const std::string& strUrl);
    // Under the engine lock.
    void ApplyRenderArea();
    void SetDuration(long long llDuration);

    std::mutex m_callMutex;
    std::mutex m_engineMutex;

    // Under the engine lock.
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
    // Raised by every Stop: a start that began before it has lost.
    std::uint64_t m_nStartGeneration;

    // Under the call lock.
    std::wstring m_strDownloadPath;
    std::wstring m_strVideoDownloadPath;
    long long m_llVideoUpdateTime;
    std::map<std::wstring, QelVideoFile*> m_mapVideoFiles;  // owned
    QelVideoFile* m_pCurVideoFile;

    // The manager the video files report to: it lives as long as the files.
    QelVideoPlayerManager m_anchor;
    QelStartThreads m_starts;
};
