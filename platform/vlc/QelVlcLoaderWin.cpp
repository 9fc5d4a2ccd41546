// Windows: libvlc.dll is resolved at run time, so that the component loads without VLC.
#include "vlc/QelVlc.h"

#include <windows.h>

#include <string>

namespace {

// The folder (with its trailing separator) of the module this code is linked into.
std::wstring OwnModuleFolder() {
    HMODULE hModule = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCWSTR>(&OwnModuleFolder), &hModule))
        return {};
    std::wstring strPath(MAX_PATH, L'\0');
    for (;;) {
        const DWORD nLength = GetModuleFileNameW(hModule, strPath.data(), static_cast<DWORD>(strPath.size()));
        if (nLength == 0)
            return {};
        if (nLength < strPath.size()) {
            strPath.resize(nLength);
            break;
        }
        strPath.resize(strPath.size() * 2);
    }
    const std::wstring::size_type nSlash = strPath.find_last_of(L"\\/");
    return nSlash == std::wstring::npos ? std::wstring() : strPath.substr(0, nSlash + 1);
}

HMODULE LoadLibVlc() {
    // No error boxes for a broken or incomplete VLC: a failed load is an ordinary result.
    DWORD nOldMode = 0;
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &nOldMode);
    HMODULE hModule = nullptr;
    const std::wstring strFolder = OwnModuleFolder();
    if (!strFolder.empty()) {
        // The altered search path lets libvlc.dll find libvlccore.dll beside itself.
        const std::wstring strBeside = strFolder + L"libvlc.dll";
        if (GetFileAttributesW(strBeside.c_str()) != INVALID_FILE_ATTRIBUTES)
            hModule = LoadLibraryExW(strBeside.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    }
    if (!hModule)
        hModule = LoadLibraryW(L"libvlc.dll");
    SetThreadErrorMode(nOldMode, nullptr);
    return hModule;
}

template <typename T>
bool Resolve(HMODULE hModule, const char* pszName, T& pfn) {
    const FARPROC proc = GetProcAddress(hModule, pszName);
    // Through void(*)(), the one function pointer type a cast from FARPROC may go through
    // without a warning.
    pfn = reinterpret_cast<T>(reinterpret_cast<void (*)()>(proc));
    return proc != nullptr;
}

// Null when libvlc.dll is missing or lacks any entry of the table. A library that cannot
// serve the whole table is released again; a complete one is never released.
const QelVlcApi* Load() {
    static QelVlcApi api;
    const HMODULE hModule = LoadLibVlc();
    if (!hModule)
        return nullptr;
    bool bComplete = true;
#define QEL_VLC_RESOLVE(name) bComplete = Resolve(hModule, #name, api.name) && bComplete;
    QEL_VLC_FUNCTIONS(QEL_VLC_RESOLVE)
#undef QEL_VLC_RESOLVE
    if (!bComplete) {
        FreeLibrary(hModule);
        return nullptr;
    }
    return &api;
}

}  // namespace

const QelVlcApi* QelVlc::Api() {
    static const QelVlcApi* const pApi = Load();
    return pApi;
}
