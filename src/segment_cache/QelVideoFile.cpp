#include "segment_cache/QelVideoFile.h"

#include "log/QelLog.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"
#include "video/QelVideoPlayerManager.h"

QelVideoFile::QelVideoFile(QelVideoPlayerManager* pManager, const std::wstring& strUrl, const std::wstring& strLocalPath,
                           const HWND* pNotifyWnd, const std::map<std::wstring, std::wstring>& mapSha256,
                           long long llUserData)
    : m_pManager(pManager),
      m_hNotifyWnd(pNotifyWnd ? *pNotifyWnd : nullptr),
      m_bM3u8(false),
      m_bParsed(false),
      m_http(true, 3, 10),
      m_llUserData(llUserData),
      m_mapSha256(mapSha256) {
    m_strLocalPath = strLocalPath;
    m_strUrl = strUrl;
    m_strDirectory = QelFileUtils::GetDirectoryPath(m_strLocalPath);
    if (!m_strLocalPath.empty())
        m_bM3u8 = QelString::ToLower(QelFileUtils::GetFileExtension(m_strLocalPath)) == L"m3u8";
}

QelVideoFile::~QelVideoFile() = default;

void QelVideoFile::OnFirstGroupReady() {
    if (m_pManager)
        m_pManager->StartPlay(this);
}

void QelVideoFile::SetSha256Map(const std::map<std::wstring, std::wstring>& mapSha256) {
    if (&mapSha256 == &m_mapSha256)
        return;
    m_mapSha256.clear();
    m_mapSha256 = mapSha256;
}

void QelVideoFile::StopDownload() {
    QEL_LOG << "Stop download";
}

int QelVideoFile::GetDuration() const {
    return 0;
}

std::wstring QelVideoFile::GetTSLocalPath(const std::string& strUri) const {
    return m_strDirectory + kQelPathSeparator + QelString::Utf8ToUnicode(strUri);
}
