#include "http/QelHttp.h"

#include "http/QelHttpAbort.h"
#include "http/QelHttpTargetFile.h"
#include "http/QelHttpTransfer.h"

#include <chrono>

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
    return request.abort.IsAborted() ||
           (request.pCallback && request.pCallback->OnDownloadProgress(0, -1, request.pUser));
}

}  // namespace

QelHttp::QelHttp(bool bFollowRedirects, unsigned nRetries, unsigned nConnectTimeoutSec)
    : m_bFollowRedirects(bFollowRedirects),
      m_nRetries(nRetries),
      m_nConnectTimeoutSec(nConnectTimeoutSec),
      m_pAbort(std::make_unique<QelHttpAbortSignal>())
{
}

QelHttp::~QelHttp() = default;

void QelHttp::SetDownloadProgressCallback(QelHttpDownloadProgressCallback* pCallback, void* pUser)
{
    m_pCallback = pCallback;
    m_pUser = pUser;
}

void QelHttp::Abort()
{
    m_pAbort->Abort();
}

bool QelHttp::DoHttpGetFile(const std::string& strUrl, const std::string& strPath, bool bCreateFolders,
                            long nStallTimeoutSec)
{
    try {
        QelHttpTargetFile file(strPath, m_llMaxBodyBytes);
        if (m_pAbort->IsAborted() || !HasHttpScheme(strUrl) || !file.Open(bCreateFolders)) {
            file.Fail();
            return false;
        }

        QelHttpGlobalInit();
        const QelHttpRequest request{strUrl, m_bFollowRedirects, m_nConnectTimeoutSec, nStallTimeoutSec,
                                     m_pCallback, m_pUser, *m_pAbort};
        QelHttpResult result = QelHttpPerform(request, file);
        for (unsigned nAttempt = 1; nAttempt <= m_nRetries && result == QelHttpResult::ConnectFailed; ++nAttempt) {
            // A short, growing pause: a server that is restarting gets a moment to come back.
            if (m_pAbort->WaitFor(std::chrono::milliseconds(200 * nAttempt)))
                break;
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
