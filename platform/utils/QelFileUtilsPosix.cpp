// QelFileUtils on POSIX systems: wide paths become UTF-8.
#include "utils/QelFileUtils.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <vector>

#include "utils/QelString.h"

namespace {

std::string Native(const std::wstring& path) { return QelString::UnicodeToUtf8(path); }

bool StatRegular(const std::string& path, struct stat& st) {
    return !path.empty() && ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool WriteAll(int fd, const char* p, size_t n) {
    while (n > 0) {
        const ssize_t w = ::write(fd, p, n);
        if (w < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        p += w;
        n -= static_cast<size_t>(w);
    }
    return true;
}

// Copies `from` to a fresh file `tmp` and flushes it to disk, so that renaming it over
// the target afterwards cannot expose a half-written file.
bool CopyToNewFile(const std::string& from, const std::string& tmp, mode_t mode) {
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return false;
    const int out = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode & 0777);
    if (out < 0) {
        ::close(in);
        return false;
    }
    std::vector<char> buf(1 << 20);
    bool bOk = true;
    for (;;) {
        const ssize_t r = ::read(in, buf.data(), buf.size());
        if (r < 0 && errno == EINTR) continue;
        if (r <= 0) {
            bOk = r == 0;
            break;
        }
        if (!WriteAll(out, buf.data(), static_cast<size_t>(r))) {
            bOk = false;
            break;
        }
    }
    ::close(in);
    if (bOk && ::fsync(out) != 0) bOk = false;
    if (::close(out) != 0) bOk = false;
    if (!bOk) ::unlink(tmp.c_str());
    return bOk;
}

std::string TempNameBeside(const std::string& target) {
    static std::atomic<unsigned> s_nCounter{0};
    return target + ".qelmove-" + std::to_string(::getpid()) + "-" +
           std::to_string(s_nCounter.fetch_add(1));
}

// Full path of the running executable; empty if unknown.
std::string SelfExePath() {
    std::vector<char> buf(PATH_MAX);
    for (;;) {
        const ssize_t n = ::readlink("/proc/self/exe", buf.data(), buf.size());
        if (n < 0) return std::string();
        if (static_cast<size_t>(n) < buf.size()) return std::string(buf.data(), static_cast<size_t>(n));
        buf.resize(buf.size() * 2);
    }
}

}  // namespace

int QelFileUtils::IsFileExist(const wchar_t* path) {
    if (path == nullptr || *path == L'\0') return 0;
    struct stat st;
    return StatRegular(Native(path), st) ? 1 : 0;
}

bool QelFileUtils::IsDirectoryExist(const std::wstring& path) {
    if (path.empty()) return false;
    struct stat st;
    return ::stat(Native(path).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool QelFileUtils::CreateDir(const std::wstring& path) {
    if (path.empty()) return false;
    const std::string native = Native(path);
    // Every prefix that ends before a '/' is a folder to make; the ones that already
    // exist simply fail, and the final check decides.
    for (size_t pos = native.find('/', 1); pos != std::string::npos; pos = native.find('/', pos + 1)) {
        ::mkdir(native.substr(0, pos).c_str(), 0777);
    }
    ::mkdir(native.c_str(), 0777);
    return IsDirectoryExist(path);
}

bool QelFileUtils::DelFile(const std::wstring& path) {
    return !path.empty() && ::unlink(Native(path).c_str()) == 0;
}

bool QelFileUtils::TransferFile(const std::wstring& from, const std::wstring& to) {
    if (from.empty() || to.empty()) return false;
    const std::string src = Native(from);
    const std::string dst = Native(to);
    struct stat st;
    if (!StatRegular(src, st)) return false;
    if (::rename(src.c_str(), dst.c_str()) == 0) return true;
    if (errno != EXDEV) return false;

    const std::string tmp = TempNameBeside(dst);
    if (!CopyToNewFile(src, tmp, st.st_mode)) return false;
    if (::rename(tmp.c_str(), dst.c_str()) != 0) {
        ::unlink(tmp.c_str());
        return false;
    }
    // The target is complete; a source that cannot be removed is reported, not undone.
    return ::unlink(src.c_str()) == 0;
}

std::vector<std::wstring> QelFileUtils::ListFolder(const std::wstring& folder) {
    std::vector<std::wstring> names;
    DIR* pDir = folder.empty() ? nullptr : ::opendir(Native(folder).c_str());
    if (pDir == nullptr) return names;
    while (const dirent* pEntry = ::readdir(pDir)) {
        const std::string name = pEntry->d_name;
        if (name != "." && name != "..") names.push_back(QelString::Utf8ToUnicode(name));
    }
    ::closedir(pDir);
    return names;
}

long long QelFileUtils::GetFileSize(const std::wstring& path) {
    struct stat st;
    return StatRegular(Native(path), st) ? static_cast<long long>(st.st_size) : -1;
}

std::wstring QelFileUtils::GetAppPath() {
    return GetDirectoryPath(QelString::Utf8ToUnicode(SelfExePath()));
}

std::wstring QelFileUtils::GetModulePath(const void* addressInModule) {
    Dl_info info{};
    struct link_map* pMap = nullptr;
    if (addressInModule == nullptr ||
        ::dladdr1(addressInModule, &info, reinterpret_cast<void**>(&pMap), RTLD_DL_LINKMAP) == 0) {
        return std::wstring();
    }
    // The main program has no name of its own in the loader's list (dladdr would report
    // argv[0]); its true file is /proc/self/exe.
    if (pMap == nullptr || pMap->l_name == nullptr || pMap->l_name[0] == '\0') {
        return QelString::Utf8ToUnicode(SelfExePath());
    }
    char* pReal = ::realpath(pMap->l_name, nullptr);
    const std::string name = pReal != nullptr ? std::string(pReal) : std::string(pMap->l_name);
    std::free(pReal);
    return QelString::Utf8ToUnicode(name);
}
