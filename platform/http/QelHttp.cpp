#include "http/QelHttp.h"

#include "http/QelHttpTargetFile.h"
#include "http/QelHttpTransfer.h"

#include <chrono>
#include <thread>

namespace {

bool HasHttpScheme(const std::string& strUrl)
{
    auto startsWithNoCase = [&strUrl](const char* pszPrefix) {
        std::size_t i = 0;
        for (; pszPrefix[i]; ++i) {
            if (i >= strUrl.size())
                return false;
            char c = strUrl[i];
            if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
            if (c != pszPrefix[i])
                return false;
        }
        return strUrl.size() > i;  // something must follow the scheme
    };
    return startsWithNoCase("http://") || startsWithNoCase("https://");
}

// Between attempts the caller may cancel; it is asked as if the transfer were running.
bool CancelledBetweenAttempts(const QelHttpRequest& request)
{
    return request.pCallback && request.pCallback->OnDownloadProgress(0, -1, request.pUser);
}

}  // namespace

QelHttp::QelHttp(bool bFollowRedirects, unsigned nRetries, unsigned nConnectTimeoutSec)
    : m_bFollowRedirects(bFollowRedirects), m_nRetries(nRetries), m_nConnectTimeoutSec(nConnectTimeoutSec)
{
}

QelHttp::~QelHttp() = default;

void QelHttp::SetDownloadProgressCallback(QelHttpDownloadProgressCallback* pCallback, void* pUser)
{
    m_pCallback = pCallback;
    m_pUser = pUser;
}

bool QelHttp::DoHttpGetFile(const std::string& strUrl, const std::string& strPath, bool bCreateFolders,
                            long nStallTimeoutSec)
{
    try {
        QelHttpTargetFile file(strPath);
        if (!HasHttpScheme(strUrl) || !file.Open(bCreateFolders)) {
            file.Fail();
            return false;
        }

        QelHttpGlobalInit();
        const QelHttpRequest request{strUrl, m_bFollowRedirects, m_nConnectTimeoutSec, nStallTimeoutSec,
                                     m_pCallback, m_pUser};
        QelHttpResult result = QelHttpPerform(request, file);
        for (unsigned nAttempt = 1; nAttempt <= m_nRetries && result == QelHttpResult::ConnectFailed; ++nAttempt) {
            // A short, growing pause: a server that is restarting gets a moment to come back.
            std::this_thread::sleep_for(std::chrono::milliseconds(200 * nAttempt));
            if (file.Size() != 0 || CancelledBetweenAttempts(request))
                break;
            result = QelHttpPerform(request, file);
        }

        if (result == QelHttpResult::Success && file.Commit())
            return true;
        file.Fail();
        return false;
    } catch (...) {
        return false;
    }
}
