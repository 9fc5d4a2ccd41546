#include "utils/QelString.h"

#include <climits>
#include <cstdint>

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsSurrogate(char32_t cp) { return cp >= 0xD800 && cp <= 0xDFFF; }

void AppendWide(std::wstring& out, char32_t cp) {
#ifdef _WIN32
    if (cp >= 0x10000) {
        cp -= 0x10000;
        out.push_back(static_cast<wchar_t>(0xD800 + (cp >> 10)));
        out.push_back(static_cast<wchar_t>(0xDC00 + (cp & 0x3FF)));
        return;
    }
#endif
    out.push_back(static_cast<wchar_t>(cp));
}

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

// Decodes UTF-8 following the Unicode "maximal subpart" practice: a lead byte with the
// valid prefix of its continuation bytes becomes one U+FFFD, and the byte that broke the
// sequence is read again as the start of the next one. Each step consumes at least one
// byte, so no input can make this loop forever.
std::wstring DecodeUtf8(const std::string& src) {
    std::wstring out;
    out.reserve(src.size());
    const size_t n = src.size();
    size_t i = 0;
    while (i < n) {
        const unsigned char b0 = static_cast<unsigned char>(src[i]);
        if (b0 < 0x80) {
            out.push_back(static_cast<wchar_t>(b0));
            ++i;
            continue;
        }
        int nNeed = 0;
        unsigned char lo = 0x80, hi = 0xBF;
        char32_t cp = 0;
        if (b0 >= 0xC2 && b0 <= 0xDF) {
            nNeed = 1; cp = b0 & 0x1F;
        } else if (b0 >= 0xE0 && b0 <= 0xEF) {
            nNeed = 2; cp = b0 & 0x0F;
            if (b0 == 0xE0) lo = 0xA0;        // overlong below U+0800
            else if (b0 == 0xED) hi = 0x9F;   // surrogates
        } else if (b0 >= 0xF0 && b0 <= 0xF4) {
            nNeed = 3; cp = b0 & 0x07;
            if (b0 == 0xF0) lo = 0x90;        // overlong below U+10000
            else if (b0 == 0xF4) hi = 0x8F;   // above U+10FFFF
        } else {
            // Stray continuation byte, overlong lead (C0, C1) or F5..FF.
            AppendWide(out, kReplacement);
            ++i;
            continue;
        }
        size_t j = i + 1;
        bool bComplete = true;
        for (int k = 0; k < nNeed; ++k, ++j) {
            const unsigned char b = j < n ? static_cast<unsigned char>(src[j]) : 0;
            const unsigned char kLo = k == 0 ? lo : 0x80;
            const unsigned char kHi = k == 0 ? hi : 0xBF;
            if (j >= n || b < kLo || b > kHi) {
                bComplete = false;
                break;
            }
            cp = (cp << 6) | (b & 0x3F);
        }
        AppendWide(out, bComplete ? cp : kReplacement);
        i = j;
    }
    return out;
}

std::string EncodeUtf8(const std::wstring& src) {
    std::string out;
    out.reserve(src.size());
    const size_t n = src.size();
    for (size_t i = 0; i < n; ++i) {
#ifdef _WIN32
        char32_t cp = static_cast<char16_t>(src[i]);
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < n) {
            const char32_t low = static_cast<char16_t>(src[i + 1]);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                ++i;
            }
        }
#else
        char32_t cp = static_cast<char32_t>(static_cast<std::uint32_t>(src[i]));
        if (cp > 0x10FFFF) cp = kReplacement;
#endif
        if (IsSurrogate(cp)) cp = kReplacement;  // a lone half of a pair
        AppendUtf8(out, cp);
    }
    return out;
}

}  // namespace

bool QelString::UnicodeToUtf8(const std::wstring& src, std::string& out) {
    out = EncodeUtf8(src);
    return true;
}

bool QelString::Utf8ToUnicode(const std::string& src, std::wstring& out) {
    out = DecodeUtf8(src);
    return true;
}

#ifdef _WIN32

bool QelString::UnicodeToAnsi(const std::wstring& src, std::string& out) {
    out.clear();
    if (src.empty()) return true;
    if (src.size() > static_cast<size_t>(INT_MAX)) return false;
    const int nSrc = static_cast<int>(src.size());
    const int nLen = WideCharToMultiByte(CP_ACP, 0, src.data(), nSrc, nullptr, 0, nullptr, nullptr);
    if (nLen <= 0) return false;
    out.resize(static_cast<size_t>(nLen));
    if (WideCharToMultiByte(CP_ACP, 0, src.data(), nSrc, &out[0], nLen, nullptr, nullptr) != nLen) {
        out.clear();
        return false;
    }
    return true;
}

bool QelString::AnsiToUnicode(const std::string& src, std::wstring& out) {
    out.clear();
    if (src.empty()) return true;
    if (src.size() > static_cast<size_t>(INT_MAX)) return false;
    const int nSrc = static_cast<int>(src.size());
    const int nLen = MultiByteToWideChar(CP_ACP, 0, src.data(), nSrc, nullptr, 0);
    if (nLen <= 0) return false;
    out.resize(static_cast<size_t>(nLen));
    if (MultiByteToWideChar(CP_ACP, 0, src.data(), nSrc, &out[0], nLen) != nLen) {
        out.clear();
        return false;
    }
    return true;
}

#else

bool QelString::UnicodeToAnsi(const std::wstring& src, std::string& out) {
    return UnicodeToUtf8(src, out);
}

bool QelString::AnsiToUnicode(const std::string& src, std::wstring& out) {
    return Utf8ToUnicode(src, out);
}

#endif

std::string QelString::UnicodeToAnsi(const std::wstring& src) {
    std::string out;
    UnicodeToAnsi(src, out);
    return out;
}

std::wstring QelString::AnsiToUnicode(const std::string& src) {
    std::wstring out;
    AnsiToUnicode(src, out);
    return out;
}

std::string QelString::UnicodeToUtf8(const std::wstring& src) { return EncodeUtf8(src); }

std::wstring QelString::Utf8ToUnicode(const std::string& src) { return DecodeUtf8(src); }

std::wstring QelString::ToLower(const std::wstring& s) {
    std::wstring out(s);
    for (wchar_t& c : out) {
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    }
    return out;
}

std::string QelString::ToLower(const std::string& s) {
    std::string out(s);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
}

std::wstring QelString::StringReplace(const std::wstring& s, const std::wstring& from,
                                      const std::wstring& to) {
    if (from.empty()) return s;
    std::wstring out;
    out.reserve(s.size());
    size_t pos = 0;
    for (;;) {
        const size_t hit = s.find(from, pos);
        if (hit == std::wstring::npos) break;
        out.append(s, pos, hit - pos);
        out.append(to);
        pos = hit + from.size();
    }
    out.append(s, pos, std::wstring::npos);
    return out;
}

bool QelString::IsEndWith(const std::wstring& s, const std::wstring& suffix) {
    return s.size() >= suffix.size() &&
           s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::wstring QelString::Uint64ToString(unsigned long long value) {
    return std::to_wstring(value);
}
