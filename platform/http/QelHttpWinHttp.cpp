// WinHTTP back end of QelHttp (Windows). The blocking WinHTTP calls run on a worker
// thread of their own, which hands the body over a QelHttpBodyPipe to the calling thread:
// an abort returns at once even where closing the request handle does not end a blocked
// receive before its time-out (Wine's WinHTTP). A worker cut short ends on its own and
// keeps the module loaded until it has.
#include "http/QelHttp.h"
#include "http/QelHttpAbort.h"
#include "http/QelHttpBodyPipe.h"
#include "http/QelHttpTargetFile.h"
#include "http/QelHttpTransfer.h"

#include <windows.h>
#include <winhttp.h>

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <memory>
#include <vector>

namespace {

// Closes one WinHTTP handle when it goes out of scope, or earlier from another thread:
// on Windows closing a request handle ends a call blocked on it at once
// (ERROR_WINHTTP_OPERATION_CANCELLED); Wine's WinHTTP ends it at its time-out.
class InternetHandle {
public:
    explicit InternetHandle(HINTERNET h) : m_h(h) {}
    ~InternetHandle() { Close(); }
    InternetHandle(const InternetHandle&) = delete;
    InternetHandle& operator=(const InternetHandle&) = delete;
    HINTERNET Get() const { return m_h; }
    explicit operator bool() const { return m_h != nullptr; }
    void Close()
    {
        if (HINTERNET h = m_h.exchange(nullptr))
            WinHttpCloseHandle(h);
    }

private:
    std::atomic<HINTERNET> m_h;
};

bool Utf8ToWide(const std::string& strUtf8, std::wstring& strWide)
{
    strWide.clear();
    if (strUtf8.empty())
        return true;
    int nLen = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, strUtf8.data(), static_cast<int>(strUtf8.size()),
                                   nullptr, 0);
    if (nLen <= 0)
        return false;
    strWide.resize(static_cast<std::size_t>(nLen));
    return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, strUtf8.data(), static_cast<int>(strUtf8.size()),
                               strWide.data(), nLen) == nLen;
}

bool IsConnectionFailure(DWORD dwError)
{
    switch (dwError) {
    case ERROR_WINHTTP_NAME_NOT_RESOLVED:
    case ERROR_WINHTTP_CANNOT_CONNECT:
    case ERROR_WINHTTP_CONNECTION_ERROR:
    case ERROR_WINHTTP_INVALID_SERVER_RESPONSE:  // closed before a whole status line
        return true;
    default:
        return false;
    }
}

// Content-Length of the response, or -1 when it has none.
long long QueryContentLength(HINTERNET hRequest)
{
    wchar_t szValue[32] = {};
    DWORD dwSize = sizeof(szValue);
    if (!WinHttpQueryHeaders(hRequest, WINHTTP_QUERY_CONTENT_LENGTH, WINHTTP_HEADER_NAME_BY_INDEX, szValue, &dwSize,
                             WINHTTP_NO_HEADER_INDEX))
        return -1;
    wchar_t* pEnd = nullptr;
    long long llValue = std::wcstoll(szValue, &pEnd, 10);
    if (pEnd == szValue || llValue < 0)
        return -1;
    return llValue;
}

// What the worker needs of a request: copies, nothing of the calling thread's.
struct RequestSpec {
    std::string strUrl;
    bool bFollowRedirects;
    unsigned nConnectTimeoutSec;
    long nStallTimeoutSec;
};

