#include "support/TestSkinSupport.h"

#include <fstream>

namespace qel::test {

namespace {

// A unique name from the system, its placeholder file turned into a folder.
std::wstring NewTempFolder() {
    wchar_t szTemp[MAX_PATH] = {}, szName[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, szTemp);
    ::GetTempFileNameW(szTemp, L"qel", 0, szName);
    ::DeleteFileW(szName);
    ::CreateDirectoryW(szName, nullptr);
    return std::wstring(szName) + L"\\";
}

}  // namespace

ScopedResourcePath::ScopedResourcePath(const std::wstring& strPath)
    : m_strSaved(UiLib::CPaintManagerUI::GetResourcePath().Str()) {
    UiLib::CPaintManagerUI::SetResourcePath(strPath.c_str());
}

ScopedResourcePath::~ScopedResourcePath() { UiLib::CPaintManagerUI::SetResourcePath(m_strSaved.c_str()); }

TempSkinFolder::TempSkinFolder() : m_strPath(NewTempFolder()), m_resourcePath(m_strPath) {}

TempSkinFolder::~TempSkinFolder() {
    for (auto it = m_vecMade.rbegin(); it != m_vecMade.rend(); ++it) {
        if (!::DeleteFileW(it->c_str())) ::RemoveDirectoryW(it->c_str());
    }
    ::RemoveDirectoryW(m_strPath.c_str());
}

void TempSkinFolder::WriteText(const std::wstring& strRelative, const std::wstring& strText) {
    std::wstring strPath = m_strPath;
    for (wchar_t ch : strRelative) {
        if (ch == L'/' && ::CreateDirectoryW(strPath.c_str(), nullptr)) m_vecMade.push_back(strPath);
        strPath += ch == L'/' ? L'\\' : ch;
    }
    const int n = ::WideCharToMultiByte(CP_UTF8, 0, strText.data(), static_cast<int>(strText.size()), nullptr, 0,
                                        nullptr, nullptr);
    std::string strUtf8(static_cast<size_t>(n), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, strText.data(), static_cast<int>(strText.size()), strUtf8.data(), n, nullptr,
                          nullptr);
    std::ofstream(strPath.c_str(), std::ios::binary | std::ios::trunc) << strUtf8;
    m_vecMade.push_back(strPath);
}

std::wstring BuiltSkinFolder() {
    wchar_t szPath[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, szPath, MAX_PATH);
    std::wstring strPath = szPath;
    strPath = strPath.substr(0, strPath.find_last_of(L"\\/"));  // <build>/tests or bin
    return strPath.substr(0, strPath.find_last_of(L"\\/") + 1) + L"ui\\qelmediaplayer\\";
}

void ClickControl(HWND hWnd, const UiLib::CControlUI& control) {
    const RECT rc = control.GetPos();
    ClickAt(hWnd, (rc.left + rc.right) / 2, (rc.top + rc.bottom) / 2);
    PumpPending();
}

void NotifyRecorder::Notify(UiLib::TNotifyUI& m) { notifications.push_back({m.sType.Str(), m.wParam, m.lParam}); }

std::vector<RecordedNotify> NotifyRecorder::OfType(const std::wstring& strType) const {
    std::vector<RecordedNotify> out;
    for (const auto& rec : notifications)
        if (rec.strType == strType) out.push_back(rec);
    return out;
}

TestSkinHost::~TestSkinHost() {
    if (::IsWindow(m_hWnd)) ::DestroyWindow(m_hWnd);
}

bool TestSkinHost::Open(RECT rc) {
    if (Create(nullptr, L"qel-skin-test", WS_POPUP | WS_VISIBLE, 0, rc) == nullptr) return false;
    // The toolkit posts "windowinit" while the window is created.
    Repaint(m_hWnd);
    return Count(L"windowinit") == 1;
}

LRESULT TestSkinHost::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == WM_CREATE) {
        m_manager.Init(m_hWnd);
        UiLib::CDialogBuilder builder;
        m_pRoot = builder.Create(m_skin.c_str(), static_cast<UINT>(0), this, &m_manager);
        m_manager.AttachDialog(m_pRoot);
        m_manager.AddNotifier(this);
        return 0;
    }
    LRESULT lRes = 0;
    if (m_manager.MessageHandler(uMsg, wParam, lParam, lRes)) return lRes;
    return CWindowWnd::HandleMessage(uMsg, wParam, lParam);
}

}  // namespace qel::test
