// The one request a platform back end (libcurl or WinHTTP) performs. Private to QelHttp.
#pragma once

#include <string>

class QelHttpAbortSignal;
class QelHttpDownloadProgressCallback;
class QelHttpTargetFile;

struct QelHttpRequest {
    std::string strUrl;  // UTF-8, "http://" or "https://"
    bool bFollowRedirects;
    unsigned nConnectTimeoutSec;  // 0: the system's
    long nStallTimeoutSec;        // <= 0: no limit
    QelHttpDownloadProgressCallback* pCallback;  // may be null
    void* pUser;
    QelHttpAbortSignal& abort;  // a transfer registers its wake-up here while it runs
};

enum class QelHttpResult {
    Success,        // a 2xx response whose whole body is in the file
    ConnectFailed,  // no response byte arrived: worth another attempt
    Failed,         // anything else; never retried
};

// Process-wide set-up of the back end; safe to call from any thread, any number of times.
void QelHttpGlobalInit();

// Performs one GET, writing the body of a 2xx response into file. An abort ends it at once
// with Failed.
QelHttpResult QelHttpPerform(const QelHttpRequest& request, QelHttpTargetFile& file);
