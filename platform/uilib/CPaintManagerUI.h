// One per skinned window: owns the control tree, lays it out and paints it double
// buffered, turns the window's mouse, key and timer messages into control events, keeps
// the hot, captured and focused controls, and delivers notifications to the notifiers.
// A click anywhere gives the window the keyboard; a control's tooltip shows once the
// pointer has rested on it for the system's hover time.
#pragma once

#include "uilib/UIBase.h"

#include <memory>
#include <vector>

namespace UiLib {

struct TImageInfo;
class CToolTipWindow;

class UILIB_API CPaintManagerUI {
public:
    CPaintManagerUI();
    ~CPaintManagerUI();
    // Copies the window settings a skin gives (sizes, caption, size box, corner, fonts,
    // colours, DPI) from a manager that has no window yet; never the tree or the window.
    CPaintManagerUI(const CPaintManagerUI& other);
    CPaintManagerUI& operator=(const CPaintManagerUI& other);

    void Init(HWND hWnd);
    HWND GetPaintWindow() const { return m_hWndPaint; }
    POINT GetMousePos() const { return m_ptLastMousePos; }
    // The window's current client size (the skin's size before the window exists).
    SIZE GetClientSize() const;
    SIZE GetInitSize() const;
    // Sets the skin's window size and resizes the window if it exists.
    void SetInitSize(int cx, int cy);
    RECT& GetSizeBox();
    void SetSizeBox(const RECT& rcSizeBox);
    RECT& GetCaptionRect();
    void SetCaptionRect(const RECT& rcCaption);
    SIZE GetRoundCorner() const;
    void SetRoundCorner(int cx, int cy);
    SIZE GetMinInfo() const { return m_szMinWindow; }
    void SetMinInfo(int cx, int cy);

    // DPI of the window's skin: lengths of the skin are multiplied by dpi / 96.
    int GetDPI() const { return m_nDPI; }
    void SetDPI(int iDPI);
    int ScaleValue(int n) const;

    static HINSTANCE GetInstance();
    static void SetInstance(HINSTANCE hInst);
    // The module's own folder, with a trailing backslash.
    static CDuiString GetInstancePath();
    // Skins and images are looked up under this folder (trailing backslash added).
    static const CDuiString& GetResourcePath();
    static void SetResourcePath(const wchar_t* pStrPath);
    // Pumps messages until WM_QUIT.
    static void MessageLoop();

    // Fonts declared by the skin, by index in order of declaration.
    int AddFont(const wchar_t* pStrFontName, int nSize, bool bBold, bool bUnderline, bool bItalic);
    HFONT GetFont(int index) const;
    HFONT GetDefaultFont() const;
    DWORD GetDefaultFontColor() const { return m_dwDefaultFontColor; }
    void SetDefaultFontColor(DWORD dwColor) { m_dwDefaultFontColor = dwColor; }
    DWORD GetDefaultDisabledColor() const { return m_dwDefaultDisabledColor; }
    void SetDefaultDisabledColor(DWORD dwColor) { m_dwDefaultDisabledColor = dwColor; }
    // An image file under the resource path, loaded once and kept; null when unreadable.
    const TImageInfo* GetImage(const wchar_t* pStrFile);

    bool AttachDialog(CControlUI* pControl);
    bool InitControls(CControlUI* pControl, CControlUI* pParent = nullptr);
    // Drops everything queued or remembered about a control that is going away.
    void ReapObjects(CControlUI* pControl);
    CControlUI* GetRoot() const { return m_pRoot; }
    CControlUI* FindControl(POINT pt);
    CControlUI* FindControl(const wchar_t* pstrName) const;

    bool AddNotifier(INotifyUI* pControl);
    bool RemoveNotifier(INotifyUI* pControl);
    // Synchronous delivery calls every notifier now; asynchronous delivery posts it to
    // this window's queue, so the receiver runs after the current event has finished.
    void SendNotify(TNotifyUI& Msg, bool bAsync = false);
    void SendNotify(CControlUI* pControl, const wchar_t* pstrMessage, WPARAM wParam = 0, LPARAM lParam = 0,
                    bool bAsync = false);

