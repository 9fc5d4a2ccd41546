// A player window for the tests: the base window with the library's custom controls and
// two recording controls of the tests' own, every notification and every component
// message it receives on record, and its protected operations open to the tests.
#pragma once

#include <string>
#include <vector>

#include "QelUiTestSupport.h"
#include "ui/QelMediaBaseWindow.h"
#include "ui/QelSliderUI.h"
#include "ui/QelVideoUI.h"

namespace qel::uitest {

// Opens the slider's own state to the tests.
class ProbeSlider : public UiLib::QelSliderUI {
public:
    const std::vector<UiLib::_QelVideoDotsData>& Dots() const { return m_vecVideoDots; }
    bool IsDotHot() const { return (m_uDotState & UiLib::UISTATE_HOT) != 0; }
    bool IsCaptured() const { return (m_uButtonState & UiLib::UISTATE_CAPTURED) != 0; }
    bool IsThumbHot() const { return (m_uButtonState & UiLib::UISTATE_HOT) != 0; }
};

// A layout that records the events its children hand on to it (tag "RecordingLayout").
class RecordingLayout : public UiLib::CVerticalLayoutUI {
public:
    void DoEvent(UiLib::TEventUI& event) override {
        m_vecEvents.push_back(event.Type);
        CVerticalLayoutUI::DoEvent(event);
    }
    size_t Count(int nType) const {
        size_t n = 0;
        for (int t : m_vecEvents) n += t == nType ? 1 : 0;
        return n;
    }
    std::vector<int> m_vecEvents;
};

// A plain control that records every event it gets (tag "Recorder").
class RecordingControl : public UiLib::CControlUI {
public:
    void DoEvent(UiLib::TEventUI& event) override {
        m_vecEvents.push_back(event.Type);
        m_vecKeys.push_back(event.chKey);
        CControlUI::DoEvent(event);
    }
    std::vector<int> m_vecEvents;
    std::vector<wchar_t> m_vecKeys;
};

struct ReceivedMessage {
    UINT message = 0;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

class TestPlayerWindow : public UiLib::QelMediaBaseWindow {
public:
    explicit TestPlayerWindow(const wchar_t* skinFile, bool scaleDpi = true) : QelMediaBaseWindow(skinFile, scaleDpi) {}
    ~TestPlayerWindow() override {
        if (m_hWnd != nullptr && ::IsWindow(m_hWnd)) ::DestroyWindow(m_hWnd);
    }

    // A top-level pop-up at a known screen rectangle, shown without taking the focus away.
    HWND CreateAt(int x, int y, int cx, int cy, DWORD dwStyle = WS_POPUP | WS_VISIBLE, HWND hParent = nullptr) {
        return Create(hParent, L"qel-test-player", dwStyle, 0, x, y, cx, cy);
    }

    using QelMediaBaseWindow::MaxOrRestroeWindow;
    using QelMediaBaseWindow::MaxWindow;
    using QelMediaBaseWindow::MinWindow;
    using QelMediaBaseWindow::RestoreWindow;
    using QelMediaBaseWindow::SwitchFullscreen;

    UiLib::CPaintManagerUI& Manager() { return m_PaintManager; }
    template <typename T>
    T* Find(const wchar_t* pstrName) {
        return dynamic_cast<T*>(m_PaintManager.FindControl(pstrName));
    }

    UiLib::CControlUI* CreateControl(const wchar_t* pstrClass) override {
        const std::wstring strClass(pstrClass);
        if (strClass == L"QelSlider") return new ProbeSlider;
        if (strClass == L"QelVideoUI") return new QelVideoUI(m_hWnd);
        if (strClass == L"RecordingLayout") return new RecordingLayout;
        if (strClass == L"Recorder") return new RecordingControl;
        return nullptr;
    }

    void Init() override { ++m_nInit; }
    void InitWindow() override { ++m_nInitWindow; }
    void OnClickEvent(UiLib::TNotifyUI& msg) override { m_vecClicks.push_back(msg.pSender->GetName().Str()); }
    void OnOtherEvent(UiLib::TNotifyUI& msg) override { m_vecOthers.push_back(msg.sType.Str()); }
    void Notify(UiLib::TNotifyUI& msg) override {
        m_notified.Notify(msg);
        QelMediaBaseWindow::Notify(msg);
    }
    LRESULT OnClose(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled) override {
        ++m_nClose;
        return QelMediaBaseWindow::OnClose(uMsg, wParam, lParam, bHandled);
    }

    int m_nInit = 0;
    int m_nInitWindow = 0;
    int m_nClose = 0;
    std::vector<std::wstring> m_vecClicks;
    std::vector<std::wstring> m_vecOthers;
    NotifyRecorder m_notified;
    // The component's own messages (WM_USER and above) that reached the window.
    std::vector<ReceivedMessage> m_vecReceived;

protected:
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override {
        if (uMsg >= WM_USER && uMsg < 0xC000) m_vecReceived.push_back(ReceivedMessage{uMsg, wParam, lParam});
        return QelMediaBaseWindow::HandleMessage(uMsg, wParam, lParam);
    }
};

}  // namespace qel::uitest
