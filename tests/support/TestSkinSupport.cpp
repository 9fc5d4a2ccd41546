#include "support/TestSkinSupport.h"

#include "platform/utils/QelFileTestHelpers.h"

namespace qel::test {

ScopedResourcePath::ScopedResourcePath(const std::wstring& strPath)
    : m_strSaved(UiLib::CPaintManagerUI::GetResourcePath().Str()) {
    UiLib::CPaintManagerUI::SetResourcePath(strPath.c_str());
}

ScopedResourcePath::~ScopedResourcePath() { UiLib::CPaintManagerUI::SetResourcePath(m_strSaved.c_str()); }

void TempSkinFolder::WriteText(const std::wstring& strRelative, const std::wstring& strText) {
    const std::wstring strPath = m_dir / strRelative;
    QelFileUtils::CreateDir(QelFileUtils::GetDirectoryPath(strPath));
    WriteWholeFile(strPath, QelString::UnicodeToUtf8(strText));
}

std::wstring BuiltSkinFolder() {
    wchar_t szPath[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, szPath, MAX_PATH);
    std::wstring strPath = szPath;
    strPath = strPath.substr(0, strPath.find_last_of(L"\\/"));  // <build>/tests or bin
    return strPath.substr(0, strPath.find_last_of(L"\\/") + 1) + L"ui\\qelmediaplayer\\";
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
