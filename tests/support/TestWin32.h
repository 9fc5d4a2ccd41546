// Windows only: what tests of real windows share: a bounded message pump, mouse-message
// points, and pixels read back from a window.
#pragma once

#include <windows.h>

#include <chrono>
#include <functional>

namespace qel::test {

// Dispatches every message already queued for this thread (posted notifications
// included), so that what has not happened by then is known not to happen.
void PumpPending();
// Dispatches this thread's messages until pred holds or the time-out passes.
bool PumpUntil(const std::function<bool()>& pred, std::chrono::milliseconds timeout = std::chrono::milliseconds(5000));

// Lets what is queued run, then paints the window at once (the toolkit lays its tree out
// before painting).
void Repaint(HWND hWnd);
// A left press and release at a client point, each sent through the window procedure
// after a move there, as the system delivers them.
void ClickAt(HWND hWnd, int x, int y);

// lParam of a mouse message at a client point.
inline LPARAM ClientPoint(int x, int y) { return MAKELPARAM(static_cast<WORD>(x), static_cast<WORD>(y)); }
// lParam of WM_NCHITTEST or WM_MOUSEWHEEL: the client point in screen coordinates.
LPARAM ScreenPoint(HWND hWnd, int x, int y);

// Client-area pixel of a window, read back from its device context.
COLORREF ReadPixel(HWND hWnd, int x, int y);
// Client-area pixel as the window's own painting produces it, drawn into a memory
// bitmap through WM_PRINTCLIENT (independent of what covers the window on screen).
COLORREF PrintedPixel(HWND hWnd, int x, int y);

}  // namespace qel::test
