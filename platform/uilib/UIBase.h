// The toolkit's value types: its string, resource names, events, notifications and the
// two callback interfaces a window implements.
#pragma once

#include "uilib/UiLibExport.h"

#include <windows.h>

#include <string>

namespace UiLib {

class CControlUI;
class CPaintManagerUI;

// The toolkit's wide string. A thin value type over std::wstring so that skins, names and
// attributes read the same everywhere; it converts to const wchar_t* like a C string.
class UILIB_API CDuiString {
public:
    CDuiString() = default;
    CDuiString(const wchar_t* psz);
    CDuiString(const wchar_t* psz, int nLength);
    CDuiString(const std::wstring& str) : m_str(str) {}

    const wchar_t* GetData() const { return m_str.c_str(); }
    operator const wchar_t*() const { return m_str.c_str(); }
    const std::wstring& Str() const { return m_str; }
    int GetLength() const { return static_cast<int>(m_str.size()); }
    bool IsEmpty() const { return m_str.empty(); }
    void Empty() { m_str.clear(); }
    void Append(const wchar_t* psz);
    void Assign(const wchar_t* psz, int nLength = -1);

    CDuiString& operator=(const wchar_t* psz);
    CDuiString& operator+=(const wchar_t* psz);
    CDuiString operator+(const wchar_t* psz) const;
    bool operator==(const wchar_t* psz) const { return Compare(psz) == 0; }
    bool operator!=(const wchar_t* psz) const { return Compare(psz) != 0; }

    int Compare(const wchar_t* psz) const;
    int CompareNoCase(const wchar_t* psz) const;
    // printf-style formatting into a new string; "%d", "%s" (wide), "%I64u" and friends.
    int Format(const wchar_t* pstrFormat, ...);

private:
    std::wstring m_str;
};

// A skin or resource named either by a file name or by a resource id.
class UILIB_API STRINGorID {
public:
    STRINGorID(const wchar_t* lpString) : m_lpstr(lpString) {}
    STRINGorID(UINT nID) : m_lpstr(MAKEINTRESOURCEW(nID)) {}
    bool IsId() const { return IS_INTRESOURCE(m_lpstr); }
    const wchar_t* m_lpstr;
};

// Event numbers the controls receive in DoEvent. The mouse events lie strictly between
// UIEVENT__MOUSEBEGIN and UIEVENT__MOUSEEND, the key events between the key markers.
enum UIEVENT_TYPE {
    UIEVENT__FIRST = 1,
    UIEVENT__KEYBEGIN = 2,
    UIEVENT_KEYDOWN = 3,
    UIEVENT_KEYUP = 4,
    UIEVENT_CHAR = 5,
    UIEVENT_SYSKEY = 6,
    UIEVENT__KEYEND = 7,
    UIEVENT__MOUSEBEGIN = 8,
    UIEVENT_MOUSEMOVE = 9,
    UIEVENT_MOUSELEAVE = 10,
    UIEVENT_MOUSEENTER = 11,
    UIEVENT_MOUSEHOVER = 12,
    UIEVENT_BUTTONDOWN = 13,
    UIEVENT_BUTTONUP = 14,
    UIEVENT_RBUTTONDOWN = 15,
    UIEVENT_DBLCLICK = 16,
    UIEVENT_CONTEXTMENU = 17,
    UIEVENT_SCROLLWHEEL = 18,
    UIEVENT__MOUSEEND = 19,
    UIEVENT_KILLFOCUS = 20,
    UIEVENT_SETFOCUS = 21,
    UIEVENT_WINDOWSIZE = 22,
    UIEVENT_SETCURSOR = 23,
    UIEVENT_TIMER = 24,
    UIEVENT_NOTIFY = 25,
    UIEVENT_COMMAND = 26,
    UIEVENT__LAST = 27,
};

// Bits of a control's button state.
enum UISTATE_FLAGS : UINT {
    UISTATE_FOCUSED = 0x01,
    UISTATE_SELECTED = 0x02,
    UISTATE_DISABLED = 0x04,
    UISTATE_HOT = 0x08,
    UISTATE_PUSHED = 0x10,
    UISTATE_READONLY = 0x20,
    UISTATE_CAPTURED = 0x40,
};

// Flags of CControlUI::FindControl.
enum UIFIND_FLAGS : UINT {
    UIFIND_ALL = 0x00000000,
    UIFIND_VISIBLE = 0x00000001,
    UIFIND_ENABLED = 0x00000002,
    UIFIND_HITTEST = 0x00000004,
    UIFIND_TOP_FIRST = 0x00000008,
    UIFIND_ME_FIRST = 0x80000000,
};

// Notification types the toolkit itself sends.
#define DUI_MSGTYPE_WINDOWINIT L"windowinit"
#define DUI_MSGTYPE_CLICK L"click"
#define DUI_MSGTYPE_SELECTCHANGED L"selectchanged"
#define DUI_MSGTYPE_VALUECHANGED L"valuechanged"
#define DUI_MSGTYPE_MOVEVALUECHANGED L"movevaluechanged"
#define DUI_MSGTYPE_TIMER L"timer"
#define DUI_MSGTYPE_SETFOCUS L"setfocus"
#define DUI_MSGTYPE_KILLFOCUS L"killfocus"

struct TEventUI {
    int Type = 0;
    CControlUI* pSender = nullptr;
    DWORD dwTimestamp = 0;
    POINT ptMouse = {0, 0};
    wchar_t chKey = 0;
    WORD wKeyState = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

struct TNotifyUI {
    CDuiString sType;
    CDuiString sVirtualWnd;
    CControlUI* pSender = nullptr;
    DWORD dwTimestamp = 0;
    POINT ptMouse = {0, 0};
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

class INotifyUI {
public:
    virtual void Notify(TNotifyUI& msg) = 0;

protected:
    ~INotifyUI() = default;
};

class IDialogBuilderCallback {
public:
    virtual CControlUI* CreateControl(const wchar_t* pstrClass) = 0;

protected:
    ~IDialogBuilderCallback() = default;
};

typedef CControlUI*(CALLBACK* FINDCONTROLPROC)(CControlUI*, LPVOID);

}  // namespace UiLib
