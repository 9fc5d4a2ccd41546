#include "segment_cache/QelTS.h"

#include <algorithm>
#include <cstdint>

#include "log/QelLog.h"
#include "segment_cache/QelCacheTemporary.h"
#include "segment_cache/QelTSPackage.h"
#include "utils/QelCode.h"
#include "utils/QelFileUtils.h"
#include "video/QelMessages.h"

namespace {

// The file's SHA-256 in the letter case of the expected digest: capitals when that has
// capitals and no small letters, small letters otherwise.
std::wstring Sha256InCaseOf(const std::wstring& strPath, const std::wstring& strExpected) {
    std::wstring strSha256;
    QelCode::SHA256File(strPath, strSha256);
    const auto isIn = [&strExpected](wchar_t cFirst, wchar_t cLast) {
        return std::any_of(strExpected.begin(), strExpected.end(), [&](wchar_t c) { return c >= cFirst && c <= cLast; });
    };
    if (isIn(L'A', L'Z') && !isIn(L'a', L'z'))
        std::transform(strSha256.begin(), strSha256.end(), strSha256.begin(),
                       [](wchar_t c) { return c >= L'a' && c <= L'f' ? static_cast<wchar_t>(c - L'a' + L'A') : c; });
    return strSha256;
}

}  // namespace

QelTS::QelTS(QelTS* pGroup, QelTSPackage* pPackage, const HWND* pNotifyWnd, bool bFirstGroup, long long llUserData)
    : m_pGroup(pGroup),
      m_pPackage(pPackage),
      m_hNotifyWnd(pNotifyWnd ? *pNotifyWnd : nullptr),
      m_http(true, 3, 10),
      m_bFirstGroup(bFirstGroup),
      m_bFinished(false),
      m_bPaused(false),
      m_bStop(false),
      m_llUserData(llUserData) {
    m_http.SetMaxBodyBytes(kMaxSegmentBytes);
}

QelTS::~QelTS() {
    Stop();
    // The thread reads the item list and the HTTP client: it must be gone before they are.
    m_thread.Join();
}

void QelTS::Stop() {
    m_bStop = true;
    m_http.Abort();
}

bool QelTS::OnDownloadProgress(long long, long long, void*) {
    return m_bStop;
}

void QelTS::SetTSItems(const std::vector<QelTSItem>& vecItems, int nIndex) {
    // An index equal to the size would name no item; the callers never pass one.
    if (vecItems.empty() || nIndex < 0 || nIndex >= static_cast<int>(vecItems.size()))
        return;
    // The running thread holds the address of an item of the list.
    if (m_thread.IsRunning())
        return;
    m_vecItems = vecItems;
    const QelTSItem& item = m_vecItems[static_cast<size_t>(nIndex)];

    if (QelFileUtils::IsFileExist(item.strLocalPath.c_str())) {
        // Hashed even when no digest is expected.
        const std::wstring strSha256 = Sha256InCaseOf(item.strLocalPath, item.strSha256);
        if (item.strSha256.empty() || item.strSha256 == strSha256) {
            // A process killed while two of its downloads fetched this segment leaves the
            // slower one's temporary beside it, and no later fetch would come to clear it.
            QelCacheTemporary::RemoveLeftovers(item.strLocalPath);
            m_bFinished = true;
            CheckGroupFinished();
            return;
        }
        QEL_LOG << "Existed ts sha256 is NOT the same, existed sha256:" << strSha256
                << ", server sha256:" << item.strSha256;
        QelFileUtils::DelFile(item.strLocalPath);
    }

    m_thread.Create([this](void* pArg) { DownloadTs(*static_cast<const QelTSItem*>(pArg)); },
                    const_cast<QelTSItem*>(&item), false);
}

void QelTS::DownloadTs(const QelTSItem& itemArg) {
    const QelTSItem item = itemArg;
    m_http.SetDownloadProgressCallback(this, nullptr);
    for (int nAttempts = 0;; ++nAttempts) {
        QelCacheTemporary::RemoveLeftovers(item.strLocalPath);
        // Another downloader of the same segment may have cached it meanwhile.
        if (QelFileUtils::IsFileExist(item.strLocalPath)) {
            m_bFinished = true;
            break;
        }

        QelCacheTemporary temporary(item.strLocalPath);
        if (!m_http.DoHttpGetFile(item.strUrl, temporary.PathA(), true, 10)) {
            QEL_LOG << "Download ts failed:" << item.strUrl;
            if (m_hNotifyWnd)
                PostMessageW(m_hNotifyWnd, QEL_VIDEO_DOWNLOAD_FAILED, 1, static_cast<LPARAM>(item.nIndex));
            return;
        }
        QEL_LOG << "Download ts success:" << item.strUrl << ", size:" << QelFileUtils::GetFileSize(temporary.Path());

        // Only accepted bytes take the cache file's name; the temporary goes either way.
        const std::wstring strSha256 =
            item.strSha256.empty() ? std::wstring() : Sha256InCaseOf(temporary.Path(), item.strSha256);
        if (strSha256 == item.strSha256) {
            if (temporary.MoveIntoPlace()) {
                m_bFinished = true;
                PostSuccess(item);
            }
            break;  // a failed move is silent: the group check finds the segment missing
        }
        QEL_LOG << "Downloaded ts sha256 is NOT the same, downloaded sha256:" << strSha256
                << ", server sha256:" << item.strSha256;
        if (nAttempts >= 1)
            return;
    }
    CheckGroupFinished();
}

void QelTS::PostSuccess(const QelTSItem& item) const {
    if (!m_hNotifyWnd)
        return;
    // Both values travel as their low 32 bits.
    const auto nUserData = static_cast<std::uint32_t>(m_llUserData);
    const auto nSize = static_cast<std::uint32_t>(QelFileUtils::GetFileSize(item.strLocalPath));
    PostMessageW(m_hNotifyWnd, QEL_VIDEO_DOWNLOAD_SUCCESS, static_cast<WPARAM>(nUserData), static_cast<LPARAM>(nSize));
}

void QelTS::CheckGroupFinished() {
    size_t nCached = 0;
    for (const QelTSItem& item : m_vecItems) {
        if (QelFileUtils::IsFileExist(item.strLocalPath) && ++nCached == m_vecItems.size())
            break;
    }
    if (nCached != m_vecItems.size())
        return;
    if (!m_pPackage)
        return;
    if (m_bFirstGroup) {
        m_pPackage->SetGroupFinished(m_bFinished.load());
    } else if (!m_pPackage->m_bSeeking) {
        // Completions are not signalled while a seek is being served; the scheduler
        // clears the seek once it has been woken.
        m_pPackage->SetGroupFinished(true);
    }
}
