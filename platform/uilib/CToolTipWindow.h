// The tooltip of one skinned window: a standard tooltip control owned by the window,
// shown beside the pointer with a control's text and hidden when the pointer moves on.
// When it shows is the paint manager's business (after the system's hover time).
#pragma once

#include <windows.h>
#include <commctrl.h>

#include <string>

namespace UiLib {

class CToolTipWindow {
public:
    CToolTipWindow() = default;
    ~CToolTipWindow();
    CToolTipWindow(const CToolTipWindow&) = delete;
    CToolTipWindow& operator=(const CToolTipWindow&) = delete;

    // Shows strText for hOwner at a point on the screen; the control keeps itself on it.
    void Show(HWND hOwner, const std::wstring& strText, POINT ptScreen);
    void Hide();

private:
    bool Create(HWND hOwner);
    void Describe(TTTOOLINFOW& info);

    HWND m_hWnd = nullptr;
    HWND m_hOwner = nullptr;
    std::wstring m_strText;
};

}  // namespace UiLib
