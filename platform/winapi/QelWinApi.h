// The few Win32 types and calls the portable code uses.
// On Windows this is <windows.h> itself. Elsewhere it is a small stand-in in which a
// window handle names an in-process message queue (see QelMessageQueue.h), so that the
// component's workers can post their reports to a host or a test exactly as on Windows.
#pragma once

#ifdef _WIN32
#include <windows.h>
#else

#include <cstdint>

// The stand-in is part of every library's interface: the copies linked into the component,
// the engine and a host are one, since the dynamic linker binds them all to the first.
#define QEL_WINAPI_EXPORT __attribute__((visibility("default")))

struct QelWindowTag;
typedef QelWindowTag* HWND;
typedef void* HANDLE;
typedef void* HINSTANCE;
typedef unsigned int UINT;
typedef int BOOL;
typedef unsigned long DWORD;
typedef std::uintptr_t WPARAM;
typedef std::intptr_t LPARAM;
typedef std::intptr_t LRESULT;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

#ifndef MAX_PATH
#define MAX_PATH 260
#endif

#define WM_USER 0x0400

struct RECT {
    long left;
    long top;
    long right;
    long bottom;
};

struct SIZE {
    long cx;
    long cy;
};

struct POINT {
    long x;
    long y;
};

// Queues the message for the queue the handle names; FALSE when no live queue has that
// handle (never created, or already destroyed). Never blocks, safe from any thread.
QEL_WINAPI_EXPORT BOOL PostMessageW(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam);

// TRUE while the handle names a live queue.
QEL_WINAPI_EXPORT BOOL IsWindow(HWND hWnd);

#endif  // _WIN32
