#include "utils/QelFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "utils/QelString.h"

QelFile::~QelFile() { Close(); }

bool QelFile::Open(const std::wstring& path, bool bWrite) {
    Close();
    if (path.empty()) return false;
    const int flags = bWrite ? (O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC) : (O_RDONLY | O_CLOEXEC);
    const int fd = ::open(QelString::UnicodeToUtf8(path).c_str(), flags, 0666);
    if (fd < 0) return false;
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {  // a folder opens read-only on POSIX
        ::close(fd);
        return false;
    }
    m_hFile = fd;
    return true;
}

size_t QelFile::Read(void* buf, size_t n) {
    if (!IsOpen() || buf == nullptr) return 0;
    char* p = static_cast<char*>(buf);
    size_t done = 0;
    while (done < n) {
        const ssize_t r = ::read(static_cast<int>(m_hFile), p + done, n - done);
        if (r < 0 && errno == EINTR) continue;
        if (r <= 0) break;
        done += static_cast<size_t>(r);
    }
    return done;
}

size_t QelFile::Write(const void* buf, size_t n) {
    if (!IsOpen() || buf == nullptr) return 0;
    const char* p = static_cast<const char*>(buf);
    size_t done = 0;
    while (done < n) {
        const ssize_t w = ::write(static_cast<int>(m_hFile), p + done, n - done);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) break;
        done += static_cast<size_t>(w);
    }
    return done;
}

bool QelFile::Seek(long long offset) {
    return IsOpen() && offset >= 0 &&
           ::lseek(static_cast<int>(m_hFile), static_cast<off_t>(offset), SEEK_SET) == offset;
}

long long QelFile::GetSize() {
    struct stat st;
    if (!IsOpen() || ::fstat(static_cast<int>(m_hFile), &st) != 0) return -1;
    return static_cast<long long>(st.st_size);
}

void QelFile::Close() {
    if (IsOpen()) {
        ::close(static_cast<int>(m_hFile));
        m_hFile = kInvalid;
    }
}
