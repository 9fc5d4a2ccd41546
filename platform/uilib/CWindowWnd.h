// A native window bound to a C++ object: the object's HandleMessage is its window
// procedure. Subclasses name their window class and may superclass a system class.
#pragma once

#include "uilib/UIBase.h"

namespace UiLib {

class UILIB_API CWindowWnd {
public:
    CWindowWnd() = default;
    CWindowWnd(const CWindowWnd&) = delete;
    CWindowWnd& operator=(const CWindowWnd&) = delete;

    HWND GetHWND() const { return m_hWnd; }
    operator HWND() const { return m_hWnd; }

    HWND Create(HWND hwndParent, const wchar_t* pstrName, DWORD dwStyle, DWORD dwExStyle, const RECT rc,
                HMENU hMenu = nullptr);
    HWND Create(HWND hwndParent, const wchar_t* pstrName, DWORD dwStyle, DWORD dwExStyle, int x = CW_USEDEFAULT,
                int y = CW_USEDEFAULT, int cx = CW_USEDEFAULT, int cy = CW_USEDEFAULT, HMENU hMenu = nullptr);

    virtual void ShowWindow(bool bShow = true, bool bTakeFocus = true);
    // Runs a modal message loop until the window is closed; returns Close's value.
    UINT ShowModal();
    // Posts WM_CLOSE with nRet as wParam; ShowModal returns it.
    void Close(UINT nRet = IDOK);
    void CenterWindow();
    void ResizeClient(int cx = -1, int cy = -1);
    LRESULT SendMessage(UINT uMsg, WPARAM wParam = 0, LPARAM lParam = 0);
    LRESULT PostMessage(UINT uMsg, WPARAM wParam = 0, LPARAM lParam = 0);

protected:
    virtual const wchar_t* GetWindowClassName() const = 0;
    // A system class to superclass ("BUTTON", ...) or null for a class of our own.
    virtual const wchar_t* GetSuperClassName() const;
    virtual UINT GetClassStyle() const;
    // The window procedure of this object; the default is the class's default procedure.
    virtual LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam);
    // Called after WM_NCDESTROY, when the handle is gone. Does nothing by default.
    virtual void OnFinalMessage(HWND hWnd);

public:
    virtual ~CWindowWnd();

protected:
    bool RegisterWindowClass();
    bool RegisterSuperclass();
    static LRESULT CALLBACK __WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);

    HWND m_hWnd = nullptr;
    WNDPROC m_OldWndProc = ::DefWindowProcW;
};

}  // namespace UiLib
