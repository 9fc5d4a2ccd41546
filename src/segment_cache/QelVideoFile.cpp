#include "segment_cache/QelVideoFile.h"

#include <exception>

#include "log/QelLog.h"
#include "segment_cache/QelCacheTemporary.h"
#include "segment_cache/QelPackedPlaylist.h"
#include "segment_cache/QelSegmentFileName.h"
#include "segment_cache/QelTSPackage.h"
#include "utils/QelFile.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"
#include "video/QelVideoPlayerManager.h"

QelVideoFile::QelVideoFile(QelVideoPlayerManager* pManager, const std::wstring& strUrl, const std::wstring& strLocalPath,
                           const HWND* pNotifyWnd, const std::map<std::wstring, std::wstring>& mapSha256,
                           long long llUserData)
    : m_pManager(pManager),
      m_hNotifyWnd(pNotifyWnd ? *pNotifyWnd : nullptr),
      m_bM3u8(false),
      m_bParsed(false),
      m_http(true, 3, 10),
      m_vecTSItems(QelNoSegments()),
      m_pTSPackage(nullptr),
      m_llUserData(llUserData),
      m_mapSha256(mapSha256) {
    m_strLocalPath = strLocalPath;
    m_strUrl = strUrl;
    m_strDirectory = QelFileUtils::GetDirectoryPath(m_strLocalPath);
    m_bM3u8 = IsPlaylistPath(m_strLocalPath);
    if (!m_bM3u8)
        return;
    if (!m_strLocalPath.empty() && QelFileUtils::IsFileExist(m_strLocalPath))
        LoadLocalM3u8(QelString::UnicodeToUtf8(m_strUrl), m_strLocalPath);
    else if (!m_strUrl.empty())
        StartPlaylistDownload();
}

QelVideoFile::~QelVideoFile() {
    // The download thread parses and creates the package: end it first, then the package
    // stops and joins its own threads.
    m_downloadStop.bStop = true;
    m_http.Abort();
    m_downloadThread.Join();
    delete m_pTSPackage.exchange(nullptr);
}

bool QelVideoFile::IsPlaylistPath(const std::wstring& strLocalPath) {
    return !strLocalPath.empty() && QelString::ToLower(QelFileUtils::GetFileExtension(strLocalPath)) == L"m3u8";
}

void QelVideoFile::StartPlaylistDownload() {
    m_m3u8Item.bAutoLoad = true;
    m_m3u8Item.strUrl = QelString::UnicodeToUtf8(m_strUrl);
    m_m3u8Item.strUri = QelString::UnicodeToUtf8(QelFileUtils::GetFileFullName(m_strUrl));
    m_m3u8Item.strLocalPath = m_strLocalPath;
    m_downloadThread.Create([this](void* pParam) { DownloadM3u8(pParam); }, this, false);
}

void QelVideoFile::DownloadM3u8(void* /*pParam*/) {
    QelCacheTemporary::RemoveLeftovers(m_m3u8Item.strLocalPath);
    if (!QelFileUtils::IsFileExist(m_m3u8Item.strLocalPath)) {
        QelCacheTemporary temporary(m_m3u8Item.strLocalPath);
        m_http.SetDownloadProgressCallback(&m_downloadStop, nullptr);
        if (!m_http.DoHttpGetFile(m_m3u8Item.strUrl, temporary.PathA(), true, 10)) {
            QEL_LOG << "Download m3u8 failed, " << m_m3u8Item.strUrl;
            if (m_hNotifyWnd)
                PostMessageW(m_hNotifyWnd, QEL_VIDEO_DOWNLOAD_FAILED, 0, 0);
            return;
        }
        if (temporary.MoveIntoPlace() && m_hNotifyWnd) {
            const long long llSize = QelFileUtils::GetFileSize(m_m3u8Item.strLocalPath);
            PostMessageW(m_hNotifyWnd, QEL_VIDEO_DOWNLOAD_SUCCESS, static_cast<WPARAM>(static_cast<std::uint32_t>(m_llUserData)),
                         static_cast<LPARAM>(static_cast<std::uint32_t>(llSize)));
        }
    }
    if (m_m3u8Item.bAutoLoad && !m_downloadStop.bStop)
        LoadLocalM3u8(m_m3u8Item.strUrl, m_m3u8Item.strLocalPath);
}

void QelVideoFile::LoadLocalM3u8(const std::string& strUrl, const std::wstring& strLocalPath) {
    QelFile file;
    if (!file.Open(strLocalPath, false))
        return;
    const long long llSize = file.GetSize();
    if (llSize <= 0)
        return;
    // Read whole on the UI thread for a cached playlist: its size is bounded before.
    if (llSize > static_cast<long long>(qel::kMaxPlaylistBytes)) {
        QEL_LOG << "Playlist too large, nothing parsed:" << strLocalPath << ", size:" << llSize;
        return;
    }
    std::string strBytes(static_cast<std::size_t>(llSize), '\0');
    strBytes.resize(file.Read(strBytes.data(), strBytes.size()));
    file.Close();
    bool bSegmentsReady = false;
    {
        std::lock_guard<std::recursive_mutex> lock(m_parseMutex);
        m_bSegmentsParsed = false;
        try {
            Parse(strUrl, qel::PlaylistFileText(strBytes));
        } catch (const std::exception& e) {
            // A line that begins or ends with byte 255 cannot be trimmed, and a playlist may
            // not fit in memory: either way the video plays nothing.
            QEL_LOG << "Unreadable playlist, nothing parsed:" << strLocalPath << ", " << e.what();
        }
        bSegmentsReady = m_bSegmentsParsed;
    }
    // Outside the parse lock: the package's worker asks for the duration when it starts
    // playback, and the package may wait for that worker.
    if (bSegmentsReady)
        HandSegmentsToPackage();
}

