// The exported class through which every video is played. A player window owns one by
// value, names its windows (SetHWnd) and render area (SetRendArea), and calls Play, Pause,
// Resume, Seek and Stop. The manager drives the video engine through an opaque handle and
// owns the video files that cache remote HLS videos.
//
// Copies: a copy is another handle to the same player. Every call on any copy acts on the
// one engine player, the one current video and the same settings and cache folders; the
// player ends with its last handle.
//
// Threads: any member may be called from any thread. Play, Stop and the cache calls are
// taken one at a time. An HLS video starts on a thread of the component once its first
// segments are cached; while its engine Open is under way (up to the engine's time-out),
// the queries, Stop and Play of another video answer at once, and a start that Stop or a
// newer Play overtook closes what it opened and posts nothing.
//
// No exception leaves a member: one thrown inside is logged and the member returns its
// failure value (false, 0 or an empty string).
#pragma once

#include <map>
#include <memory>
#include <string>

#include "QelExport.h"
#include "video/QelVideoEngine.h"
#include "winapi/QelWinApi.h"

class QelVideoFile;
class QelVideoPlayback;

class QEL_API QelVideoPlayerManager {
public:
    QelVideoPlayerManager();
    // Neither closes the engine player nor stops anything: the owner calls Stop first.
    // The last handle ends the video files, joining their threads, and waits for a start
    // whose engine Open is under way (bounded by the engine); that start, and any start
    // not made yet, then opens nothing that stays open.
    ~QelVideoPlayerManager();
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

    // Opens the file's local path in the engine and starts playback, on a thread of its
    // own: a video file's segment package calls this once the first group is cached. Play
    // opens plain videos itself.
    void StartPlay(QelVideoFile* pFile);
    // Root + MD5(url#update time) + separator + file name; names the video's folder too.
    std::wstring GetDownloadPath(const std::string& strFileName, const std::string& strUrl);
    void NotifyDownloadSuccess(int nIndex, long long llSize);
    void NotifyDownloadFailed(int nType, int nIndex);

private:
    friend class QelVideoPlayback;

    // The handle a player gives its own video files: it does not keep the player alive.
    explicit QelVideoPlayerManager(QelVideoPlayback* pPlayback);

    std::shared_ptr<QelVideoPlayback> m_pOwner;  // empty in a player's own handle
    QelVideoPlayback* m_pPlayback;               // null only when construction failed
};
