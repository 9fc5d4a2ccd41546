#include "uilib/SkinValues.h"

#include "uilib/CPaintManagerUI.h"

#include <cwchar>
#include <cwctype>

namespace UiLib {
namespace SkinValues {

namespace {

// Reads up to nCount comma-separated integers.
void ParseNumbers(const wchar_t* p, long* pOut, int nCount) {
    for (int i = 0; i < nCount; ++i) pOut[i] = 0;
    if (p == nullptr) return;
    for (int i = 0; i < nCount && *p != 0; ++i) {
        wchar_t* end = nullptr;
        pOut[i] = std::wcstol(p, &end, 10);
        if (end == p) return;
        p = end;
        while (*p == L',' || *p == L' ') ++p;
    }
}

}  // namespace

RECT ParseRect(const wchar_t* pstrValue) {
    long n[4];
    ParseNumbers(pstrValue, n, 4);
    return RECT{n[0], n[1], n[2], n[3]};
}

SIZE ParseSize(const wchar_t* pstrValue) {
    long n[2];
    ParseNumbers(pstrValue, n, 2);
    return SIZE{n[0], n[1]};
}

bool ParseBool(const wchar_t* pstrValue) {
    if (pstrValue == nullptr) return false;
    return _wcsicmp(pstrValue, L"true") == 0 || std::wcstol(pstrValue, nullptr, 10) != 0;
}

std::wstring ResourceFilePath(const std::wstring& strName) {
    const bool bAbsolute = (strName.size() > 1 && strName[1] == L':') ||
                           (!strName.empty() && (strName[0] == L'\\' || strName[0] == L'/'));
    return bAbsolute ? strName : CPaintManagerUI::GetResourcePath().Str() + strName;
}

std::vector<std::pair<std::wstring, std::wstring>> ParseAttributeList(const wchar_t* pstrList) {
    std::vector<std::pair<std::wstring, std::wstring>> result;
    if (pstrList == nullptr) return result;
    const std::wstring list(pstrList);
    size_t pos = 0;
    while (pos < list.size()) {
        while (pos < list.size() && std::iswspace(list[pos])) ++pos;
        const size_t eq = list.find(L'=', pos);
        if (eq == std::wstring::npos) break;
        std::wstring name = list.substr(pos, eq - pos);
        while (!name.empty() && std::iswspace(name.back())) name.pop_back();
        const size_t open = eq + 1;
        if (open >= list.size() || (list[open] != L'"' && list[open] != L'\'')) break;
        const size_t close = list.find(list[open], open + 1);
        if (close == std::wstring::npos) break;
        result.emplace_back(name, list.substr(open + 1, close - open - 1));
        pos = close + 1;
    }
    return result;
}

}  // namespace SkinValues
}  // namespace UiLib