// The worker's part: the WinHTTP calls of one GET, its head and body handed to the pipe.
QelHttpResult Fetch(const RequestSpec& spec, QelHttpBodyPipe& pipe)
{
    std::wstring strUrl;
    if (!Utf8ToWide(spec.strUrl, strUrl))
        return QelHttpResult::Failed;

    URL_COMPONENTS parts = {};
    parts.dwStructSize = sizeof(parts);
    parts.dwSchemeLength = static_cast<DWORD>(-1);
    parts.dwHostNameLength = static_cast<DWORD>(-1);
    parts.dwUrlPathLength = static_cast<DWORD>(-1);
    parts.dwExtraInfoLength = static_cast<DWORD>(-1);
    if (!WinHttpCrackUrl(strUrl.c_str(), static_cast<DWORD>(strUrl.size()), 0, &parts))
        return QelHttpResult::Failed;
    if (parts.nScheme != INTERNET_SCHEME_HTTP && parts.nScheme != INTERNET_SCHEME_HTTPS)
        return QelHttpResult::Failed;
    const std::wstring strHost(parts.lpszHostName, parts.dwHostNameLength);
    std::wstring strObject(parts.lpszUrlPath, parts.dwUrlPathLength);
    strObject.append(parts.lpszExtraInfo, parts.dwExtraInfoLength);
    if (strHost.empty())
        return QelHttpResult::Failed;
    if (strObject.empty())
        strObject = L"/";

    InternetHandle session(WinHttpOpen(L"QelHttp/1.0", WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, WINHTTP_NO_PROXY_NAME,
                                       WINHTTP_NO_PROXY_BYPASS, 0));
    if (!session)
        return QelHttpResult::Failed;
    // A stall ends a blocking receive after that long; 0 means wait without limit.
    const int nStallMs = spec.nStallTimeoutSec > 0 && spec.nStallTimeoutSec < 2000000
                             ? static_cast<int>(spec.nStallTimeoutSec * 1000)
                             : 0;
    const int nConnectMs = spec.nConnectTimeoutSec > 0 && spec.nConnectTimeoutSec < 2000000
                               ? static_cast<int>(spec.nConnectTimeoutSec * 1000)
                               : 60000;
    WinHttpSetTimeouts(session.Get(), nConnectMs, nConnectMs, nStallMs, nStallMs);

    InternetHandle connection(WinHttpConnect(session.Get(), strHost.c_str(), parts.nPort, 0));
    if (!connection)
        return QelHttpResult::Failed;
    const DWORD dwFlags = parts.nScheme == INTERNET_SCHEME_HTTPS ? WINHTTP_FLAG_SECURE : 0;
    InternetHandle requestHandle(WinHttpOpenRequest(connection.Get(), L"GET", strObject.c_str(), nullptr,
                                                    WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, dwFlags));
    if (!requestHandle)
        return QelHttpResult::Failed;
    HINTERNET hRequest = requestHandle.Get();
    // Every call below checks for the end first, so the closed handle is not used again.
    const QelHttpAbortScope cut(pipe.Abandoned(), [&requestHandle] { requestHandle.Close(); });

    if (spec.bFollowRedirects) {
        DWORD dwMaxRedirects = 10;
        WinHttpSetOption(hRequest, WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS, &dwMaxRedirects,
                         sizeof(dwMaxRedirects));
    } else {
        DWORD dwPolicy = WINHTTP_OPTION_REDIRECT_POLICY_NEVER;
        WinHttpSetOption(hRequest, WINHTTP_OPTION_REDIRECT_POLICY, &dwPolicy, sizeof(dwPolicy));
        DWORD dwDisable = WINHTTP_DISABLE_REDIRECTS;
        WinHttpSetOption(hRequest, WINHTTP_OPTION_DISABLE_FEATURE, &dwDisable, sizeof(dwDisable));
    }
    if (nStallMs > 0) {
        DWORD dwResponseMs = static_cast<DWORD>(nStallMs);
        WinHttpSetOption(hRequest, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, &dwResponseMs, sizeof(dwResponseMs));
    }

    if (cut.IsAborted())
        return QelHttpResult::Failed;
    if (!WinHttpSendRequest(hRequest, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0, 0, 0)) {
        const DWORD dwError = GetLastError();
        // Before a connection stands a time-out is the connect time-out.
        return !cut.IsAborted() && (IsConnectionFailure(dwError) || dwError == ERROR_WINHTTP_TIMEOUT)
                   ? QelHttpResult::ConnectFailed
                   : QelHttpResult::Failed;
    }
    if (cut.IsAborted())
        return QelHttpResult::Failed;
    if (!WinHttpReceiveResponse(hRequest, nullptr))
        return !cut.IsAborted() && IsConnectionFailure(GetLastError()) ? QelHttpResult::ConnectFailed
                                                                       : QelHttpResult::Failed;
    if (cut.IsAborted())
        return QelHttpResult::Failed;

    DWORD dwStatus = 0;
    DWORD dwSize = sizeof(dwStatus);
    if (!WinHttpQueryHeaders(hRequest, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                             WINHTTP_HEADER_NAME_BY_INDEX, &dwStatus, &dwSize, WINHTTP_NO_HEADER_INDEX))
        return QelHttpResult::Failed;
    if (dwStatus < 200 || dwStatus >= 300)
        return QelHttpResult::Failed;
    const long long llTotal = QueryContentLength(hRequest);
    pipe.Announce(llTotal);

    std::vector<char> vecBuffer(64 * 1024);
    long long llReceived = 0;
    for (;;) {
        // Asking only for what has arrived keeps a slow body from holding a read until the
        // whole buffer is full, which some WinHTTP versions wait for.
        DWORD dwAvailable = 0;
        if (cut.IsAborted() || !WinHttpQueryDataAvailable(hRequest, &dwAvailable))
            return QelHttpResult::Failed;
        if (dwAvailable == 0)
            break;
        DWORD dwRead = 0;
        const DWORD dwWanted = (std::min)(dwAvailable, static_cast<DWORD>(vecBuffer.size()));
        if (cut.IsAborted() || !WinHttpReadData(hRequest, vecBuffer.data(), dwWanted, &dwRead))
            return QelHttpResult::Failed;
        if (dwRead == 0)
            break;
        if (!pipe.Push(vecBuffer.data(), dwRead))
            return QelHttpResult::Failed;
        llReceived += dwRead;
    }
    // A body without a length ends like a cut one: the abandonment decides.
    if (cut.IsAborted() || (llTotal >= 0 && llTotal != llReceived))
        return QelHttpResult::Failed;
    return QelHttpResult::Success;
}

