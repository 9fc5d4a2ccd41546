// What the player-window tests share, on real Win32 windows under Wine: player windows
// with their paint manager open, and one fixture that shows a player window as the child
// of a plain parent and clicks, drags and reads the controls of its skin.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "support/TestSkinSupport.h"
#include "ui/QelMediaBaseWindow.h"

namespace qel::test {

// A layout (tag "RecordingLayout") that keeps the keys handed to it.
class RecordingLayout : public UiLib::CVerticalLayoutUI {
public:
    void DoEvent(UiLib::TEventUI& event) override {
        if (event.Type == UiLib::UIEVENT_KEYDOWN) m_strKeys += event.chKey;
    }
    std::wstring m_strKeys;
};

// A player window of class Base built as its host builds it (skin, no paint manager),
// with its paint manager, its Play calls and RecordingLayout open to the tests.
template <class Base>
class Exposed : public Base {
public:
    explicit Exposed(const wchar_t* szSkin) : Base(szSkin, nullptr) {}
    UiLib::CPaintManagerUI& Manager() { return this->m_PaintManager; }
    void Play(const std::wstring& path) override {
        ++m_nPlays;
        Base::Play(path);
    }
    UiLib::CControlUI* CreateControl(const wchar_t* szClass) override {
        return std::wstring(szClass) == L"RecordingLayout" ? new RecordingLayout : Base::CreateControl(szClass);
    }
    int m_nPlays = 0;
};

// Shows a Window (an Exposed<...>) as the child filling a plain top-level parent at 96
// DPI, and drives it through its window procedure. m_skins holds skins of a test's own.
template <class Window>
class SkinnedWindowFixture : public ::testing::Test {
protected:
    void TearDown() override { Close(); }

    // The skin is looked up under strFolder: the sample skins unless a test has its own.
    void Open(const wchar_t* szSkin, const std::wstring& strFolder = BuiltSkinFolder(), SIZE size = {640, 400}) {
        m_resourcePath.emplace(strFolder);
        m_hParent = ::CreateWindowExW(0, L"STATIC", L"qel-test-parent", WS_POPUP | WS_VISIBLE, 20, 20, size.cx,
                                      size.cy, nullptr, nullptr, nullptr, nullptr);
        m_window = std::make_unique<Window>(szSkin);
        ASSERT_NE(m_window->Create(m_hParent, L"player", WS_CHILD | WS_VISIBLE, 0, RECT{0, 0, size.cx, size.cy}),
                  nullptr);
        // Built at its skin's size; the host then places it, as the control does.
        ::SetWindowPos(Hwnd(), nullptr, 0, 0, size.cx, size.cy, SWP_NOZORDER | SWP_NOACTIVATE);
        Repaint(Hwnd());  // "windowinit", posted at creation, has run
    }
    // The host's way out: stop, then the window goes with its parent.
    void Close() {
        if (m_window) m_window->Stop();
        if (m_hParent != nullptr) ::DestroyWindow(m_hParent);
        // In full screen the window has left its parent and stays: the host ends it.
        if (m_window && ::IsWindow(Hwnd())) ::DestroyWindow(Hwnd());
        m_hParent = nullptr;
        m_window.reset();
        PumpPending();
        m_resourcePath.reset();
    }

    virtual HWND Hwnd() { return m_window->GetHWND(); }
    virtual UiLib::CPaintManagerUI& Manager() { return m_window->Manager(); }
    UiLib::CControlUI* Find(const std::wstring& strName) { return Manager().FindControl(strName.c_str()); }
    // Which of the space-separated names (each after strPrefix) are visible: "play mute full".
    std::wstring Shown(const std::wstring& strPrefix, const std::wstring& strNames) {
        std::wistringstream names(strNames);
        std::wstring strShown;
        for (std::wstring strName; names >> strName;) {
            UiLib::CControlUI* pControl = Find(strPrefix + strName);
            if (pControl != nullptr && pControl->IsVisible()) strShown += (strShown.empty() ? L"" : L" ") + strName;
        }
        return strShown;
    }
    std::wstring Text(const wchar_t* szName) { return Find(szName)->GetText().Str(); }
    int Value(const wchar_t* szName) { return static_cast<UiLib::CProgressUI*>(Find(szName))->GetValue(); }
    LRESULT Send(UINT uMsg, WPARAM wParam = 0, LPARAM lParam = 0) {
        return ::SendMessageW(Hwnd(), uMsg, wParam, lParam);
    }
    // A click at the centre of a visible control, as the user makes it.
    void Click(const std::wstring& strName) {
        Repaint(Hwnd());
        UiLib::CControlUI* pControl = Find(strName);
        ASSERT_TRUE(pControl != nullptr && pControl->IsVisible()) << "no visible " << testing::PrintToString(strName);
        const POINT pt = Centre(strName);
        ClickAt(Hwnd(), pt.x, pt.y);
        PumpPending();
    }
    // A visible control's centre, in the window's client coordinates.
    POINT Centre(const std::wstring& strName) {
        Repaint(Hwnd());
        const RECT rc = Find(strName)->GetPos();
        return POINT{(rc.left + rc.right) / 2, (rc.top + rc.bottom) / 2};
    }
    // A click on a slider's track at a fraction of its width (0 = left end, 1 = right end).
    void ClickSlider(const wchar_t* szName, double fAt) {
        Repaint(Hwnd());
        const RECT rc = Find(szName)->GetPos();
        ClickAt(Hwnd(), rc.left + static_cast<int>((rc.right - 1 - rc.left) * fAt), (rc.top + rc.bottom) / 2);
        PumpPending();
    }

    ScopedDpiOverride m_dpi{96};
    TempSkinFolder m_skins;
    std::unique_ptr<Window> m_window;
    HWND m_hParent = nullptr;
private:
    std::optional<ScopedResourcePath> m_resourcePath;
};

}  // namespace qel::test
