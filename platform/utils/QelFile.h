// One open file; closed by Close() or the destructor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class QelFile {
public:
    QelFile() = default;
    ~QelFile();
    QelFile(const QelFile&) = delete;
    QelFile& operator=(const QelFile&) = delete;

    // bWrite false opens an existing file for reading; true creates or truncates it for
    // writing. A file already open is closed first.
    bool Open(const std::wstring& path, bool bWrite);

    // Reads up to n bytes; fewer only at the end of the file or on an error. 0 when closed.
    size_t Read(void* buf, size_t n);
    // Writes n bytes; fewer only on an error.
    size_t Write(const void* buf, size_t n);
    // Moves to an absolute offset from the start.
    bool Seek(long long offset);
    // -1 when closed.
    long long GetSize();
    bool IsOpen() const { return m_hFile != kInvalid; }
    void Close();

private:
    // A file descriptor, or a Windows HANDLE; -1 is the invalid value of both.
    static constexpr std::intptr_t kInvalid = -1;
    std::intptr_t m_hFile = kInvalid;
};
