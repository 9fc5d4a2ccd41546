// Windows only: a real top-level window that shows a skin with the toolkit and records
// the notifications its controls send, plus a temporary resource folder for the skins
// and images a test writes, and a message pump with a bound.
#pragma once

#include "uilib/UiLib.h"

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace qel::test {

// Dispatches this thread's messages until the predicate holds or the time-out passes.
inline bool PumpUntil(const std::function<bool()>& predicate,
                      std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
        if (predicate()) return true;
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline) return false;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
    }
}

// Dispatches what is queued now (posted notifications, paints) and returns.
inline void PumpPending() {
    PumpUntil([] { return true; }, std::chrono::milliseconds(0));
}

// A BMP file of one colour, for skins that need an image.
inline std::string SolidBmp(int width, int height, COLORREF color) {
    const int stride = (width * 3 + 3) & ~3;
    const int imageSize = stride * height;
    std::string bmp(54 + imageSize, '\0');
    auto put32 = [&bmp](size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i) bmp[at + i] = static_cast<char>((v >> (8 * i)) & 0xFF);
    };
    bmp[0] = 'B';
    bmp[1] = 'M';
    put32(2, static_cast<uint32_t>(bmp.size()));
    put32(10, 54);
    put32(14, 40);
    put32(18, static_cast<uint32_t>(width));
    put32(22, static_cast<uint32_t>(height));
    bmp[26] = 1;
    bmp[28] = 24;
    put32(34, static_cast<uint32_t>(imageSize));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const size_t at = 54 + static_cast<size_t>(y) * stride + static_cast<size_t>(x) * 3;
            bmp[at] = static_cast<char>(GetBValue(color));
            bmp[at + 1] = static_cast<char>(GetGValue(color));
            bmp[at + 2] = static_cast<char>(GetRValue(color));
        }
    }
    return bmp;
}

// The colour of a client pixel as the window's own painting produces it, drawn into a
// memory bitmap through WM_PRINTCLIENT.
inline COLORREF PrintedPixel(HWND hWnd, int x, int y) {
    RECT rc = {};
    GetClientRect(hWnd, &rc);
    const HDC hScreen = GetDC(nullptr);
    const HDC hMem = CreateCompatibleDC(hScreen);
    const HBITMAP hBitmap = CreateCompatibleBitmap(hScreen, rc.right, rc.bottom);
    const HGDIOBJ hOld = SelectObject(hMem, hBitmap);
    SendMessageW(hWnd, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(hMem), PRF_CLIENT);
    const COLORREF color = GetPixel(hMem, x, y);
    SelectObject(hMem, hOld);
    DeleteObject(hBitmap);
    DeleteDC(hMem);
    ReleaseDC(nullptr, hScreen);
    return color;
}

// A fresh folder that becomes the toolkit's resource path; removed afterwards.
class TestSkinFolder {
public:
    TestSkinFolder() {
        wchar_t temp[MAX_PATH] = {};
        GetTempPathW(MAX_PATH, temp);
        m_path = std::filesystem::path(temp) /
                 (L"qel-skins-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(s_nextId++));
        std::filesystem::create_directories(m_path);
        UiLib::CPaintManagerUI::SetResourcePath(m_path.wstring().c_str());
    }
    ~TestSkinFolder() {
        std::error_code ec;
        std::filesystem::remove_all(m_path, ec);
    }
    TestSkinFolder(const TestSkinFolder&) = delete;
    TestSkinFolder& operator=(const TestSkinFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    // Writes a UTF-8 file under the folder (sub-folders made as needed).
    void Write(const std::wstring& name, const std::string& utf8) const {
        const auto file = m_path / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << utf8;
    }

private:
    static inline int s_nextId = 0;
    std::filesystem::path m_path;
};

// A window whose whole client area is the skin; notifications are kept in order.
class TestSkinHost : public UiLib::CWindowWnd, public UiLib::INotifyUI, public UiLib::IDialogBuilderCallback {
public:
    struct Notification {
        std::wstring type;
        std::wstring sender;
        WPARAM wParam;
        LPARAM lParam;
    };

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

    std::vector<Notification> notifications;
    int Count(const wchar_t* type) const {
        int n = 0;
        for (const auto& item : notifications) n += item.type == type ? 1 : 0;
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
