// What the audio window tests share: a window class that records its hooks in order and
// opens its state, and a fixture that shows such a window as the child of a plain parent
// and clicks, drags and keys through the real window procedure.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "../QelUiTestSupport.h"
#include "ui/audio/QelAudioPlayerWindow.h"
#include "video/QelMessages.h"

namespace qel::audiotest {

using namespace qel::uitest;

// An audio window (Base is QelAudioPlayerWindow or a subclass) that writes each hook and
// each Play/Stop into a log, then does what the window does.
template <class Base>
class Recording : public Base {
public:
    explicit Recording(const wchar_t* szSkin) : Base(szSkin, nullptr) {}

    void Play(const std::wstring& path) override {
        m_vecLog.push_back(L"Play " + path);
        Base::Play(path);
    }
    void Stop() override {
        m_vecLog.push_back(L"Stop");
        Base::Stop();
    }
    void InitWindow() override {
        Base::InitWindow();
        m_bInitialised = true;
    }

    std::vector<std::wstring> TakeLog() {
        std::vector<std::wstring> vecLog;
        vecLog.swap(m_vecLog);
        return vecLog;
    }
    bool Initialised() const { return m_bInitialised; }
    bool Ended() const { return this->m_bEnded; }
    bool PlayingFlag() const { return this->m_bPlaying; }
    void SetEnded(bool bEnded) { this->m_bEnded = bEnded; }
    int VolumeBeforeMute() const { return this->m_nVolumeBeforeMute; }
    const std::wstring& MediaPath() const { return this->m_strMediaPath; }
    QelAudioPlayerManagerVlc& Player() { return this->m_player; }
    UiLib::CControlUI* Find(const wchar_t* szName) { return this->m_PaintManager.FindControl(szName); }
    std::wstring SizeText(unsigned int nBytes) { return this->FileSizeToString(nBytes); }
    long long SizeOf(const std::wstring& path) { return this->GetFileSize(path); }

protected:
    void Playing() override {
        m_vecLog.push_back(L"Playing");
        Base::Playing();
    }
    void PosChanged(const std::wstring& strTime, int nPos) override {
        m_vecLog.push_back(L"PosChanged " + strTime + L" " + std::to_wstring(nPos));
        Base::PosChanged(strTime, nPos);
    }
    void EndReached() override {
        m_vecLog.push_back(L"EndReached");
        Base::EndReached();
    }
    void UpdateUI() override {
        m_vecLog.push_back(L"UpdateUI");
        Base::UpdateUI();
    }

private:
    std::vector<std::wstring> m_vecLog;
    bool m_bInitialised = false;
};

using Log = std::vector<std::wstring>;

// Shows a Window (a Recording<...>) as the child of a plain top-level parent.
template <class Window>
class AudioWindowFixture : public ::testing::Test {
protected:
    void TearDown() override { Close(); }

    // Resource path: the sample skins unless a test folder is given.
    void Open(const wchar_t* szSkin, const std::wstring& strResourcePath = BuiltSkinFolder()) {
        UiLib::CDPI::SetMainMonitorDPIOverride(96);
        m_strOldResourcePath = UiLib::CPaintManagerUI::GetResourcePath().Str();
        m_bResourcePathSet = true;
        UiLib::CPaintManagerUI::SetResourcePath(strResourcePath.c_str());
        m_hParent = ::CreateWindowExW(0, L"STATIC", L"qel-audio-parent", WS_POPUP | WS_VISIBLE, 20, 20, 440, 224,
                                      nullptr, nullptr, nullptr, nullptr);
        ASSERT_NE(m_hParent, nullptr);
        m_window = std::make_unique<Window>(szSkin);
        ASSERT_NE(m_window->Create(m_hParent, L"audio", WS_CHILD | WS_VISIBLE, 0, RECT{0, 0, 440, 224}), nullptr);
        Relayout();
        ASSERT_TRUE(PumpUntil([this] { return m_window->Initialised(); }));
        m_window->TakeLog();
    }
    void Close() {
        if (m_window) {
            m_window->Stop();
            if (::IsWindow(Hwnd())) ::DestroyWindow(Hwnd());
            m_window.reset();
        }
        if (m_hParent) ::DestroyWindow(m_hParent);
        m_hParent = nullptr;
        PumpPending();
        if (m_bResourcePathSet) UiLib::CPaintManagerUI::SetResourcePath(m_strOldResourcePath.c_str());
        m_bResourcePathSet = false;
        UiLib::CDPI::SetMainMonitorDPIOverride(0);
    }

    HWND Hwnd() const { return m_window->GetHWND(); }
    void Relayout() { Repaint(Hwnd()); }
    bool Visible(const wchar_t* szName) {
        UiLib::CControlUI* pControl = m_window->Find(szName);
        return pControl != nullptr && pControl->IsVisible();
    }
    UiLib::CSliderUI* Slider(const wchar_t* szName) {
        return static_cast<UiLib::CSliderUI*>(m_window->Find(szName));
    }
    std::wstring Text(const wchar_t* szName) { return m_window->Find(szName)->GetText().Str(); }
    LRESULT Key(WPARAM vk) { return ::SendMessageW(Hwnd(), WM_KEYDOWN, vk, 1); }

    // A left press and release at a client point, through the window procedure.
    void ClickAt(int x, int y) {
        qel::test::ClickAt(Hwnd(), x, y);
        PumpPending();
    }
    // A click at the centre of a visible skin control.
    void Click(const wchar_t* szName) {
        Relayout();
        UiLib::CControlUI* pControl = m_window->Find(szName);
        ASSERT_NE(pControl, nullptr) << szName;
        ASSERT_TRUE(pControl->IsVisible()) << szName;
        ClickControl(Hwnd(), *pControl);
    }
    // A click on a slider's track at a fraction of its width (0 = left end, 1 = right end).
    void ClickSlider(const wchar_t* szName, double fAt) {
        Relayout();
        UiLib::CControlUI* pControl = m_window->Find(szName);
        ASSERT_NE(pControl, nullptr) << szName;
        const RECT rc = pControl->GetPos();
        const int x = fAt <= 0.0 ? rc.left : (fAt >= 1.0 ? rc.right - 1 : rc.left + static_cast<int>((rc.right - rc.left) * fAt));
        ClickAt(x, (rc.top + rc.bottom) / 2);
    }

    std::wstring m_strOldResourcePath;
    bool m_bResourcePathSet = false;
    HWND m_hParent = nullptr;
    std::unique_ptr<Window> m_window;
};

}  // namespace qel::audiotest