    bool SetTimer(CControlUI* pControl, UINT nTimerID, UINT uElapse);
    bool KillTimer(CControlUI* pControl, UINT nTimerID);
    void KillTimer(CControlUI* pControl);

    void SetCapture();
    void ReleaseCapture();
    bool IsCaptured() const { return m_bMouseCapture; }
    CControlUI* GetFocus() const { return m_pFocus; }
    void SetFocus(CControlUI* pControl);
    CControlUI* GetHotControl() const { return m_pEventHover; }

    void Invalidate(const RECT& rcItem);
    // The tree is laid out again before the next paint or hit test.
    void NeedUpdate();
    // Lays the tree out if needed and paints the given part of it into a device context.
    void PaintTo(HDC hDC, const RECT& rcPaint);

    // The paint manager's share of a window procedure: true when it handled the message.
    bool MessageHandler(UINT uMsg, WPARAM wParam, LPARAM lParam, LRESULT& lRes);

private:
    struct TimerInfo {
        CControlUI* pSender;
        UINT nLocalID;
        UINT_PTR uWinTimer;
    };
    struct FontInfo;
    struct ImageCache;

    void CopySettings(const CPaintManagerUI& other);
    void RebuildFonts();
    void LayoutIfNeeded();
    void DeliverAsyncNotifies();
    void SendWindowInit();
    void SetHover(CControlUI* pNewHover, POINT pt, WPARAM wParam, LPARAM lParam);
    void SendEvent(CControlUI* pControl, int type, POINT pt, WPARAM wParam, LPARAM lParam);
    // Leave and hover tracking, asked for again after each hover.
    void TrackMouse();
    void ShowToolTip();
    void HideToolTip();
    void TakeKeyboardFocus();
    void PaintWindow();
    void OnMouseMove(WPARAM wParam, LPARAM lParam);
    void OnButtonDown(UINT uMsg, WPARAM wParam, LPARAM lParam);
    void OnButtonUp(WPARAM wParam, LPARAM lParam);
    bool OnMouseWheel(WPARAM wParam, LPARAM lParam);
    bool OnSetCursor(WPARAM wParam, LPARAM lParam, LRESULT& lRes);
    void OnKey(UINT uMsg, WPARAM wParam, LPARAM lParam);

    HWND m_hWndPaint = nullptr;
    CControlUI* m_pRoot = nullptr;
    CControlUI* m_pFocus = nullptr;
    CControlUI* m_pEventHover = nullptr;
    CControlUI* m_pEventClick = nullptr;
    bool m_bMouseCapture = false;
    bool m_bMouseTracking = false;
    bool m_bUpdateNeeded = false;
    bool m_bWindowInitSent = false;
    POINT m_ptLastMousePos = {-1, -1};
    SIZE m_szInitWindowSize = {0, 0};
    SIZE m_szMinWindow = {0, 0};
    RECT m_rcSizeBox = {0, 0, 0, 0};
    RECT m_rcCaption = {0, 0, 0, 0};
    SIZE m_szRoundCorner = {0, 0};
    int m_nDPI = 96;
    DWORD m_dwDefaultFontColor = 0xFF000000;
    DWORD m_dwDefaultDisabledColor = 0xFFA7A6AA;
    std::vector<INotifyUI*> m_aNotifiers;
    std::vector<TNotifyUI> m_aAsyncNotify;
    std::vector<TimerInfo> m_aTimers;
    UINT_PTR m_uNextTimerID = 0x1000;
    std::vector<std::shared_ptr<FontInfo>> m_aFonts;
    mutable std::shared_ptr<FontInfo> m_pDefaultFont;
    std::shared_ptr<ImageCache> m_pImages;
    std::unique_ptr<CToolTipWindow> m_pToolTip;
    CControlUI* m_pToolTipFor = nullptr;  // the control whose tooltip shows
};

}  // namespace UiLib
