#include "http/QelHttpTargetFile.h"

#include <atomic>
#include <system_error>

#ifdef _WIN32
#include <windows.h>
#else
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

std::filesystem::path PathFromAnsi(const std::string& strAnsi)
{
#ifdef _WIN32
    if (strAnsi.empty())
        return {};
    int nLen = MultiByteToWideChar(CP_ACP, 0, strAnsi.data(), static_cast<int>(strAnsi.size()), nullptr, 0);
    if (nLen <= 0)
        return {};
    std::wstring strWide(static_cast<std::size_t>(nLen), L'\0');
    MultiByteToWideChar(CP_ACP, 0, strAnsi.data(), static_cast<int>(strAnsi.size()), strWide.data(), nLen);
    return std::filesystem::path(strWide);
#else
    return std::filesystem::path(strAnsi);
#endif
}

unsigned long CurrentProcessId()
{
#ifdef _WIN32
    return GetCurrentProcessId();
#else
    return static_cast<unsigned long>(getpid());
#endif
}

// A name no other download (in this process or another) uses at the same time.
std::filesystem::path TemporaryBeside(const std::filesystem::path& pathTarget)
{
    static std::atomic<unsigned long> s_nCounter{0};
    std::filesystem::path pathTemp = pathTarget;
    pathTemp += ".qelpart-" + std::to_string(CurrentProcessId()) + "-" + std::to_string(++s_nCounter);
    return pathTemp;
}

void DeleteRegularFile(const std::filesystem::path& path)
{
#ifdef _WIN32
    DeleteFileW(path.c_str());
#else
    unlink(path.c_str());  // never removes a folder
#endif
}

}  // namespace

QelHttpTargetFile::QelHttpTargetFile(const std::string& strAnsiPath, long long llMaxBytes)
    : m_pathTarget(PathFromAnsi(strAnsiPath)), m_llMaxBytes(llMaxBytes)
{
}

QelHttpTargetFile::~QelHttpTargetFile()
{
    CloseTemporary();
    if (!m_bCommitted && !m_pathTemporary.empty())
        DeleteRegularFile(m_pathTemporary);
}

bool QelHttpTargetFile::Open(bool bCreateFolders)
{
    if (m_pathTarget.empty() || !m_pathTarget.has_filename())
        return false;
    std::filesystem::path pathFolder = m_pathTarget.parent_path();
    if (bCreateFolders && !pathFolder.empty()) {
        std::error_code ec;
        std::filesystem::create_directories(pathFolder, ec);
        if (ec)
            return false;
    }

    m_pathTemporary = TemporaryBeside(m_pathTarget);
#ifdef _WIN32
    HANDLE hFile = CreateFileW(m_pathTemporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                               FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) {
        m_pathTemporary.clear();
        return false;
    }
    m_hFile = hFile;
#else
    int nFd = open(m_pathTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (nFd < 0) {
        m_pathTemporary.clear();
        return false;
    }
    m_nFd = nFd;
#endif
    return true;
}

bool QelHttpTargetFile::Write(const char* pData, std::size_t nSize)
{
    if (!CanHold(m_llSize + static_cast<long long>(nSize)))
        return false;
#ifdef _WIN32
    if (!m_hFile)
        return false;
    while (nSize > 0) {
        DWORD dwChunk = nSize > 0x40000000u ? 0x40000000u : static_cast<DWORD>(nSize);
        DWORD dwWritten = 0;
        if (!WriteFile(m_hFile, pData, dwChunk, &dwWritten, nullptr) || dwWritten == 0)
            return false;
        pData += dwWritten;
        nSize -= dwWritten;
        m_llSize += dwWritten;
    }
#else
    if (m_nFd < 0)
        return false;
    while (nSize > 0) {
        ssize_t nWritten = write(m_nFd, pData, nSize);
        if (nWritten < 0 && errno == EINTR)
            continue;
        if (nWritten <= 0)
            return false;
        pData += nWritten;
        nSize -= static_cast<std::size_t>(nWritten);
        m_llSize += nWritten;
    }
#endif
    return true;
}

void QelHttpTargetFile::CloseTemporary()
{
#ifdef _WIN32
    if (m_hFile) {
        CloseHandle(m_hFile);
        m_hFile = nullptr;
    }
#else
    if (m_nFd >= 0) {
        close(m_nFd);
        m_nFd = -1;
    }
#endif
}

bool QelHttpTargetFile::Commit()
{
#ifdef _WIN32
    if (!m_hFile)
        return false;
    bool bClosed = CloseHandle(m_hFile) != 0;
    m_hFile = nullptr;
    if (!bClosed)
        return false;
    if (!MoveFileExW(m_pathTemporary.c_str(), m_pathTarget.c_str(), MOVEFILE_REPLACE_EXISTING))
        return false;
#else
    if (m_nFd < 0)
        return false;
    bool bClosed = close(m_nFd) == 0;
    m_nFd = -1;
    if (!bClosed)
        return false;
    if (rename(m_pathTemporary.c_str(), m_pathTarget.c_str()) != 0)
        return false;
#endif
    m_bCommitted = true;
    return true;
}

void QelHttpTargetFile::Fail()
{
    CloseTemporary();
    if (!m_bCommitted && !m_pathTemporary.empty()) {
        DeleteRegularFile(m_pathTemporary);
        m_pathTemporary.clear();
    }
    if (!m_pathTarget.empty())
        DeleteRegularFile(m_pathTarget);
}
