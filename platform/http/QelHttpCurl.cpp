// libcurl back end of QelHttp (Linux).
#include "http/QelHttp.h"
#include "http/QelHttpTargetFile.h"
#include "http/QelHttpTransfer.h"

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <mutex>

namespace {

using Clock = std::chrono::steady_clock;

struct CurlEasyDeleter {
    void operator()(CURL* pCurl) const { curl_easy_cleanup(pCurl); }
};

// State shared by the callbacks of one transfer.
struct Transfer {
    CURL* pCurl;
    const QelHttpRequest& request;
    QelHttpTargetFile& file;
    long long llTotal = -1;  // Content-Length of the 2xx response, once known
    bool bAnyResponseByte = false;
    bool bBadStatus = false;
    bool bConnected = false;
    Clock::time_point tpLastByte = Clock::now();
};

bool IsSuccessStatus(long nStatus)
{
    return nStatus >= 200 && nStatus < 300;
}

size_t OnHeader(char* /*pData*/, size_t nSize, size_t nCount, void* pContext)
{
    auto* pTransfer = static_cast<Transfer*>(pContext);
    pTransfer->bAnyResponseByte = true;
    pTransfer->tpLastByte = Clock::now();
    return nSize * nCount;
}

size_t OnBody(char* pData, size_t nSize, size_t nCount, void* pContext)
{
    auto* pTransfer = static_cast<Transfer*>(pContext);
    const size_t nBytes = nSize * nCount;
    pTransfer->bAnyResponseByte = true;
    pTransfer->tpLastByte = Clock::now();

    // The body of an error (or an unfollowed redirect) is never stored.
    long nStatus = 0;
    curl_easy_getinfo(pTransfer->pCurl, CURLINFO_RESPONSE_CODE, &nStatus);
    if (!IsSuccessStatus(nStatus)) {
        pTransfer->bBadStatus = true;
        return 0;  // stops the transfer with CURLE_WRITE_ERROR
    }
    if (pTransfer->llTotal < 0) {
        curl_off_t llLength = -1;
        curl_easy_getinfo(pTransfer->pCurl, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &llLength);
        pTransfer->llTotal = llLength;
    }
    return pTransfer->file.Write(pData, nBytes) ? nBytes : 0;
}

// The stall limit starts once a connection stands; the connect time-out covers the rest.
int OnConnected(void* pContext, char*, char*, int, int)
{
    auto* pTransfer = static_cast<Transfer*>(pContext);
    pTransfer->bConnected = true;
    pTransfer->tpLastByte = Clock::now();
    return CURL_PREREQFUNC_OK;
}

// libcurl calls this often while data flows and about once a second while it waits.
int OnProgress(void* pContext, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    auto* pTransfer = static_cast<Transfer*>(pContext);
    const QelHttpRequest& request = pTransfer->request;
    if (request.pCallback &&
        request.pCallback->OnDownloadProgress(pTransfer->file.Size(), pTransfer->llTotal, request.pUser))
        return 1;
    if (!pTransfer->bConnected)
        pTransfer->tpLastByte = Clock::now();
    else if (request.nStallTimeoutSec > 0 &&
             Clock::now() - pTransfer->tpLastByte >= std::chrono::seconds(request.nStallTimeoutSec))
        return 1;
    return 0;
}

bool IsConnectionFailure(CURLcode code)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_CONNECT:
    case CURLE_OPERATION_TIMEDOUT:  // only the connect time-out is set
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        return true;
    default:
        return false;
    }
}

}  // namespace

void QelHttpGlobalInit()
{
    static std::once_flag s_once;
    std::call_once(s_once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

QelHttpResult QelHttpPerform(const QelHttpRequest& request, QelHttpTargetFile& file)
{
    std::unique_ptr<CURL, CurlEasyDeleter> pCurl(curl_easy_init());
    if (!pCurl)
        return QelHttpResult::Failed;
    Transfer transfer{pCurl.get(), request, file};

    CURL* p = pCurl.get();
    curl_easy_setopt(p, CURLOPT_URL, request.strUrl.c_str());
    curl_easy_setopt(p, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(p, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(p, CURLOPT_FOLLOWLOCATION, request.bFollowRedirects ? 1L : 0L);
    curl_easy_setopt(p, CURLOPT_MAXREDIRS, 10L);
    curl_easy_setopt(p, CURLOPT_NOSIGNAL, 1L);  // time-outs must not raise signals in a worker
    curl_easy_setopt(p, CURLOPT_USERAGENT, "QelHttp/1.0");
    if (request.nConnectTimeoutSec > 0)
        curl_easy_setopt(p, CURLOPT_CONNECTTIMEOUT, static_cast<long>(request.nConnectTimeoutSec));
    curl_easy_setopt(p, CURLOPT_HEADERFUNCTION, OnHeader);
    curl_easy_setopt(p, CURLOPT_HEADERDATA, &transfer);
    curl_easy_setopt(p, CURLOPT_WRITEFUNCTION, OnBody);
    curl_easy_setopt(p, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(p, CURLOPT_PREREQFUNCTION, OnConnected);
    curl_easy_setopt(p, CURLOPT_PREREQDATA, &transfer);
    curl_easy_setopt(p, CURLOPT_XFERINFOFUNCTION, OnProgress);
    curl_easy_setopt(p, CURLOPT_XFERINFODATA, &transfer);
    curl_easy_setopt(p, CURLOPT_NOPROGRESS, 0L);

    const CURLcode code = curl_easy_perform(p);
    if (code != CURLE_OK) {
        if (!transfer.bAnyResponseByte && IsConnectionFailure(code))
            return QelHttpResult::ConnectFailed;
        return QelHttpResult::Failed;
    }

    long nStatus = 0;
    curl_easy_getinfo(p, CURLINFO_RESPONSE_CODE, &nStatus);
    if (transfer.bBadStatus || !IsSuccessStatus(nStatus))
        return QelHttpResult::Failed;
    curl_off_t llLength = -1;
    curl_easy_getinfo(p, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &llLength);
    if (llLength >= 0 && llLength != file.Size())
        return QelHttpResult::Failed;
    return QelHttpResult::Success;
}
