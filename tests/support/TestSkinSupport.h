// Windows only: what tests of skinned windows share: a temporary skin folder that the
// toolkit reads as its resource path, a notifier that records what it is told, and a
// real top-level window that shows a skin with the toolkit.
#pragma once

#include "support/TestWin32.h"
#include "uilib/UiLib.h"

#include <functional>
#include <string>
#include <vector>

namespace qel::test {

// A fresh folder under %TEMP%, made the toolkit's resource path for its lifetime and
// deleted with everything written into it.
class TempSkinFolder {
public:
    TempSkinFolder();
    ~TempSkinFolder();
    TempSkinFolder(const TempSkinFolder&) = delete;
    TempSkinFolder& operator=(const TempSkinFolder&) = delete;

    const std::wstring& Path() const { return m_strPath; }
    // Writes text as UTF-8 to a file under the folder ('/' separates sub-folders).
    void WriteText(const std::wstring& strRelative, const std::wstring& strText);
    void WriteText(const std::wstring& strRelative, const std::string& strUtf8);
    // Writes a 24-bit bitmap of one colour (COLORREF order).
    void WriteSolidBitmap(const std::wstring& strRelative, int cx, int cy, COLORREF color);

private:
    std::wstring FullPath(const std::wstring& strRelative) const;

    std::wstring m_strPath;
    std::vector<std::wstring> m_vecFiles;
};

// The sample skins the build places beside the programs: <build>/ui/qelmediaplayer/.
std::wstring BuiltSkinFolder();
// A click at the centre of a control of a window's skin, then what it queued runs.
void ClickControl(HWND hWnd, const UiLib::CControlUI& control);

struct RecordedNotify {
    std::wstring strType;
    std::wstring strSender;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

class NotifyRecorder : public UiLib::INotifyUI {
public:
    void Notify(UiLib::TNotifyUI& msg) override;
    // Only the types a test cares about, in order.
    std::vector<RecordedNotify> OfType(const std::wstring& strType) const;
    size_t Count(const std::wstring& strType) const { return OfType(strType).size(); }
    void Clear() { m_vecNotified.clear(); }

private:
    std::vector<RecordedNotify> m_vecNotified;
};

// A window whose whole client area is the skin; notifications are kept in order.
class TestSkinHost : public UiLib::CWindowWnd, public UiLib::INotifyUI, public UiLib::IDialogBuilderCallback {
public:
    explicit TestSkinHost(std::wstring skin, std::function<UiLib::CControlUI*(const wchar_t*)> factory = {})
        : m_skin(std::move(skin)), m_factory(std::move(factory)) {}
    ~TestSkinHost() override {
        if (IsWindow(m_hWnd)) DestroyWindow(m_hWnd);
    }

    // Creates and shows the window at the given screen rectangle and waits for its first
    // layout and the "windowinit" notification.
    bool Open(RECT rc = {40, 40, 440, 340}) {
        if (Create(nullptr, L"qel-skin-test", WS_POPUP | WS_VISIBLE, 0, rc) == nullptr) return false;
        UpdateWindow(m_hWnd);
        return PumpUntil([this] { return Count(L"windowinit") > 0; });
    }

    UiLib::CPaintManagerUI& Manager() { return m_manager; }
    UiLib::CControlUI* Root() const { return m_pRoot; }
    const std::wstring& BuildError() const { return m_buildError; }
    template <typename T = UiLib::CControlUI>
    T* Find(const wchar_t* name) const {
        return static_cast<T*>(m_manager.FindControl(name));
    }

    std::vector<RecordedNotify> notifications;
    int Count(const wchar_t* type) const {
        int n = 0;
        for (const auto& item : notifications) n += item.strType == type ? 1 : 0;
        return n;
    }

    void Notify(UiLib::TNotifyUI& msg) override {
        notifications.push_back({msg.sType.Str(), msg.pSender != nullptr ? msg.pSender->GetName().Str() : L"",
                                 msg.wParam, msg.lParam});
    }
    UiLib::CControlUI* CreateControl(const wchar_t* pstrClass) override {
        return m_factory ? m_factory(pstrClass) : nullptr;
    }

    // Sends a client-area mouse message at a point, as the system would.
    LRESULT Mouse(UINT message, int x, int y, WPARAM keys = 0) {
        return ::SendMessageW(m_hWnd, message, keys, MAKELPARAM(x, y));
    }

protected:
    const wchar_t* GetWindowClassName() const override { return L"QelTestSkinHost"; }
    UINT GetClassStyle() const override { return CS_DBLCLKS; }
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override {
        if (uMsg == WM_CREATE) {
            m_manager.Init(m_hWnd);
            UiLib::CDialogBuilder builder;
            m_pRoot = builder.Create(m_skin.c_str(), (UINT)0, this, &m_manager);
            m_buildError = builder.GetLastError().Str();
            m_manager.AttachDialog(m_pRoot);
            m_manager.AddNotifier(this);
            return 0;
        }
        LRESULT lRes = 0;
        if (m_manager.MessageHandler(uMsg, wParam, lParam, lRes)) return lRes;
        return CWindowWnd::HandleMessage(uMsg, wParam, lParam);
    }

private:
    std::wstring m_skin;
    std::function<UiLib::CControlUI*(const wchar_t*)> m_factory;
    UiLib::CPaintManagerUI m_manager;
    UiLib::CControlUI* m_pRoot = nullptr;
    std::wstring m_buildError;
};

}  // namespace qel::test
