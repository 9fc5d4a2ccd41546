// qelhost: a window that embeds the media player control by its ProgID through atl.dll's
// container, with Type and Path from its command line set before the control is
// activated, and shows the player. The control must be registered (regsvr32).
//
//   qelhost [--png OUTPUT.png] TYPE PATH [WIDTH HEIGHT]
//
// TYPE is "audio" or "video"; WIDTH x HEIGHT is the control's size (640 x 400 unless
// given). With --png the window's picture is saved once the player has shown itself and
// the program exits; without it the window stays until it is closed.
// Exit codes: 0 done, 1 bad arguments, 2 the control could not be made (not registered?),
// 3 no player window appeared or the window could not be captured, 4 PNG not written.
#include <windows.h>
#include <ole2.h>
#include <shellapi.h>

#include <cstdio>
#include <cwchar>
#include <memory>
#include <string>

#include "QelHostedControl.h"
#include "QelPngCapture.h"

extern "C" BOOL WINAPI AtlAxWinInit();

namespace {

using Microsoft::WRL::ComPtr;

constexpr wchar_t kHostClass[] = L"QelHostWindow";
constexpr DWORD kPlayerTimeoutMs = 15000;
// Long enough for the player's first layout and paint after it appeared.
constexpr DWORD kSettleMs = 1500;

struct ArgvDeleter {
    void operator()(LPWSTR* p) const { ::LocalFree(p); }
};

struct Options {
    std::wstring strPng, strType, strPath;
    int cx = 640, cy = 400;
};

int Usage() {
    std::fwprintf(stderr, L"usage: qelhost [--png OUTPUT.png] TYPE PATH [WIDTH HEIGHT]\n"
                          L"  TYPE is audio or video; the control must be registered (regsvr32 QelMediaPlayer.dll)\n");
    return 1;
}

bool ParseArguments(int argc, LPWSTR* argv, Options& options) {
    int i = 1;
    if (i + 1 < argc && std::wcscmp(argv[i], L"--png") == 0) {
        options.strPng = argv[i + 1];
        i += 2;
    }
    const int nLeft = argc - i;
    if (nLeft != 2 && nLeft != 4) return false;
    options.strType = argv[i];
    options.strPath = argv[i + 1];
    if (nLeft == 4) {
        options.cx = QelParsePictureLength(argv[i + 2]);
        options.cy = QelParsePictureLength(argv[i + 3]);
    }
    return options.cx > 0 && options.cy > 0;
}

LRESULT CALLBACK HostWindowProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == WM_DESTROY) ::PostQuitMessage(0);
    return ::DefWindowProcW(hWnd, uMsg, wParam, lParam);
}

HWND CreateHostWindow(int cx, int cy) {
    WNDCLASSEXW wc = {};
    wc.cbSize = sizeof(wc);
    wc.lpfnWndProc = HostWindowProc;
    wc.hInstance = ::GetModuleHandleW(nullptr);
    wc.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    wc.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    wc.lpszClassName = kHostClass;
    ::RegisterClassExW(&wc);
    RECT rc = {0, 0, cx, cy};
    ::AdjustWindowRectEx(&rc, WS_OVERLAPPEDWINDOW, FALSE, 0);
    return ::CreateWindowExW(0, kHostClass, L"qelhost", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN | WS_VISIBLE, 0, 0,
                             rc.right - rc.left, rc.bottom - rc.top, nullptr, nullptr, wc.hInstance, nullptr);
}

// Pumps messages until pred holds, at most nTimeoutMs; false on time-out.
template <class Pred>
bool PumpUntil(Pred pred, DWORD nTimeoutMs) {
    const DWORD dwStart = ::GetTickCount();
    for (;;) {
        MSG msg;
        while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            ::TranslateMessage(&msg);
            ::DispatchMessageW(&msg);
        }
        if (pred()) return true;
        if (::GetTickCount() - dwStart >= nTimeoutMs) return false;
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 50, QS_ALLINPUT);
    }
}

int SavePicture(HWND hHost, const std::wstring& strPng) {
    if (!PumpUntil([hHost] { return QelFindPlayerWindow(hHost) != nullptr; }, kPlayerTimeoutMs)) {
        std::fwprintf(stderr, L"qelhost: no player window appeared\n");
        return 3;
    }
    const DWORD dwShown = ::GetTickCount();
    PumpUntil([dwShown] { return ::GetTickCount() - dwShown >= kSettleMs; }, kSettleMs + 1000);
    ::RedrawWindow(hHost, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    ::GdiFlush();
    QelCapturedImage image;
    if (!QelCaptureClient(hHost, image)) {
        std::fwprintf(stderr, L"qelhost: the window's pixels could not be copied\n");
        return 3;
    }
    std::wstring strError;
    if (!QelSavePng(image, strPng, strError)) {
        std::fwprintf(stderr, L"qelhost: %ls\n", strError.c_str());
        return 4;
    }
    std::fwprintf(stdout, L"%dx%d written to %ls\n", image.nWidth, image.nHeight, strPng.c_str());
    return 0;
}

int Run(const Options& options) {
    if (!::AtlAxWinInit()) {
        std::fwprintf(stderr, L"qelhost: atl.dll's container could not be set up\n");
        return 2;
    }
    const HWND hHost = CreateHostWindow(options.cx, options.cy);
    if (hHost == nullptr) return 2;
    ComPtr<IUnknown> spContainer;
    const HRESULT hr = QelEmbedMediaPlayerControl(hHost, options.strType, options.strPath, spContainer);
    if (FAILED(hr)) {
        std::fwprintf(stderr, L"qelhost: the control could not be made (0x%08lx); is it registered?\n",
                      static_cast<unsigned long>(hr));
        ::DestroyWindow(hHost);
        return 2;
    }
    int nExit = 0;
    if (!options.strPng.empty()) {
        nExit = SavePicture(hHost, options.strPng);
    } else {
        MSG msg;
        while (::GetMessageW(&msg, nullptr, 0, 0) > 0) {
            ::TranslateMessage(&msg);
            ::DispatchMessageW(&msg);
        }
    }
    // The container deactivates and lets go of the control when its window goes.
    if (::IsWindow(hHost)) ::DestroyWindow(hHost);
    return nExit;
}

}  // namespace

int main() {
    int argc = 0;
    std::unique_ptr<LPWSTR, ArgvDeleter> argv(::CommandLineToArgvW(::GetCommandLineW(), &argc));
    Options options;
    if (!argv || !ParseArguments(argc, argv.get(), options)) return Usage();
    if (FAILED(::OleInitialize(nullptr))) return 2;
    const int nExit = Run(options);
    ::OleUninitialize();
    return nExit;
}
