// Windows only: what tests of skinned windows share: the toolkit's resource path set for
// a scope, a temporary skin folder, a notifier that records what it is told, and a real
// top-level window that shows a skin with the toolkit.
#pragma once

#include "platform/utils/QelTestTempDir.h"
#include "support/TestWin32.h"
#include "uilib/UiLib.h"

#include <functional>
#include <string>
#include <vector>

namespace qel::test {

// Makes a folder the toolkit's resource path until the end of the scope.
class ScopedResourcePath {
public:
    explicit ScopedResourcePath(const std::wstring& strPath);
    ~ScopedResourcePath();
    ScopedResourcePath(const ScopedResourcePath&) = delete;
    ScopedResourcePath& operator=(const ScopedResourcePath&) = delete;
private:
    std::wstring m_strSaved;
};

// The main monitor's DPI as the toolkit reads it, until the end of the scope.
class ScopedDpiOverride {
public:
    explicit ScopedDpiOverride(int nDpi) { UiLib::CDPI::SetMainMonitorDPIOverride(nDpi); }
    ~ScopedDpiOverride() { UiLib::CDPI::SetMainMonitorDPIOverride(0); }
    ScopedDpiOverride(const ScopedDpiOverride&) = delete;
    ScopedDpiOverride& operator=(const ScopedDpiOverride&) = delete;
};

// A fresh folder under %TEMP% (Path() ends with a backslash), the toolkit's resource path
// for its lifetime and deleted with everything written into it.
class TempSkinFolder {
public:
    TempSkinFolder() : m_resourcePath(m_dir.Path()) {}
    const std::wstring& Path() const { return m_dir.Path(); }
    // Writes text as UTF-8 to a file under the folder ('/' separates sub-folders).
    void WriteText(const std::wstring& strRelative, const std::wstring& strText);
private:
    QelTestTempDir m_dir;
    ScopedResourcePath m_resourcePath;
};

// The sample skins the build places beside the programs: <build>/ui/qelmediaplayer/.
std::wstring BuiltSkinFolder();

struct RecordedNotify {
    std::wstring strType;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
};

// Keeps every notification it is told, in order.
class NotifyRecorder : public UiLib::INotifyUI {
public:
    void Notify(UiLib::TNotifyUI& msg) override;
    std::vector<RecordedNotify> OfType(const std::wstring& strType) const;
    int Count(const std::wstring& strType) const { return static_cast<int>(OfType(strType).size()); }
    void Clear() { notifications.clear(); }

    std::vector<RecordedNotify> notifications;
};

// A top-level window whose whole client area is the skin, its notifications on record.
class TestSkinHost : public UiLib::CWindowWnd, public NotifyRecorder, public UiLib::IDialogBuilderCallback {
public:
    explicit TestSkinHost(std::wstring skin, std::function<UiLib::CControlUI*(const wchar_t*)> factory = {})
        : m_skin(std::move(skin)), m_factory(std::move(factory)) {}
    ~TestSkinHost() override;

    // Shows the window at a screen rectangle, laid out; true once "windowinit" came.
    bool Open(RECT rc = {40, 40, 440, 340});
    UiLib::CPaintManagerUI& Manager() { return m_manager; }
    UiLib::CControlUI* Root() const { return m_pRoot; }
    template <typename T = UiLib::CControlUI>
    T* Find(const wchar_t* name) const {
        return static_cast<T*>(m_manager.FindControl(name));
    }
    UiLib::CControlUI* CreateControl(const wchar_t* pstrClass) override {
        return m_factory ? m_factory(pstrClass) : nullptr;
    }
protected:
    const wchar_t* GetWindowClassName() const override { return L"QelTestSkinHost"; }
    UINT GetClassStyle() const override { return CS_DBLCLKS; }
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override;
private:
    std::wstring m_skin;
    std::function<UiLib::CControlUI*(const wchar_t*)> m_factory;
    UiLib::CPaintManagerUI m_manager;
    UiLib::CControlUI* m_pRoot = nullptr;
};

}  // namespace qel::test
