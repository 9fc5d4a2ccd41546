// A top-level window that shows one skin exactly as a player window would build it: its
// own paint manager, the skin from the toolkit's resource path and the component's two
// custom controls for the "QelSlider" and "QelVideoUI" tags. It plays nothing.
#pragma once

#include <string>

#include "uilib/UiLib.h"

class QelSkinShotWindow : public UiLib::CWindowWnd, public UiLib::INotifyUI, public UiLib::IDialogBuilderCallback {
public:
    explicit QelSkinShotWindow(const std::wstring& strSkinFile);
    ~QelSkinShotWindow() override;

    // Creates the window at the screen's top-left corner with the skin's size, or with
    // cx x cy when both are above 0, and shows it. False when the skin gave no controls
    // (GetError tells why).
    bool Open(int cx, int cy);
    // Pumps messages until every window of the tree is painted and the queue has been
    // quiet for a moment, at most nTimeoutMs. False on time-out or when the window died.
    bool WaitUntilPainted(DWORD nTimeoutMs);
    const std::wstring& GetError() const { return m_strError; }
    UiLib::CPaintManagerUI& GetPaintManager() { return m_PaintManager; }

    void Notify(UiLib::TNotifyUI& msg) override;
    UiLib::CControlUI* CreateControl(const wchar_t* pstrClass) override;

protected:
    const wchar_t* GetWindowClassName() const override;
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override;

private:
    LRESULT OnCreate();
    bool HasPendingPaint() const;

    std::wstring m_strSkinFile;
    std::wstring m_strError;
    UiLib::CPaintManagerUI m_PaintManager;
    bool m_bPainted = false;
    bool m_bWindowInit = false;
};
