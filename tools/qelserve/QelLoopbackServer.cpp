#include "qelserve/QelLoopbackServer.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <condition_variable>
#include <cstring>
#include <fstream>
#include <list>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace qel {

namespace {

#ifdef _WIN32
using Socket = SOCKET;
constexpr Socket kNoSocket = INVALID_SOCKET;
constexpr int kShutBoth = SD_BOTH;
constexpr int kShutSend = SD_SEND;
constexpr int kSendFlags = 0;
void CloseSocket(Socket s) { closesocket(s); }
#else
using Socket = int;
constexpr Socket kNoSocket = -1;
constexpr int kShutBoth = SHUT_RDWR;
constexpr int kShutSend = SHUT_WR;
constexpr int kSendFlags = MSG_NOSIGNAL;
void CloseSocket(Socket s) { close(s); }
#endif

// Bounds every blocking socket call, so that no client can hold a thread for long.
constexpr int kSocketTimeoutMs = 5000;
constexpr std::size_t kMaxRequestHead = 16 * 1024;
constexpr std::size_t kChunk = 16 * 1024;

void SetSocketTimeouts(Socket s)
{
#ifdef _WIN32
    DWORD dwMs = kSocketTimeoutMs;
    setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&dwMs), sizeof(dwMs));
    setsockopt(s, SOL_SOCKET, SO_SNDTIMEO, reinterpret_cast<const char*>(&dwMs), sizeof(dwMs));
#else
    timeval tv{kSocketTimeoutMs / 1000, (kSocketTimeoutMs % 1000) * 1000};
    setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
    setsockopt(s, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof(tv));
#endif
}

// Waits up to nMs for s to become readable.
bool WaitReadable(Socket s, int nMs)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(s, &set);
    timeval tv{nMs / 1000, (nMs % 1000) * 1000};
    return select(static_cast<int>(s + 1), &set, nullptr, nullptr, &tv) > 0;
}

bool SendAll(Socket s, const char* pData, std::size_t nSize)
{
    while (nSize > 0) {
        int nSent = send(s, pData, static_cast<int>(std::min(nSize, kChunk)), kSendFlags);
        if (nSent <= 0)
            return false;
        pData += nSent;
        nSize -= static_cast<std::size_t>(nSent);
    }
    return true;
}

