// Windows only: what tests of real windows share: a bounded message pump, mouse-message
// points, rectangles as text, and a window's own painting.
#pragma once

#include <windows.h>

#include <chrono>
#include <functional>
#include <string>

namespace qel::test {

// Dispatches every message already queued for this thread (posted notifications
// included), so that what has not happened by then is known not to happen.
void PumpPending();
// Dispatches this thread's messages until pred holds or the time-out passes; the bound
// only ends a hang, it is never a speed target.
bool PumpUntil(const std::function<bool()>& pred, std::chrono::milliseconds timeout = std::chrono::seconds(10));
// Lets what is queued run, lays the window out and paints it.
void Repaint(HWND hWnd);
// A left press and release at a client point, each after a move there, as the system
// delivers them.
void ClickAt(HWND hWnd, int x, int y);
// lParam of a mouse message at a client point.
inline LPARAM ClientPoint(int x, int y) { return MAKELPARAM(static_cast<WORD>(x), static_cast<WORD>(y)); }
// "left,top,right,bottom", so that a rectangle is one assertion; a window's in its
// parent's client area (on the screen for a top-level one).
std::string RectText(const RECT& rc);
std::string WindowRectText(HWND hWnd);
// A client-area pixel as the window's own painting makes it (WM_PRINTCLIENT, or WM_PAINT
// for a window that paints into a given device context, into a black memory bitmap),
// whatever covers the window on the shared screen.
COLORREF PrintedPixel(HWND hWnd, int x, int y, UINT uMsg = WM_PRINTCLIENT);

}  // namespace qel::test
