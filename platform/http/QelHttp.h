// QelHttp: a blocking HTTP(S) client that fetches one URL into one file.
// libcurl on Linux, WinHTTP on Windows; the behaviour below is the same on both.
#pragma once

#include <memory>
#include <string>

class QelHttpAbortSignal;

// Receives progress reports during a transfer and may cancel it.
class QelHttpDownloadProgressCallback {
public:
    // Called on the transferring thread, repeatedly while a transfer runs: as data arrives
    // and about once a second while it waits for data. (QelHttp::Abort ends a transfer at
    // once, from another thread.)
    // llDownloaded: body bytes stored so far; llTotal: the body size the server announced,
    // or -1 while it is unknown. pUser: the value given to SetDownloadProgressCallback.
    // Returning true aborts the transfer; DoHttpGetFile then fails.
    virtual bool OnDownloadProgress(long long llDownloaded, long long llTotal, void* pUser) = 0;

protected:
    virtual ~QelHttpDownloadProgressCallback() = default;
};

// One client serves one thread at a time (give each worker its own); Abort alone may come
// from any other thread. It keeps no connection or handle between calls, so it may be
// destroyed on any thread once DoHttpGetFile has returned. No exception leaves any member.
class QelHttp {
public:
    // bFollowRedirects: follow 3xx responses (up to 10 hops, http and https only); when
    //   false a 3xx response is a failure.
    // nRetries: extra attempts made when the connection fails before any response byte
    //   arrived (refused, unreachable, connect time-out, closed without an answer).
    //   A failure after the first response byte is never retried.
    // nConnectTimeoutSec: limit for establishing each connection; 0 means the system's.
    explicit QelHttp(bool bFollowRedirects = true, unsigned nRetries = 3, unsigned nConnectTimeoutSec = 10);
    ~QelHttp();

    QelHttp(const QelHttp&) = delete;
    QelHttp& operator=(const QelHttp&) = delete;

    // Makes later transfers report to pCallback (null: no reports). The callback must
    // outlive every transfer that uses it.
    void SetDownloadProgressCallback(QelHttpDownloadProgressCallback* pCallback, void* pUser);

    // A body larger than this many bytes (announced or as it arrives) is a failure, and
    // nothing of it stays on disk. 0 or less: no limit, the default.
    void SetMaxBodyBytes(long long llMaxBytes) { m_llMaxBodyBytes = llMaxBytes; }

    // From any thread: ends a DoHttpGetFile in flight at once, whatever the server does
    // (stalled, throttled, not answering), and makes every later DoHttpGetFile of this
    // client fail at once. Both fail as any failed transfer does.
    void Abort();

    // Blocking GET of strUrl (UTF-8, "http://" or "https://") into the file strPath
    // (in the ANSI code page; UTF-8 on Linux).
    // bCreateFolders: create the missing folders of strPath first; when false, a missing
    //   folder is a failure.
    // nStallTimeoutSec: fail when no byte arrives for that many seconds, whether waiting
    //   for the response or in the middle of the body; 0 or less means no limit.
    // Returns true only when a 2xx response's whole body was stored at strPath (a body
    // that ends before its Content-Length is a failure). The body is written to a private
    // temporary file beside strPath and moved into place at the end, replacing a file
    // already there. On any failure nothing is left at strPath: no partial body, and a
    // file that was there before is removed, so that a file at strPath always means the
    // last download into it succeeded.
    bool DoHttpGetFile(const std::string& strUrl, const std::string& strPath, bool bCreateFolders,
                       long nStallTimeoutSec);

private:
    bool m_bFollowRedirects;
    unsigned m_nRetries;
    unsigned m_nConnectTimeoutSec;
    QelHttpDownloadProgressCallback* m_pCallback = nullptr;
    void* m_pUser = nullptr;
    long long m_llMaxBodyBytes = 0;
    std::unique_ptr<QelHttpAbortSignal> m_pAbort;
};