// "/a%20b.ts?x=1" -> "/a b.ts"; always with a leading "/".
std::string NormalisePath(const std::string& strTarget)
{
    std::string strPath = strTarget.substr(0, strTarget.find('?'));
    std::string strDecoded;
    for (std::size_t i = 0; i < strPath.size(); ++i) {
        if (strPath[i] == '%' && i + 2 < strPath.size() && std::isxdigit(static_cast<unsigned char>(strPath[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(strPath[i + 2]))) {
            strDecoded += static_cast<char>(std::stoi(strPath.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            strDecoded += strPath[i];
        }
    }
    if (strDecoded.empty() || strDecoded[0] != '/')
        strDecoded.insert(0, "/");
    return strDecoded;
}

const char* ReasonPhrase(int nStatus)
{
    switch (nStatus) {
    case 200: return "OK";
    case 302: return "Found";
    case 404: return "Not Found";
    default: return "Status";
    }
}

// A negative length announces none: the body ends when the connection closes.
std::string ResponseHead(int nStatus, long long llLength, const std::string& strExtraHeaders = {})
{
    std::ostringstream head;
    head << "HTTP/1.1 " << nStatus << ' ' << ReasonPhrase(nStatus) << "\r\n";
    if (llLength >= 0)
        head << "Content-Length: " << llLength << "\r\n";
    head << "Content-Type: application/octet-stream\r\n"
         << strExtraHeaders << "Connection: close\r\n\r\n";
    return head.str();
}

void SendResponse(Socket s, int nStatus, const std::string& strBody, const std::string& strExtraHeaders = {})
{
    const std::string strHead = ResponseHead(nStatus, static_cast<long long>(strBody.size()), strExtraHeaders);
    if (SendAll(s, strHead.data(), strHead.size()))
        SendAll(s, strBody.data(), strBody.size());
}

}  // namespace

// ---- faults ----------------------------------------------------------------------------

namespace
{

// A fault with one field set: every factory but Stall builds one.
template <typename Field, typename Value>
TestHttpFault With(Field TestHttpFault::*pField, Value value)
{
    TestHttpFault fault;
    fault.*pField = value;
    return fault;
}

}  // namespace

TestHttpFault TestHttpFault::Status(int nStatus) { return With(&TestHttpFault::nStatus, nStatus); }
TestHttpFault TestHttpFault::Redirect(const std::string& strPath) { return With(&TestHttpFault::strRedirectTo, strPath); }
TestHttpFault TestHttpFault::Drop() { return With(&TestHttpFault::bDropConnection, true); }
TestHttpFault TestHttpFault::ResetAfter(long long llBytes) { return With(&TestHttpFault::llResetAfter, llBytes); }
TestHttpFault TestHttpFault::ShortBody(long long llMissingBytes) { return With(&TestHttpFault::llShortBy, llMissingBytes); }
TestHttpFault TestHttpFault::Throttle(long long llBytesPerSec) { return With(&TestHttpFault::llBytesPerSec, llBytesPerSec); }
TestHttpFault TestHttpFault::WrongBytes() { return With(&TestHttpFault::bWrongBytes, true); }
TestHttpFault TestHttpFault::Endless() { return With(&TestHttpFault::bEndless, true); }

TestHttpFault TestHttpFault::Stall(long long llAfterBytes, int nMs)
{
    TestHttpFault fault = With(&TestHttpFault::llStallAfter, llAfterBytes);
    fault.nStallMs = nMs;
    return fault;
}

std::string TestHttpFault::Describe() const
{
    std::ostringstream text;
    auto add = [&text](const std::string& strPart) { text << (text.tellp() > 0 ? " " : "") << strPart; };
    if (nStatus != 0)
        add("status " + std::to_string(nStatus));
    if (!strRedirectTo.empty())
        add("redirect " + strRedirectTo);
    if (bDropConnection)
        add("drop");
    if (llResetAfter >= 0)
        add("reset after " + std::to_string(llResetAfter));
    if (llShortBy > 0)
        add("short by " + std::to_string(llShortBy));
    if (llStallAfter >= 0)
        add("stall " + std::to_string(nStallMs) + "ms after " + std::to_string(llStallAfter));
    if (llBytesPerSec > 0)
        add("throttle " + std::to_string(llBytesPerSec) + "B/s");
    if (bWrongBytes)
        add("wrong bytes");
    if (bEndless)
        add("endless");
    return text.str();
}

// ---- server ----------------------------------------------------------------------------

struct TestHttpServer::Impl {
    struct Connection {
        std::mutex mutex;  // guards s against a close racing the destructor's shutdown
        Socket s = kNoSocket;
        std::thread thread;
        std::atomic<bool> bDone{false};
    };

    std::filesystem::path pathRoot;
    Socket listener = kNoSocket;
    unsigned short nPort = 0;
    std::thread acceptThread;

    mutable std::mutex mutex;
    mutable std::condition_variable cv;  // stop, and new requests
    bool bStop = false;
    std::map<std::string, std::string> mapBodies;
    std::map<std::string, TestHttpFault> mapFaults;
    std::map<std::string, int> mapFaultUses;
    std::vector<TestHttpRequest> vecRequests;

    std::mutex connectionsMutex;
    std::list<std::unique_ptr<Connection>> listConnections;

#ifdef _WIN32
    bool bWsa = false;
#endif

    bool Start();
    void Stop();
    void AcceptLoop();
    void ReapConnections(bool bAll);
    void Serve(Connection& connection);
    bool ReadRequest(Socket s, std::string& strPath);
    bool FindBody(const std::string& strPath, std::string& strBody);
    // True when the whole body was sent.
    bool SendBody(Socket s, const std::string& strBody, const TestHttpFault& fault);
    // Waits unless the server stops first; true when it did not stop.
    bool Pause(std::chrono::milliseconds duration);
    void CloseGracefully(Connection& connection);
    void CloseWithReset(Connection& connection);
};

bool TestHttpServer::Impl::Start()
{
#ifdef _WIN32
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0)
        return false;
    bWsa = true;
#endif
    listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (listener == kNoSocket)
        return false;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t nLength = sizeof(address);
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(listener, 64) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &nLength) != 0) {
        CloseSocket(listener);
        listener = kNoSocket;
        return false;
    }
    nPort = ntohs(address.sin_port);
    acceptThread = std::thread([this] { AcceptLoop(); });
    return true;
}

