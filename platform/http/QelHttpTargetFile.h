// The file a download is written to: a private temporary beside the target path that
// is moved over the target only when the whole body arrived. Private to QelHttp.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

class QelHttpTargetFile {
public:
    // strAnsiPath: the target, in the ANSI code page (UTF-8 on Linux). llMaxBytes: the
    // most the file may hold; 0 or less: no limit.
    QelHttpTargetFile(const std::string& strAnsiPath, long long llMaxBytes);
    // Closes and deletes the temporary unless it was committed.
    ~QelHttpTargetFile();

    QelHttpTargetFile(const QelHttpTargetFile&) = delete;
    QelHttpTargetFile& operator=(const QelHttpTargetFile&) = delete;

    // Creates the temporary (and, with bCreateFolders, the target's missing folders).
    bool Open(bool bCreateFolders);
    // False, writing nothing, when the file would grow past its limit.
    bool Write(const char* pData, std::size_t nSize);
    // An announced body of that many bytes (negative: unknown) may fit.
    bool CanHold(long long llBytes) const { return m_llMaxBytes <= 0 || llBytes <= m_llMaxBytes; }
    long long Size() const { return m_llSize; }
    // Closes the temporary and moves it over the target.
    bool Commit();
    // Deletes the temporary and any file at the target path.
    void Fail();

private:
    void CloseTemporary();

    std::filesystem::path m_pathTarget;
    std::filesystem::path m_pathTemporary;
#ifdef _WIN32
    void* m_hFile = nullptr;
#else
    int m_nFd = -1;
#endif
    long long m_llMaxBytes;
    long long m_llSize = 0;
    bool m_bCommitted = false;
};
