// qelskinshot: shows one skin of ui\qelmediaplayer\ in a real window, as the player
// windows build it, and saves what the window shows as a PNG.
//
//   qelskinshot [--playing] SKIN OUTPUT.png [WIDTH HEIGHT]
//
// SKIN is relative to the resource folder <exe folder>\..\ui\qelmediaplayer\, e.g.
// "video/video.xml". Without WIDTH and HEIGHT the window takes the skin's own size.
// --playing shows a player as it looks during playback (positions, times, chapter
// dots) instead of as the skin starts.
// Exit codes: 0 written, 1 bad arguments, 2 skin missing or unreadable, 3 window not
// painted or not captured, 4 PNG not written.
#include <windows.h>
#include <shellapi.h>

#include <cstdio>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "QelPlayingState.h"
#include "QelPngCapture.h"
#include "QelSkinShotWindow.h"

namespace {

constexpr DWORD kPaintTimeoutMs = 15000;

struct ArgvDeleter {
    void operator()(LPWSTR* p) const { ::LocalFree(p); }
};

void PrintError(const std::wstring& strText) { std::fwprintf(stderr, L"qelskinshot: %ls\n", strText.c_str()); }

int Usage() {
    std::fwprintf(stderr, L"usage: qelskinshot [--playing] SKIN OUTPUT.png [WIDTH HEIGHT]\n"
                          L"  SKIN is relative to <exe folder>\\..\\ui\\qelmediaplayer\\, e.g. video/video.xml\n");
    return 1;
}

// A whole positive number of pixels, or 0 when the text is not one.
int ParseLength(const wchar_t* psz) {
    wchar_t* pEnd = nullptr;
    const long n = std::wcstol(psz, &pEnd, 10);
    if (pEnd == psz || *pEnd != L'\0' || n <= 0 || n > 8192) return 0;
    return static_cast<int>(n);
}

std::wstring ResourceFolder() {
    std::vector<wchar_t> buffer(MAX_PATH);
    for (;;) {
        const DWORD n = ::GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (n == 0) return L"";
        if (n < buffer.size()) break;
        buffer.resize(buffer.size() * 2);
    }
    std::wstring strExe(buffer.data());
    const size_t nSlash = strExe.find_last_of(L"\\/");
    const std::wstring strRelative = strExe.substr(0, nSlash + 1) + L"..\\ui\\qelmediaplayer\\";
    wchar_t szFull[MAX_PATH * 4];
    const DWORD n = ::GetFullPathNameW(strRelative.c_str(), MAX_PATH * 4, szFull, nullptr);
    return (n > 0 && n < MAX_PATH * 4) ? std::wstring(szFull) : strRelative;
}

int Run(const std::wstring& strSkin, const std::wstring& strOutput, int cx, int cy, bool bPlaying) {
    const std::wstring strResources = ResourceFolder();
    std::wstring strSkinPath = strResources + strSkin;
    for (wchar_t& ch : strSkinPath)
        if (ch == L'/') ch = L'\\';
    const DWORD dwAttributes = ::GetFileAttributesW(strSkinPath.c_str());
    if (dwAttributes == INVALID_FILE_ATTRIBUTES || (dwAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
        PrintError(L"no skin file " + strSkinPath);
        return 2;
    }

    UiLib::CPaintManagerUI::SetInstance(::GetModuleHandleW(nullptr));
    UiLib::CPaintManagerUI::SetResourcePath(strResources.c_str());

    QelSkinShotWindow window(strSkin);
    if (!window.Open(cx, cy)) {
        PrintError(strSkin + L": " + window.GetError());
        return 2;
    }
    if (!window.WaitUntilPainted(kPaintTimeoutMs)) {
        PrintError(strSkin + L": " + window.GetError());
        return 3;
    }
    // Set once the tree is laid out, so that the dots find the slider's rectangle.
    if (bPlaying) {
        QelShowPlayingState(window.GetPaintManager());
        if (!window.WaitUntilPainted(kPaintTimeoutMs)) {
            PrintError(strSkin + L": " + window.GetError());
            return 3;
        }
    }
    QelCapturedImage image;
    if (!QelCaptureClient(window.GetHWND(), image)) {
        PrintError(strSkin + L": the window's pixels could not be copied");
        return 3;
    }
    std::wstring strError;
    if (!QelSavePng(image, strOutput, strError)) {
        PrintError(strError);
        return 4;
    }
    std::fwprintf(stdout, L"%ls: %dx%d written to %ls\n", strSkin.c_str(), image.nWidth, image.nHeight,
                  strOutput.c_str());
    return 0;
}

}  // namespace

int main() {
    int argc = 0;
    std::unique_ptr<LPWSTR, ArgvDeleter> argv(::CommandLineToArgvW(::GetCommandLineW(), &argc));
    if (!argv) return Usage();
    LPWSTR* args = argv.get() + 1;
    int nArgs = argc - 1;
    const bool bPlaying = nArgs > 0 && std::wcscmp(args[0], L"--playing") == 0;
    if (bPlaying) {
        ++args;
        --nArgs;
    }
    if (nArgs != 2 && nArgs != 4) return Usage();
    int cx = 0, cy = 0;
    if (nArgs == 4) {
        cx = ParseLength(args[2]);
        cy = ParseLength(args[3]);
        if (cx == 0 || cy == 0) return Usage();
    }
    return Run(args[0], args[1], cx, cy, bPlaying);
}