void TestHttpServer::Impl::Stop()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        bStop = true;
    }
    cv.notify_all();
    if (acceptThread.joinable())
        acceptThread.join();
    if (listener != kNoSocket) {
        CloseSocket(listener);
        listener = kNoSocket;
    }
    {
        // Wakes threads blocked in recv or send on a client that went quiet.
        std::lock_guard<std::mutex> lock(connectionsMutex);
        for (auto& pConnection : listConnections) {
            std::lock_guard<std::mutex> socketLock(pConnection->mutex);
            if (pConnection->s != kNoSocket)
                shutdown(pConnection->s, kShutBoth);
        }
    }
    ReapConnections(true);
#ifdef _WIN32
    if (bWsa)
        WSACleanup();
#endif
}

void TestHttpServer::Impl::AcceptLoop()
{
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(mutex);
            if (bStop)
                return;
        }
        ReapConnections(false);
        if (!WaitReadable(listener, 50))
            continue;
        Socket s = accept(listener, nullptr, nullptr);
        if (s == kNoSocket)
            continue;
        SetSocketTimeouts(s);
        auto pConnection = std::make_unique<Connection>();
        pConnection->s = s;
        Connection& connection = *pConnection;
        std::lock_guard<std::mutex> lock(connectionsMutex);
        listConnections.push_back(std::move(pConnection));
        connection.thread = std::thread([this, &connection] {
            Serve(connection);
            connection.bDone = true;
        });
    }
}

void TestHttpServer::Impl::ReapConnections(bool bAll)
{
    std::list<std::unique_ptr<Connection>> listFinished;
    {
        std::lock_guard<std::mutex> lock(connectionsMutex);
        for (auto it = listConnections.begin(); it != listConnections.end();) {
            if (bAll || (*it)->bDone) {
                listFinished.push_back(std::move(*it));
                it = listConnections.erase(it);
            } else {
                ++it;
            }
        }
    }
    for (auto& pConnection : listFinished) {
        if (pConnection->thread.joinable())
            pConnection->thread.join();
    }
}

bool TestHttpServer::Impl::ReadRequest(Socket s, std::string& strPath)
{
    std::string strHead;
    char buffer[2048];
    while (strHead.find("\r\n\r\n") == std::string::npos) {
        if (strHead.size() > kMaxRequestHead)
            return false;
        int nRead = recv(s, buffer, sizeof(buffer), 0);
        if (nRead <= 0)
            return false;
        strHead.append(buffer, static_cast<std::size_t>(nRead));
    }
    std::istringstream line(strHead.substr(0, strHead.find("\r\n")));
    std::string strMethod;
    std::string strTarget;
    line >> strMethod >> strTarget;
    if (strTarget.empty())
        return false;
    strPath = NormalisePath(strTarget);
    return true;
}

bool TestHttpServer::Impl::FindBody(const std::string& strPath, std::string& strBody)
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        auto it = mapBodies.find(strPath);
        if (it != mapBodies.end()) {
            strBody = it->second;
            return true;
        }
    }
    if (pathRoot.empty())
        return false;
    const std::filesystem::path pathRelative = std::filesystem::u8path(strPath.substr(1));
    for (const auto& part : pathRelative) {
        if (part == "..")
            return false;
    }
    std::ifstream file(pathRoot / pathRelative, std::ios::binary);
    if (!file)
        return false;
    std::ostringstream content;
    content << file.rdbuf();
    strBody = content.str();
    return true;
}

bool TestHttpServer::Impl::Pause(std::chrono::milliseconds duration)
{
    std::unique_lock<std::mutex> lock(mutex);
    return !cv.wait_for(lock, duration, [this] { return bStop; });
}

