#include "segment_cache/QelCacheTemporary.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <set>

#include "utils/QelFileUtils.h"
#include "utils/QelOS.h"
#include "utils/QelString.h"

namespace {

std::mutex g_liveMutex;
std::set<std::wstring> g_setLive;  // paths of the temporaries of this process's downloads

bool IsLive(const std::wstring& strPath) {
    std::lock_guard<std::mutex> lock(g_liveMutex);
    return g_setLive.count(strPath) != 0;
}

// Reads "<word><digits>-<digits>" at nPos and moves past it; nProcessId takes the first number.
bool ReadTagged(const std::wstring& str, size_t& nPos, const std::wstring& strWord, unsigned long& nProcessId) {
    if (str.compare(nPos, strWord.size(), strWord) != 0)
        return false;
    nPos += strWord.size();
    for (int nNumber = 0; nNumber < 2; ++nNumber) {
        if (nNumber == 1 && (nPos >= str.size() || str[nPos++] != L'-'))
            return false;
        const size_t nStart = nPos;
        unsigned long long llValue = 0;
        for (; nPos < str.size() && str[nPos] >= L'0' && str[nPos] <= L'9'; ++nPos) {
            llValue = llValue * 10 + static_cast<unsigned>(str[nPos] - L'0');
            if (llValue > 0xFFFFFFFFull)
                return false;
        }
        if (nPos == nStart)
            return false;
        if (nNumber == 0)
            nProcessId = static_cast<unsigned long>(llValue);
    }
    return true;
}

struct Leftover {
    unsigned long nProcessId = 0;  // of the download that wrote it; 0: unknown (a ".tmp")
    size_t nTemporaryLength = 0;   // of the temporary it belongs to, within the name's rest
};

// What the rest of a name after "<cache file name>." says about it, when it is a temporary:
// "tmp", "[tmp.]qelpart-P-N" or "qeltmp-P-N[.qelpart-P-N]".
std::optional<Leftover> ParseLeftover(const std::wstring& strRest) {
    Leftover leftover;
    if (strRest == L"tmp")
        return leftover;
    size_t nPos = strRest.compare(0, 4, L"tmp.") == 0 ? 4 : 0;
    if (ReadTagged(strRest, nPos, L"qelpart-", leftover.nProcessId))
        return nPos == strRest.size() ? std::optional<Leftover>(leftover) : std::nullopt;
    if (nPos != 0 || !ReadTagged(strRest, nPos, L"qeltmp-", leftover.nProcessId))
        return std::nullopt;
    leftover.nTemporaryLength = nPos;
    if (nPos == strRest.size())
        return leftover;
    unsigned long nPartOwner = 0;
    if (strRest[nPos] != L'.' || !ReadTagged(strRest, ++nPos, L"qelpart-", nPartOwner) || nPos != strRest.size())
        return std::nullopt;
    return leftover;
}

}  // namespace

QelCacheTemporary::QelCacheTemporary(const std::wstring& strCachePath) : m_strCachePath(strCachePath) {
    static std::atomic<unsigned long> s_nCounter{0};
    m_strPath = strCachePath + L".qeltmp-" + std::to_wstring(QelOS::CurrentProcessId()) + L"-" +
                std::to_wstring(++s_nCounter);
    std::lock_guard<std::mutex> lock(g_liveMutex);
    g_setLive.insert(m_strPath);
}

QelCacheTemporary::~QelCacheTemporary() {
    QelFileUtils::DelFile(m_strPath);
    std::lock_guard<std::mutex> lock(g_liveMutex);
    g_setLive.erase(m_strPath);
}

std::string QelCacheTemporary::PathA() const {
    return QelString::UnicodeToAnsi(m_strPath);
}

bool QelCacheTemporary::MoveIntoPlace() {
    QelFileUtils::TransferFile(m_strPath, m_strCachePath);
    return QelFileUtils::IsFileExist(m_strCachePath) != 0;
}

void QelCacheTemporary::RemoveLeftovers(const std::wstring& strCachePath) {
    const std::wstring strFolder = QelFileUtils::GetDirectoryPath(strCachePath);
    const std::wstring strPrefix = strCachePath.substr(strFolder.size()) + L".";
    const unsigned long nSelf = QelOS::CurrentProcessId();
    for (const std::wstring& strName : QelFileUtils::ListFolder(strFolder)) {
        if (strName.compare(0, strPrefix.size(), strPrefix) != 0)
            continue;
        const std::optional<Leftover> leftover = ParseLeftover(strName.substr(strPrefix.size()));
        if (!leftover)
            continue;
        const std::wstring strPath = strFolder + strName;
        const bool bWritten = leftover->nProcessId == nSelf
                                  ? IsLive(strPath.substr(0, strFolder.size() + strPrefix.size() +
                                                                 leftover->nTemporaryLength))
                                  : leftover->nProcessId != 0 && QelOS::IsProcessRunning(leftover->nProcessId);
        if (!bWritten)
            QelFileUtils::DelFile(strPath);
    }
}
