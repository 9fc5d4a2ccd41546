// One video opened by QelVideoPlayerManager::Play: the holder of its path and, for an HLS
// playlist, of its segment list.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "http/QelHttp.h"
#include "segment_cache/QelTSItem.h"
#include "utils/QelInstantThread.h"
#include "winapi/QelWinApi.h"

class QelVideoPlayerManager;

class QelVideoFile {
public:
    // pNotifyWnd is read once, here.
    QelVideoFile(QelVideoPlayerManager* pManager, const std::wstring& strUrl, const std::wstring& strLocalPath,
                 const HWND* pNotifyWnd, const std::map<std::wstring, std::wstring>& mapSha256, long long llUserData);
    virtual ~QelVideoFile();
    QelVideoFile(const QelVideoFile&) = delete;
    QelVideoFile& operator=(const QelVideoFile&) = delete;

    // The package's scheduler calls this once the first two segments are on disk.
    void OnFirstGroupReady();

    std::wstring GetLocalPath() const { return m_strLocalPath; }
    std::vector<QelTSItem> GetTSItems() const { return m_vecTSItems; }
    bool IsM3u8() const { return m_bM3u8; }
    void SetSha256Map(const std::map<std::wstring, std::wstring>& mapSha256);
    void StopDownload();
    // The playlist's total duration in whole seconds; 0 until a playlist is parsed.
    int GetDuration() const;
    // The cache file of a segment: the video's folder, a separator, the uri.
    std::wstring GetTSLocalPath(const std::string& strUri) const;

protected:
    QelVideoPlayerManager* m_pManager;
    HWND m_hNotifyWnd;
    std::wstring m_strDirectory;
    std::wstring m_strLocalPath;
    std::wstring m_strUrl;
    bool m_bM3u8;
    bool m_bParsed;
    QelHttp m_http;
    QelInstantThread m_downloadThread;
    QelTSItem m_m3u8Item;
    std::vector<QelTSItem> m_vecTSItems;
    long long m_llUserData;
    std::map<std::wstring, std::wstring> m_mapSha256;
};
