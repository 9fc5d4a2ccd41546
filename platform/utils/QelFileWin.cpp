#include "utils/QelFile.h"

#include <windows.h>

#include <algorithm>

namespace {

// ReadFile and WriteFile take 32-bit counts.
constexpr size_t kMaxChunk = 1u << 30;

HANDLE AsHandle(std::intptr_t h) { return reinterpret_cast<HANDLE>(h); }

}  // namespace

QelFile::~QelFile() { Close(); }

bool QelFile::Open(const std::wstring& path, bool bWrite) {
    Close();
    if (path.empty()) return false;
    const HANDLE h = bWrite
        ? CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                      FILE_ATTRIBUTE_NORMAL, nullptr)
        : CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    m_hFile = reinterpret_cast<std::intptr_t>(h);
    return true;
}

size_t QelFile::Read(void* buf, size_t n) {
    if (!IsOpen() || buf == nullptr) return 0;
    char* p = static_cast<char*>(buf);
    size_t done = 0;
    while (done < n) {
        DWORD got = 0;
        const DWORD want = static_cast<DWORD>(std::min(n - done, kMaxChunk));
        if (!ReadFile(AsHandle(m_hFile), p + done, want, &got, nullptr) || got == 0) break;
        done += got;
    }
    return done;
}

size_t QelFile::Write(const void* buf, size_t n) {
    if (!IsOpen() || buf == nullptr) return 0;
    const char* p = static_cast<const char*>(buf);
    size_t done = 0;
    while (done < n) {
        DWORD put = 0;
        const DWORD want = static_cast<DWORD>(std::min(n - done, kMaxChunk));
        if (!WriteFile(AsHandle(m_hFile), p + done, want, &put, nullptr) || put == 0) break;
        done += put;
    }
    return done;
}

bool QelFile::Seek(long long offset) {
    if (!IsOpen() || offset < 0) return false;
    LARGE_INTEGER li;
    li.QuadPart = offset;
    return SetFilePointerEx(AsHandle(m_hFile), li, nullptr, FILE_BEGIN) != 0;
}

long long QelFile::GetSize() {
    LARGE_INTEGER li;
    if (!IsOpen() || !GetFileSizeEx(AsHandle(m_hFile), &li)) return -1;
    return static_cast<long long>(li.QuadPart);
}

void QelFile::Close() {
    if (IsOpen()) {
        CloseHandle(AsHandle(m_hFile));
        m_hFile = kInvalid;
    }
}
