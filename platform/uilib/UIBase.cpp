#include "uilib/UIBase.h"

#include <cstdarg>
#include <cwchar>
#include <vector>

namespace UiLib {

CDuiString::CDuiString(const wchar_t* psz) {
    if (psz != nullptr) m_str = psz;
}

CDuiString::CDuiString(const wchar_t* psz, int nLength) { Assign(psz, nLength); }

void CDuiString::Append(const wchar_t* psz) {
    if (psz != nullptr) m_str += psz;
}

void CDuiString::Assign(const wchar_t* psz, int nLength) {
    if (psz == nullptr) {
        m_str.clear();
    } else if (nLength < 0) {
        m_str = psz;
    } else {
        m_str.assign(psz, wcsnlen(psz, static_cast<size_t>(nLength)));
    }
}

CDuiString& CDuiString::operator=(const wchar_t* psz) {
    Assign(psz);
    return *this;
}

CDuiString& CDuiString::operator+=(const wchar_t* psz) {
    Append(psz);
    return *this;
}

CDuiString CDuiString::operator+(const wchar_t* psz) const {
    CDuiString result(*this);
    result.Append(psz);
    return result;
}

int CDuiString::Compare(const wchar_t* psz) const { return wcscmp(m_str.c_str(), psz != nullptr ? psz : L""); }

int CDuiString::CompareNoCase(const wchar_t* psz) const { return _wcsicmp(m_str.c_str(), psz != nullptr ? psz : L""); }

int CDuiString::Format(const wchar_t* pstrFormat, ...) {
    std::vector<wchar_t> buffer(256);
    for (;;) {
        va_list args;
        va_start(args, pstrFormat);
        const int n = _vsnwprintf(buffer.data(), buffer.size(), pstrFormat, args);
        va_end(args);
        if (n >= 0 && static_cast<size_t>(n) < buffer.size()) {
            m_str.assign(buffer.data(), static_cast<size_t>(n));
            return n;
        }
        if (buffer.size() >= (1u << 20)) {
            m_str.clear();
            return -1;
        }
        buffer.resize(buffer.size() * 2);
    }
}

}  // namespace UiLib
