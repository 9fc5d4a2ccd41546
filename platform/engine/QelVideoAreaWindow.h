// The window the engine's picture is drawn into: a borderless black child of the render
// window, kept at the video area the host asks for, so that the picture sits at that area
// instead of filling the render window.
//
// Windows: a "QelVideoArea" window that belongs to a small thread of its own, which pumps
// its messages. Open may run on a worker thread that never pumps, and a child window of
// such a thread would hang its parent. It is disabled, so clicks and double clicks on it
// reach the render window as its own.
// Linux: an X11 child window of the render window when that is an X11 window id (not a
// message queue of this process) and its display can be reached. It selects no input, so
// clicks go on to the render window as X11 passes them to a window's parent. The engine's
// messages reach such a render window through it (PostToRenderWindow).
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "winapi/QelWinApi.h"

#ifndef _WIN32
struct xcb_connection_t;
#endif

class QelVideoAreaWindow {
public:
    // Null when the render window cannot hold one: 0, not a window, or (Linux) a message
    // queue, or no display. The area starts as the render window's whole client area.
    static std::unique_ptr<QelVideoAreaWindow> Create(HWND hRenderWnd);
    // Destroys the window and ends its thread.
    ~QelVideoAreaWindow();
    QelVideoAreaWindow(const QelVideoAreaWindow&) = delete;
    QelVideoAreaWindow& operator=(const QelVideoAreaWindow&) = delete;

    // Places the area, in the render window's client coordinates; it is in place when the
    // call returns. An empty area shows nothing.
    void Move(std::int32_t nLeft, std::int32_t nTop, std::int32_t nWidth, std::int32_t nHeight);

#ifdef _WIN32
    // What libvlc draws into.
    HWND Handle() const { return m_hWnd; }
#else
    std::uint32_t XWindow() const { return m_nWindow; }
    // Posts a window message to the render window, as an X11 event for the client that
    // made it (platform/winapi/QelX11PostedMessage.h). Safe from any thread.
    void PostToRenderWindow(UINT nMsg, WPARAM wParam, LPARAM lParam);
#endif

private:
    explicit QelVideoAreaWindow(HWND hRenderWnd) : m_hRenderWnd(hRenderWnd) {}
    bool Start();

    HWND m_hRenderWnd;
    std::mutex m_mutex;
#ifdef _WIN32
    static DWORD WINAPI ThreadMain(LPVOID pSelf);
    static LRESULT CALLBACK WindowProc(HWND hWnd, UINT nMsg, WPARAM wParam, LPARAM lParam);
    void ApplyArea(HWND hWnd);

    HANDLE m_hThread = nullptr;
    HANDLE m_hReady = nullptr;
    DWORD m_dwThreadId = 0;
    HWND m_hWnd = nullptr;
    RECT m_rcArea{};  // guarded by m_mutex: written by Move, read on the window's thread
#else
    xcb_connection_t* m_pConnection = nullptr;
    std::uint32_t m_nWindow = 0;
    std::uint32_t m_nPostedMessageAtom = 0;
    bool m_bMapped = false;  // guarded by m_mutex
#endif
};
