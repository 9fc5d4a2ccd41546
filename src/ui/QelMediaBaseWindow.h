// The common base of every player window: a frameless window drawn entirely by its
// skin's paint manager. It supplies what a frameless window lacks (caption dragging,
// resize borders, maximising to the work area, a rounded region), the maximise,
// minimise, restore and full-screen operations, the DPI rule, and routes the toolkit's
// notifications to overridable handlers. It plays nothing itself: Play only remembers
// the path.
#pragma once

#include <string>

#include "QelExport.h"
#include "uilib/UiLib.h"

namespace UiLib {

class QEL_API QelMediaBaseWindow : public CWindowWnd, public INotifyUI, public IDialogBuilderCallback {
public:
    // skinFile is resolved against the toolkit's resource path when the window is created;
    // scaleDpi makes creation apply GetDpi() to the skin.
    QelMediaBaseWindow(const wchar_t* skinFile, bool scaleDpi);
    ~QelMediaBaseWindow() override;

    // The main monitor's DPI, where anything up to 120 (125 %) counts as an unscaled 96.
    static int GetDpi();
    // The primary screen's size.
    static SIZE GetScreenSize();
    // Sizes hwnd to the whole primary screen and shows it; records nothing.
    static void SetFullscreen(HWND hwnd);

    CDuiString GetSkinFile();
    CDuiString GetSkinFolder();
    bool IsFullscreen() const;

    // Called at the end of WM_CREATE, once the control tree is attached.
    virtual void Init();
    // Called on the "windowinit" notification.
    virtual void InitWindow();
    virtual LRESULT OnCreate(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnClose(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnDestroy(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnNcActivate(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnNcCalcSize(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnNcPaint(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnNcHitTest(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnSize(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnGetMinMaxInfo(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnSysCommand(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnTimer(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnKeyDown(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    virtual LRESULT OnSetCursor(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled);
    // Remembers the media path; subclasses play it.
    virtual void Play(const std::wstring& path);
    virtual void Stop();
    virtual void OnClickEvent(TNotifyUI& msg);
    virtual void OnOtherEvent(TNotifyUI& msg);

    // "windowinit" goes to InitWindow, "click" to OnClickEvent, the rest to OnOtherEvent.
    void Notify(TNotifyUI& msg) override;
    // No controls of our own: the toolkit builds every tag itself.
    CControlUI* CreateControl(const wchar_t* pstrClass) override;

protected:
    const wchar_t* GetWindowClassName() const override;
    UINT GetClassStyle() const override;
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override;
    // The object outlives its handle: whoever created it deletes it.
    void OnFinalMessage(HWND hWnd) override;

    // Each does nothing while the window has no handle.
    void MaxWindow();
    void MinWindow();
    void RestoreWindow();
    void MaxOrRestroeWindow();
    // Whole primary screen, and back to the rectangle it had before.
    void SwitchFullscreen();

    CDuiString m_strSkinFile;
    CPaintManagerUI m_PaintManager;
    bool m_bScaleDpi;
    RECT m_rcRestore;
    bool m_bFullscreen;
    std::wstring m_strMediaPath;
};

}  // namespace UiLib
