#include "support/TestSkinSupport.h"

#include <windows.h>

#include <fstream>
#include <string>

namespace qel::test {

namespace {

std::string ToUtf8(const std::wstring& str) {
    if (str.empty()) return std::string();
    const int n = ::WideCharToMultiByte(CP_UTF8, 0, str.c_str(), static_cast<int>(str.size()), nullptr, 0, nullptr,
                                        nullptr);
    std::string out(static_cast<size_t>(n), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, str.c_str(), static_cast<int>(str.size()), &out[0], n, nullptr, nullptr);
    return out;
}

void WriteBytes(const std::wstring& strPath, const std::string& bytes) {
    std::ofstream out(strPath.c_str(), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

TempSkinFolder::TempSkinFolder() {
    wchar_t szTemp[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, szTemp);
    static unsigned s_nCounter = 0;
    for (;;) {
        m_strPath = std::wstring(szTemp) + L"qel-ui-" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
                    std::to_wstring(++s_nCounter) + L"\\";
        if (::CreateDirectoryW(m_strPath.c_str(), nullptr)) break;
        if (::GetLastError() != ERROR_ALREADY_EXISTS) break;
    }
    UiLib::CPaintManagerUI::SetResourcePath(m_strPath.c_str());
}

TempSkinFolder::~TempSkinFolder() {
    for (auto it = m_vecFiles.rbegin(); it != m_vecFiles.rend(); ++it) {
        if (!::DeleteFileW(it->c_str())) ::RemoveDirectoryW(it->c_str());
    }
    ::RemoveDirectoryW(m_strPath.c_str());
}

std::wstring TempSkinFolder::FullPath(const std::wstring& strRelative) const {
    std::wstring strPath = m_strPath;
    for (wchar_t ch : strRelative) {
        if (ch == L'/') {
            if (::CreateDirectoryW(strPath.c_str(), nullptr))
                const_cast<TempSkinFolder*>(this)->m_vecFiles.push_back(strPath);
            strPath += L'\\';
        } else {
            strPath += ch;
        }
    }
    return strPath;
}

void TempSkinFolder::WriteText(const std::wstring& strRelative, const std::wstring& strText) {
    const std::wstring strPath = FullPath(strRelative);
    WriteBytes(strPath, ToUtf8(strText));
    m_vecFiles.push_back(strPath);
}

void TempSkinFolder::WriteText(const std::wstring& strRelative, const std::string& strUtf8) {
    const std::wstring strPath = FullPath(strRelative);
    WriteBytes(strPath, strUtf8);
    m_vecFiles.push_back(strPath);
}

void TempSkinFolder::WriteSolidBitmap(const std::wstring& strRelative, int cx, int cy, COLORREF color) {
    const int nStride = (cx * 3 + 3) & ~3;
    BITMAPFILEHEADER file = {};
    BITMAPINFOHEADER info = {};
    info.biSize = sizeof(info);
    info.biWidth = cx;
    info.biHeight = cy;
    info.biPlanes = 1;
    info.biBitCount = 24;
    info.biCompression = BI_RGB;
    info.biSizeImage = static_cast<DWORD>(nStride * cy);
    file.bfType = 0x4D42;
    file.bfOffBits = sizeof(file) + sizeof(info);
    file.bfSize = file.bfOffBits + info.biSizeImage;
    std::string bytes(reinterpret_cast<const char*>(&file), sizeof(file));
    bytes.append(reinterpret_cast<const char*>(&info), sizeof(info));
    std::string row(static_cast<size_t>(nStride), '\0');
    for (int x = 0; x < cx; ++x) {
        row[static_cast<size_t>(x * 3)] = static_cast<char>(GetBValue(color));
        row[static_cast<size_t>(x * 3 + 1)] = static_cast<char>(GetGValue(color));
        row[static_cast<size_t>(x * 3 + 2)] = static_cast<char>(GetRValue(color));
    }
    for (int y = 0; y < cy; ++y) bytes += row;
    const std::wstring strPath = FullPath(strRelative);
    WriteBytes(strPath, bytes);
    m_vecFiles.push_back(strPath);
}

std::wstring BuiltSkinFolder() {
    wchar_t szPath[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, szPath, MAX_PATH);
    std::wstring strPath = szPath;
    strPath = strPath.substr(0, strPath.find_last_of(L"\\/"));  // <build>/tests or bin
    strPath = strPath.substr(0, strPath.find_last_of(L"\\/") + 1);
    return strPath + L"ui\\qelmediaplayer\\";
}

void ClickControl(HWND hWnd, const UiLib::CControlUI& control) {
    const RECT rc = control.GetPos();
    ClickAt(hWnd, (rc.left + rc.right) / 2, (rc.top + rc.bottom) / 2);
    PumpPending();
}

void NotifyRecorder::Notify(UiLib::TNotifyUI& msg) {
    RecordedNotify rec;
    rec.strType = msg.sType.Str();
    if (msg.pSender != nullptr) rec.strSender = msg.pSender->GetName().Str();
    rec.wParam = msg.wParam;
    rec.lParam = msg.lParam;
    m_vecNotified.push_back(rec);
}

std::vector<RecordedNotify> NotifyRecorder::OfType(const std::wstring& strType) const {
    std::vector<RecordedNotify> out;
    for (const auto& rec : m_vecNotified) {
        if (rec.strType == strType) out.push_back(rec);
    }
    return out;
}

}  // namespace qel::test
