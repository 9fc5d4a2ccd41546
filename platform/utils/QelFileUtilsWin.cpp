// QelFileUtils on Windows: the wide (W) system calls take the paths as they are.
#include "utils/QelFileUtils.h"

#include <windows.h>

#include <atomic>
#include <vector>

namespace {

bool Attributes(const std::wstring& path, WIN32_FILE_ATTRIBUTE_DATA& data) {
    return !path.empty() && GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) != 0;
}

bool IsRegularFile(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return Attributes(path, data) && (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::wstring TempNameBeside(const std::wstring& target) {
    static std::atomic<unsigned> s_nCounter{0};
    return target + L".qelmove-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(s_nCounter.fetch_add(1));
}

// The module's file name, however long it is.
std::wstring ModuleFileName(HMODULE hModule) {
    std::vector<wchar_t> buf(MAX_PATH);
    for (;;) {
        const DWORD n = GetModuleFileNameW(hModule, buf.data(), static_cast<DWORD>(buf.size()));
        if (n == 0) return std::wstring();
        if (n < buf.size()) return std::wstring(buf.data(), n);
        buf.resize(buf.size() * 2);
    }
}

}  // namespace

int QelFileUtils::IsFileExist(const wchar_t* path) {
    if (path == nullptr || *path == L'\0') return 0;
    return IsRegularFile(path) ? 1 : 0;
}

bool QelFileUtils::IsDirectoryExist(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    return Attributes(path, data) && (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool QelFileUtils::CreateDir(const std::wstring& path) {
    if (path.empty()) return false;
    // Every prefix that ends before a separator is a folder to make. Drive names, UNC
    // server names and folders that already exist simply fail; the final check decides.
    for (size_t pos = path.find_first_of(L"\\/", 1); pos != std::wstring::npos;
         pos = path.find_first_of(L"\\/", pos + 1)) {
        CreateDirectoryW(path.substr(0, pos).c_str(), nullptr);
    }
    CreateDirectoryW(path.c_str(), nullptr);
    return IsDirectoryExist(path);
}

bool QelFileUtils::DelFile(const std::wstring& path) {
    return !path.empty() && DeleteFileW(path.c_str()) != 0;
}

bool QelFileUtils::TransferFile(const std::wstring& from, const std::wstring& to) {
    if (from.empty() || to.empty() || !IsRegularFile(from)) return false;
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        return true;
    }
    if (GetLastError() != ERROR_NOT_SAME_DEVICE) return false;

    // Another volume: copy beside the target first, so that the target is only ever
    // replaced by a complete file.
    const std::wstring tmp = TempNameBeside(to);
    if (!CopyFileW(from.c_str(), tmp.c_str(), TRUE)) {
        DeleteFileW(tmp.c_str());
        return false;
    }
    if (!MoveFileExW(tmp.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        DeleteFileW(tmp.c_str());
        return false;
    }
    // The target is complete; a source that cannot be removed is reported, not undone.
    return DeleteFileW(from.c_str()) != 0;
}

std::vector<std::wstring> QelFileUtils::ListFolder(const std::wstring& folder) {
    std::vector<std::wstring> names;
    if (folder.empty()) return names;
    std::wstring pattern = folder;
    if (pattern.back() != L'\\' && pattern.back() != L'/') pattern += L'\\';
    pattern += L'*';
    WIN32_FIND_DATAW data;
    HANDLE hFind = FindFirstFileW(pattern.c_str(), &data);
    if (hFind == INVALID_HANDLE_VALUE) return names;
    do {
        const std::wstring name = data.cFileName;
        if (name != L"." && name != L"..") names.push_back(name);
    } while (FindNextFileW(hFind, &data));
    FindClose(hFind);
    return names;
}

long long QelFileUtils::GetFileSize(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!Attributes(path, data) || (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return -1;
    return static_cast<long long>((static_cast<unsigned long long>(data.nFileSizeHigh) << 32) |
                                  data.nFileSizeLow);
}

std::wstring QelFileUtils::GetAppPath() { return GetDirectoryPath(ModuleFileName(nullptr)); }

std::wstring QelFileUtils::GetModulePath(const void* addressInModule) {
    HMODULE hModule = nullptr;
    if (addressInModule == nullptr ||
        !GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCWSTR>(addressInModule), &hModule)) {
        return std::wstring();
    }
    return ModuleFileName(hModule);
}
