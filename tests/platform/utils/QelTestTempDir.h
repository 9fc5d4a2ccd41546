// A fresh folder under the system's temporary folder, removed with everything in it at the
// end of the test. Paths are wide and end with the separator.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"

class QelTestTempDir {
public:
    // `parent` ends with the separator; the system's temporary folder by default.
    explicit QelTestTempDir(const std::wstring& parent = SystemTempPath()) {
        static std::atomic<unsigned> s_nCounter{0};
        m_strPath = parent + L"qel_utils_test_" + std::to_wstring(ProcessId()) + L"_" +
                    std::to_wstring(s_nCounter.fetch_add(1)) + kQelPathSeparator;
        QelFileUtils::CreateDir(m_strPath);
    }
    ~QelTestTempDir() {
        std::error_code ec;
        std::filesystem::remove_all(NativePath(m_strPath), ec);
    }
    QelTestTempDir(const QelTestTempDir&) = delete;
    QelTestTempDir& operator=(const QelTestTempDir&) = delete;

    const std::wstring& Path() const { return m_strPath; }
    // A path inside; '/' in `name` becomes the separator.
    std::wstring operator/(std::wstring name) const {
        std::replace(name.begin(), name.end(), L'/', kQelPathSeparatorChar);
        return m_strPath + name;
    }

    static std::filesystem::path NativePath(const std::wstring& path) {
#ifdef _WIN32
        return std::filesystem::path(path);
#else
        return std::filesystem::path(QelString::UnicodeToUtf8(path));
#endif
    }

    // The system's temporary folder, ending with the separator.
    static std::wstring SystemTempPath() {
#ifdef _WIN32
        wchar_t buf[MAX_PATH + 1] = {};
        const DWORD n = GetTempPathW(MAX_PATH + 1, buf);
        return std::wstring(buf, n);  // GetTempPathW ends it with a backslash
#else
        const char* pEnv = std::getenv("TMPDIR");
        std::wstring dir = QelString::Utf8ToUnicode(pEnv != nullptr && *pEnv != '\0' ? pEnv : "/tmp");
        if (dir.back() != L'/') dir += L'/';
        return dir;
#endif
    }

private:
    static unsigned long ProcessId() {
#ifdef _WIN32
        return GetCurrentProcessId();
#else
        return static_cast<unsigned long>(::getpid());
#endif
    }

    std::wstring m_strPath;
};