bool TestHttpServer::Impl::SendBody(Socket s, const std::string& strBody, const TestHttpFault& fault)
{
    long long llEnd = static_cast<long long>(strBody.size());
    if (fault.llResetAfter >= 0)
        llEnd = std::min(llEnd, fault.llResetAfter);
    if (fault.llShortBy > 0)
        llEnd = std::max(0LL, llEnd - fault.llShortBy);
    long long llStallAt = fault.llStallAfter >= 0 ? std::min(fault.llStallAfter, llEnd) : -1;

    auto tpPaceStart = std::chrono::steady_clock::now();
    long long llSent = 0;
    for (;;) {
        if (llSent == llStallAt) {
            llStallAt = -1;
            const auto tpStall = std::chrono::steady_clock::now();
            if (!Pause(std::chrono::milliseconds(fault.nStallMs)))
                return false;
            tpPaceStart += std::chrono::steady_clock::now() - tpStall;  // the pace resumes after it
        }
        if (llSent >= llEnd)
            return true;
        long long llChunk = std::min(static_cast<long long>(kChunk), llEnd - llSent);
        if (llStallAt > llSent)
            llChunk = std::min(llChunk, llStallAt - llSent);
        if (fault.llBytesPerSec > 0) {
            // About twenty sends a second, each when the rate allows it.
            llChunk = std::min(llChunk, std::max(1LL, fault.llBytesPerSec / 20));
            const auto tpDue = tpPaceStart + std::chrono::microseconds(llSent * 1000000 / fault.llBytesPerSec);
            const auto tpNow = std::chrono::steady_clock::now();
            if (tpDue > tpNow &&
                !Pause(std::chrono::duration_cast<std::chrono::milliseconds>(tpDue - tpNow) + std::chrono::milliseconds(1)))
                return false;
        }
        if (!SendAll(s, strBody.data() + llSent, static_cast<std::size_t>(llChunk)))
            return false;
        llSent += llChunk;
    }
}

void TestHttpServer::Impl::CloseGracefully(Connection& connection)
{
    std::lock_guard<std::mutex> lock(connection.mutex);
    if (connection.s == kNoSocket)
        return;
    // Half-close, then let the client finish reading before the socket goes: closing
    // with unread input would turn into a reset.
    shutdown(connection.s, kShutSend);
    char buffer[512];
    for (int i = 0; i < 20 && WaitReadable(connection.s, 100); ++i) {
        if (recv(connection.s, buffer, sizeof(buffer), 0) <= 0)
            break;
    }
    CloseSocket(connection.s);
    connection.s = kNoSocket;
}

void TestHttpServer::Impl::CloseWithReset(Connection& connection)
{
    std::lock_guard<std::mutex> lock(connection.mutex);
    if (connection.s == kNoSocket)
        return;
    linger reset{1, 0};
    setsockopt(connection.s, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&reset), sizeof(reset));
    CloseSocket(connection.s);
    connection.s = kNoSocket;
}

void TestHttpServer::Impl::Serve(Connection& connection)
{
    const Socket s = connection.s;
    std::string strPath;
    if (!ReadRequest(s, strPath)) {
        CloseGracefully(connection);
        return;
    }

    TestHttpFault fault;
    {
        std::lock_guard<std::mutex> lock(mutex);
        auto it = mapFaults.find(strPath);
        if (it != mapFaults.end() && (it->second.nTimes == 0 || mapFaultUses[strPath] < it->second.nTimes)) {
            fault = it->second;
            ++mapFaultUses[strPath];
        }
        vecRequests.push_back({strPath, std::chrono::steady_clock::now(), fault.Describe()});
    }
    cv.notify_all();

    std::string strBody;
    if (fault.bDropConnection) {
        // no answer at all
    } else if (!fault.strRedirectTo.empty()) {
        const std::string strLocation = "http://127.0.0.1:" + std::to_string(nPort) + NormalisePath(fault.strRedirectTo);
        SendResponse(s, 302, "moved to " + strLocation + "\n", "Location: " + strLocation + "\r\n");
    } else if (fault.nStatus != 0 || !FindBody(strPath, strBody)) {
        const int nStatus = fault.nStatus != 0 ? fault.nStatus : 404;
        SendResponse(s, nStatus, std::to_string(nStatus) + " " + ReasonPhrase(nStatus) + "\n");
    } else {
        if (fault.bWrongBytes) {
            for (std::size_t i = 0; i < strBody.size(); i += 1024)
                strBody[i] = static_cast<char>(strBody[i] ^ 0x5A);
        }
        const std::string strHead = ResponseHead(200, fault.bEndless ? -1 : static_cast<long long>(strBody.size()));
        if (SendAll(s, strHead.data(), strHead.size())) {
            // Until the client goes (the send fails) or the server stops.
            while (SendBody(s, strBody, fault) && fault.bEndless && !strBody.empty()) {
            }
        }
        if (fault.llResetAfter >= 0) {
            CloseWithReset(connection);
            return;
        }
    }
    CloseGracefully(connection);
}