struct WorkerContext {
    std::shared_ptr<QelHttpBodyPipe> pPipe;
    RequestSpec spec;
    HMODULE hModule;  // a reference of the worker's own, released as it leaves
};

DWORD WINAPI WorkerMain(void* pArg)
{
    HMODULE hModule = nullptr;
    {
        std::unique_ptr<WorkerContext> pContext(static_cast<WorkerContext*>(pArg));
        hModule = pContext->hModule;
        pContext->pPipe->Finish(Fetch(pContext->spec, *pContext->pPipe));
    }
    if (hModule)
        FreeLibraryAndExitThread(hModule, 0);
    return 0;
}

bool Cancelled(const QelHttpRequest& request, long long llDownloaded, long long llTotal)
{
    return request.abort.IsAborted() ||
           (request.pCallback && request.pCallback->OnDownloadProgress(llDownloaded, llTotal, request.pUser));
}

// The calling thread's part: the body into the file, until the worker finishes or the
// transfer is given up (abort, cancel, size limit, a failed write).
QelHttpResult Receive(QelHttpBodyPipe& pipe, const QelHttpRequest& request, QelHttpTargetFile& file)
{
    const QelHttpAbortScope abortScope(request.abort, [&pipe] { pipe.Abandon(); });
    std::vector<char> vecData;
    for (;;) {
        // Woken by every piece of the body, and once a second while none comes.
        const QelHttpBodyPipe::Step step = pipe.Next(vecData, std::chrono::seconds(1));
        const long long llTotal = pipe.Total();
        if (abortScope.IsAborted() || !file.CanHold(llTotal) || Cancelled(request, file.Size(), llTotal))
            return QelHttpResult::Failed;
        if (step == QelHttpBodyPipe::Step::Data && !file.Write(vecData.data(), vecData.size()))
            return QelHttpResult::Failed;
        if (step == QelHttpBodyPipe::Step::Finished)
            return pipe.Result();
    }
}

}  // namespace

void QelHttpGlobalInit()
{
    // WinHTTP needs no process-wide set-up.
}

QelHttpResult QelHttpPerform(const QelHttpRequest& request, QelHttpTargetFile& file)
{
    if (Cancelled(request, 0, -1))
        return QelHttpResult::Failed;
    auto pPipe = std::make_shared<QelHttpBodyPipe>();
    auto pContext = std::make_unique<WorkerContext>(WorkerContext{
        pPipe, RequestSpec{request.strUrl, request.bFollowRedirects, request.nConnectTimeoutSec, request.nStallTimeoutSec},
        nullptr});
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&WorkerMain),
                       &pContext->hModule);
    HANDLE hWorker = CreateThread(nullptr, 0, WorkerMain, pContext.get(), 0, nullptr);
    if (!hWorker) {
        if (pContext->hModule)
            FreeLibrary(pContext->hModule);
        return QelHttpResult::Failed;
    }
    pContext.release();  // the worker's now

    const QelHttpResult result = Receive(*pPipe, request, file);
    pPipe->Abandon();  // changes nothing for a finished worker
    // A finished worker is leaving; one cut short ends on its own, holding only the pipe.
    if (pPipe->IsFinished())
        WaitForSingleObject(hWorker, INFINITE);
    CloseHandle(hWorker);
    return result;
}
