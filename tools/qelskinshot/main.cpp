// qelskinshot: the library's real embedded video or audio player (or the chapter dot
// pop-up) in a real window, driven to a state as its host and the engine drive it, and
// what the window shows saved as a PNG.
//
//   qelskinshot [--loading | --failed] SCENE OUTPUT.png [WIDTH HEIGHT]
//
// SCENE is "video" or "audio" (the players, playing) or "videothumb" (the pop-up, at its
// skin's size). WIDTH x HEIGHT is the player's size, 192 x 192 unless given: the ActiveX
// control's default extent of 2 x 2 inches at 96 DPI. --loading shows the video player
// while the engine is caching, --failed after the engine could not open the video. The
// video engine is the substitute one (duration 10:00, position 3:20, three chapters); the
// skins are read from <exe folder>\..\ui\qelmediaplayer\.
// Exit codes: 0 written, 1 bad arguments, 2 skin missing or window not made, 3 window
// gone or not captured, 4 PNG not written.
#include <windows.h>
#include <shellapi.h>

#include <cstdio>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

#include "QelPngCapture.h"
#include "QelShotHost.h"
#include "QelShotScene.h"

namespace {

constexpr int kControlExtent = 192;  // 2 inches at 96 DPI
constexpr DWORD kSettleMs = 500;

struct ArgvDeleter {
    void operator()(LPWSTR* p) const { ::LocalFree(p); }
};

struct Options {
    QelShotState state = QelShotState::Playing;
    std::wstring strScene, strOutput;
    int cx = kControlExtent, cy = kControlExtent;
};

void PrintError(const std::wstring& strText) { std::fwprintf(stderr, L"qelskinshot: %ls\n", strText.c_str()); }

int Usage() {
    std::fwprintf(stderr, L"usage: qelskinshot [--loading | --failed] SCENE OUTPUT.png [WIDTH HEIGHT]\n"
                          L"  SCENE is video, audio or videothumb\n");
    return 1;
}

bool ParseArguments(int argc, LPWSTR* argv, Options& options) {
    int i = 1;
    if (i < argc && (std::wcscmp(argv[i], L"--loading") == 0 || std::wcscmp(argv[i], L"--failed") == 0)) {
        options.state = argv[i][2] == L'l' ? QelShotState::Loading : QelShotState::Failed;
        ++i;
    }
    const int nLeft = argc - i;
    if (nLeft != 2 && nLeft != 4) return false;
    options.strScene = argv[i];
    options.strOutput = argv[i + 1];
    if (nLeft == 4) {
        options.cx = QelParsePictureLength(argv[i + 2]);
        options.cy = QelParsePictureLength(argv[i + 3]);
    }
    const bool bStateFits = options.state == QelShotState::Playing || options.strScene == L"video";
    return QelShotScene::IsKnown(options.strScene) && bStateFits && options.cx > 0 && options.cy > 0;
}

std::wstring ResourceFolder() {
    std::vector<wchar_t> buffer(MAX_PATH);
    for (;;) {
        const DWORD n = ::GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (n == 0) return L"";
        if (n < buffer.size()) break;
        buffer.resize(buffer.size() * 2);
    }
    const std::wstring strExe(buffer.data());
    const std::wstring strRelative = strExe.substr(0, strExe.find_last_of(L"\\/") + 1) + L"..\\ui\\qelmediaplayer\\";
    wchar_t szFull[MAX_PATH * 4];
    const DWORD n = ::GetFullPathNameW(strRelative.c_str(), MAX_PATH * 4, szFull, nullptr);
    return (n > 0 && n < MAX_PATH * 4) ? std::wstring(szFull) : strRelative;
}

bool IsFile(const std::wstring& strPath) {
    const DWORD dwAttributes = ::GetFileAttributesW(strPath.c_str());
    return dwAttributes != INVALID_FILE_ATTRIBUTES && (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

int Run(const Options& options) {
    const std::wstring strResources = ResourceFolder();
    std::wstring strSkinPath = strResources + QelShotScene::SkinOf(options.strScene);
    for (wchar_t& ch : strSkinPath)
        if (ch == L'/') ch = L'\\';
    if (!IsFile(strSkinPath)) {
        PrintError(L"no skin file " + strSkinPath);
        return 2;
    }
    UiLib::CPaintManagerUI::SetInstance(::GetModuleHandleW(nullptr));
    UiLib::CPaintManagerUI::SetResourcePath(strResources.c_str());

    QelShotHost host;
    if (!host.Open(options.cx, options.cy)) {
        PrintError(L"the host window could not be made");
        return 2;
    }
    QelShotScene scene(options.strScene, options.state);
    const HWND hPicture = scene.Show(host);
    if (hPicture == nullptr) {
        PrintError(options.strScene + L": the window could not be made");
        return 2;
    }
    QelCapturedImage image;
    if (!host.Settle(kSettleMs) || !::IsWindow(hPicture) || !QelCaptureClient(hPicture, image)) {
        PrintError(options.strScene + L": the window's pixels could not be copied");
        return 3;
    }
    std::wstring strError;
    if (!QelSavePng(image, options.strOutput, strError)) {
        PrintError(strError);
        return 4;
    }
    std::fwprintf(stdout, L"%ls: %dx%d written to %ls\n", options.strScene.c_str(), image.nWidth, image.nHeight,
                  options.strOutput.c_str());
    return 0;
}

}  // namespace

int main() {
    int argc = 0;
    std::unique_ptr<LPWSTR, ArgvDeleter> argv(::CommandLineToArgvW(::GetCommandLineW(), &argc));
    Options options;
    if (!argv || !ParseArguments(argc, argv.get(), options)) return Usage();
    return Run(options);
}
