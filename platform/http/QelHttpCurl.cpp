// libcurl back end of QelHttp (Linux).
#include "http/QelHttp.h"
#include "http/QelHttpAbort.h"
#include "http/QelHttpTargetFile.h"
#include "http/QelHttpTransfer.h"

#include <curl/curl.h>

#include <chrono>
#include <mutex>

namespace {

using Clock = std::chrono::steady_clock;

// One easy handle inside a multi handle of its own: the multi interface waits in
// curl_multi_poll, which another thread can end at once with curl_multi_wakeup.
class CurlTransferHandles {
public:
    CurlTransferHandles() : m_pMulti(curl_multi_init()), m_pEasy(curl_easy_init())
    {
        m_bAdded = m_pMulti && m_pEasy && curl_multi_add_handle(m_pMulti, m_pEasy) == CURLM_OK;
    }
    ~CurlTransferHandles()
    {
        if (m_bAdded)
            curl_multi_remove_handle(m_pMulti, m_pEasy);
        if (m_pEasy)
            curl_easy_cleanup(m_pEasy);
        if (m_pMulti)
            curl_multi_cleanup(m_pMulti);
    }
    CurlTransferHandles(const CurlTransferHandles&) = delete;
    CurlTransferHandles& operator=(const CurlTransferHandles&) = delete;

    bool IsValid() const { return m_bAdded; }
    CURLM* Multi() const { return m_pMulti; }
    CURL* Easy() const { return m_pEasy; }

private:
    CURLM* m_pMulti;
    CURL* m_pEasy;
    bool m_bAdded = false;
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
        if (!pTransfer->file.CanHold(llLength))
            return 0;
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

// Runs the transfer until it ends or is aborted; the transfer's own result, or a failure.
CURLcode RunUntilDone(const CurlTransferHandles& handles, QelHttpAbortSignal& abort)
{
    CURLM* pMulti = handles.Multi();
    const QelHttpAbortScope scope(abort, [pMulti] { curl_multi_wakeup(pMulti); });
    for (;;) {
        if (scope.IsAborted())
            return CURLE_ABORTED_BY_CALLBACK;
        int nRunning = 0;
        if (curl_multi_perform(pMulti, &nRunning) != CURLM_OK)
            return CURLE_FAILED_INIT;
        if (nRunning == 0)
            break;
        // libcurl shortens the wait to its own next time-out (connect, progress report).
        if (curl_multi_poll(pMulti, nullptr, 0, 1000, nullptr) != CURLM_OK)
            return CURLE_FAILED_INIT;
    }
    int nQueued = 0;
    while (CURLMsg* pMessage = curl_multi_info_read(pMulti, &nQueued)) {
        if (pMessage->msg == CURLMSG_DONE)
            return pMessage->data.result;
    }
    return CURLE_FAILED_INIT;
}

}  // namespace

void QelHttpGlobalInit()
{
    static std::once_flag s_once;
    std::call_once(s_once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

QelHttpResult QelHttpPerform(const QelHttpRequest& request, QelHttpTargetFile& file)
{
    CurlTransferHandles handles;
    if (!handles.IsValid())
        return QelHttpResult::Failed;
    CURL* p = handles.Easy();
    Transfer transfer{p, request, file};

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

    const CURLcode code = RunUntilDone(handles, request.abort);
    if (request.abort.IsAborted())
        return QelHttpResult::Failed;
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