void QelVideoFile::HandSegmentsToPackage() {
    QelTSPackage* pPackage = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_packageMutex);
        pPackage = m_pTSPackage.load();
        if (!pPackage) {
            pPackage = new QelTSPackage(this, &m_hNotifyWnd, 0, m_llUserData);
            m_pTSPackage = pPackage;
        }
    }
    pPackage->SetTSItems(GetSegmentList());
}

int QelVideoFile::GetDuration() const {
    std::lock_guard<std::recursive_mutex> lock(m_parseMutex);
    return QelHlsParser::GetDuration();
}

std::vector<QelTSItem> QelVideoFile::GetTSItems() const {
    return *GetSegmentList();
}

QelSegmentList QelVideoFile::GetSegmentList() const {
    std::lock_guard<std::recursive_mutex> lock(m_parseMutex);
    return m_vecTSItems;
}

void QelVideoFile::OnParsed(bool bStreamInf, long long /*llMediaSequence*/, QelHlsItemMap& mapItems) {
    m_bParsed = true;
    if (bStreamInf) {
        // A master playlist: the best variant is noted, nothing more; nothing plays.
        if (!mapItems.empty())
            m_strBestVariantUrl = mapItems.rbegin()->second.strUrl;
        return;
    }
    // A parse adds to the list; only Reparse empties it. The entries are the parser's to
    // give away: their strings move into the records.
    auto pItems = std::make_shared<std::vector<QelTSItem>>();
    pItems->reserve(m_vecTSItems->size() + mapItems.size());
    pItems->assign(m_vecTSItems->begin(), m_vecTSItems->end());
    int nIndex = 0;
    for (auto& entry : mapItems) {
        QelHlsItem& hlsItem = entry.second;
        QelTSItem& item = pItems->emplace_back();
        item.bAutoLoad = false;
        item.nIndex = nIndex++;
        item.fDuration = hlsItem.fDuration;
        item.strPlaylistUrl = std::move(hlsItem.strPlaylistUrl);
        item.strUrl = std::move(hlsItem.strUrl);
        item.strUri = std::move(hlsItem.strUri);
        item.strLocalPath = GetTSLocalPath(item.strUri);
        item.strLocalPathA = QelString::UnicodeToAnsi(item.strLocalPath);
        auto digest = m_mapSha256.find(QelString::Utf8ToUnicode(item.strUrl));
        if (digest != m_mapSha256.end())
            item.strSha256 = digest->second;
    }
    m_vecTSItems = std::move(pItems);
    m_bSegmentsParsed = true;
}

void QelVideoFile::Reparse() {
    QEL_LOG << "Re-parse video:" << m_strLocalPath;
    {
        std::lock_guard<std::recursive_mutex> lock(m_parseMutex);
        m_vecTSItems = QelNoSegments();
    }
    m_bM3u8 = IsPlaylistPath(m_strLocalPath);
    if (!m_bM3u8)
        return;
    if (QelFileUtils::IsFileExist(m_strLocalPath)) {
        LoadLocalM3u8(QelString::UnicodeToUtf8(m_strUrl), m_strLocalPath);
    } else if (!m_strUrl.empty() && !m_downloadThread.IsRunning()) {
        m_downloadThread.Join();
        StartPlaylistDownload();
    }
}

void QelVideoFile::UpdateDownloadPriority(int nTSIndex) {
    if (QelTSPackage* pPackage = m_pTSPackage.load())
        pPackage->CreateTSGroup(nTSIndex);
}

void QelVideoFile::OnFirstGroupReady() {
    if (m_pManager)
        m_pManager->StartPlay(this);
}

void QelVideoFile::SetSha256Map(const std::map<std::wstring, std::wstring>& mapSha256) {
    if (&mapSha256 == &m_mapSha256)
        return;
    std::lock_guard<std::recursive_mutex> lock(m_parseMutex);
    m_mapSha256.clear();
    m_mapSha256 = mapSha256;
}

void QelVideoFile::StopDownload() {
    QEL_LOG << "Stop download";
    if (QelTSPackage* pPackage = m_pTSPackage.load())
        pPackage->StopDownload();
}

std::wstring QelVideoFile::GetTSLocalPath(const std::string& strUri) const {
    const std::string strName = qel::SegmentCacheName(strUri);
    if (strName != strUri)
        QEL_LOG << "Segment uri renamed in the cache:" << strUri << " -> " << strName;
    return m_strDirectory + kQelPathSeparator + QelString::Utf8ToUnicode(strName);
}
