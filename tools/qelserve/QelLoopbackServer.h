// The project's loopback server: a small HTTP/1.1 server on 127.0.0.1 that can misbehave
// on purpose, for the tests, the benchmarks and qelserve. It answers every request as a
// GET, from in-memory bodies or the files of a folder, one thread per connection, with
// "Connection: close", and records every request it receives, in order.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace qel {

// What the server does wrong on one path. Fields combine where that makes sense (a
// throttled body that also stalls); the factories build the common single faults.
struct TestHttpFault {
    int nStatus = 0;                // answer with this status and a short text body
    std::string strRedirectTo;      // answer 302 with this path as Location
    bool bDropConnection = false;   // read the request, close without answering
    long long llResetAfter = -1;    // send this many body bytes, then reset (RST)
    long long llShortBy = 0;        // announce the full length, send this many bytes fewer
    long long llStallAfter = -1;    // after this many body bytes (0: right after the head)
    int nStallMs = 0;               // send nothing for this long, then go on
    long long llBytesPerSec = 0;    // send the body at this rate
    bool bWrongBytes = false;       // change some bytes of the body, length unchanged
    bool bEndless = false;          // no length announced; the body over and over, never ending
    int nTimes = 0;                 // only the first nTimes requests of the path; 0: all

    static TestHttpFault Status(int nStatus);
    static TestHttpFault Redirect(const std::string& strPath);
    static TestHttpFault Drop();
    static TestHttpFault ResetAfter(long long llBytes);
    static TestHttpFault ShortBody(long long llMissingBytes);
    static TestHttpFault Stall(long long llAfterBytes, int nMs);
    static TestHttpFault Throttle(long long llBytesPerSec);
    static TestHttpFault WrongBytes();
    static TestHttpFault Endless();

    // A short text naming the fault, as the request log shows it; empty for none.
    std::string Describe() const;
};

struct TestHttpRequest {
    std::string strPath;  // decoded path without the query, e.g. "/video/0.ts"
    std::chrono::steady_clock::time_point tpTime;
    std::string strFault;  // Describe() of the fault applied to it; empty for none
};

class TestHttpServer {
public:
    // Starts listening on an ephemeral port of 127.0.0.1. pathRoot: folder whose files
    // are served (empty: in-memory bodies only).
    explicit TestHttpServer(const std::filesystem::path& pathRoot = {});
    // Stops accepting, interrupts stalls and throttles, and joins every thread (a client
    // that stopped reading costs at most a few seconds).
    ~TestHttpServer();

    TestHttpServer(const TestHttpServer&) = delete;
    TestHttpServer& operator=(const TestHttpServer&) = delete;

    bool IsRunning() const;
    unsigned short Port() const;
    // "http://127.0.0.1:PORT/path"; strPath with or without its leading "/".
    std::string Url(const std::string& strPath) const;

    // An in-memory body for a path; it takes precedence over a file of the folder.
    void AddBody(const std::string& strPath, std::string strBody);
    void SetFault(const std::string& strPath, const TestHttpFault& fault);
    void ClearFault(const std::string& strPath);

    std::vector<TestHttpRequest> Requests() const;
    std::size_t RequestCount() const;
    // True once at least nCount requests arrived; false after the time-out.
    bool WaitForRequests(std::size_t nCount, std::chrono::milliseconds timeout) const;
    void ClearRequests();

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

// A port of 127.0.0.1 on which nothing listens (bound, then released): connecting to it
// is refused.
unsigned short ClosedLoopbackPort();

}  // namespace qel