// ---- public face -----------------------------------------------------------------------

TestHttpServer::TestHttpServer(const std::filesystem::path& pathRoot) : m_pImpl(std::make_unique<Impl>())
{
    m_pImpl->pathRoot = pathRoot;
    if (!m_pImpl->Start())
        m_pImpl->nPort = 0;
}

TestHttpServer::~TestHttpServer()
{
    m_pImpl->Stop();
}

bool TestHttpServer::IsRunning() const
{
    return m_pImpl->nPort != 0;
}

unsigned short TestHttpServer::Port() const
{
    return m_pImpl->nPort;
}

std::string TestHttpServer::Url(const std::string& strPath) const
{
    std::string strTail = strPath;
    if (strTail.empty() || strTail[0] != '/')
        strTail.insert(0, "/");
    return "http://127.0.0.1:" + std::to_string(m_pImpl->nPort) + strTail;
}

void TestHttpServer::AddBody(const std::string& strPath, std::string strBody)
{
    std::lock_guard<std::mutex> lock(m_pImpl->mutex);
    m_pImpl->mapBodies[NormalisePath(strPath)] = std::move(strBody);
}

void TestHttpServer::SetFault(const std::string& strPath, const TestHttpFault& fault)
{
    std::lock_guard<std::mutex> lock(m_pImpl->mutex);
    m_pImpl->mapFaults[NormalisePath(strPath)] = fault;
    m_pImpl->mapFaultUses.erase(NormalisePath(strPath));
}

void TestHttpServer::ClearFault(const std::string& strPath)
{
    std::lock_guard<std::mutex> lock(m_pImpl->mutex);
    m_pImpl->mapFaults.erase(NormalisePath(strPath));
    m_pImpl->mapFaultUses.erase(NormalisePath(strPath));
}

std::vector<TestHttpRequest> TestHttpServer::Requests() const
{
    std::lock_guard<std::mutex> lock(m_pImpl->mutex);
    return m_pImpl->vecRequests;
}

std::size_t TestHttpServer::RequestCount() const
{
    std::lock_guard<std::mutex> lock(m_pImpl->mutex);
    return m_pImpl->vecRequests.size();
}

bool TestHttpServer::WaitForRequests(std::size_t nCount, std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(m_pImpl->mutex);
    return m_pImpl->cv.wait_for(lock, timeout, [this, nCount] { return m_pImpl->vecRequests.size() >= nCount; });
}

void TestHttpServer::ClearRequests()
{
    std::lock_guard<std::mutex> lock(m_pImpl->mutex);
    m_pImpl->vecRequests.clear();
}

unsigned short ClosedLoopbackPort()
{
#ifdef _WIN32
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0)
        return 0;
#endif
    unsigned short nPort = 0;
    Socket s = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (s != kNoSocket) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t nLength = sizeof(address);
        if (bind(s, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
            getsockname(s, reinterpret_cast<sockaddr*>(&address), &nLength) == 0)
            nPort = ntohs(address.sin_port);
        CloseSocket(s);
    }
#ifdef _WIN32
    WSACleanup();
#endif
    return nPort;
}

}  // namespace qel
