// Conversions between the wide strings of the interface and the narrow encodings of the
// platform, plus the few string helpers the component needs.
//
// Wide strings are UTF-16 on Windows and UTF-32 elsewhere. "ANSI" is the active code page
// (CP_ACP) on Windows and UTF-8 elsewhere. Ill-formed input never fails a conversion to or
// from UTF-8: every maximal ill-formed subsequence becomes one U+FFFD, so the result is the
// same on both builds. The bool forms return false only when the system refuses a
// conversion (ANSI on Windows); `out` is then empty.
#pragma once

#include <string>

class QelString {
public:
    static bool UnicodeToAnsi(const std::wstring& src, std::string& out);
    static bool AnsiToUnicode(const std::string& src, std::wstring& out);
    static bool UnicodeToUtf8(const std::wstring& src, std::string& out);
    static bool Utf8ToUnicode(const std::string& src, std::wstring& out);

    static std::string UnicodeToAnsi(const std::wstring& src);
    static std::wstring AnsiToUnicode(const std::string& src);
    static std::string UnicodeToUtf8(const std::wstring& src);
    static std::wstring Utf8ToUnicode(const std::string& src);

    // ASCII letters only, so the result never depends on the locale.
    static std::wstring ToLower(const std::wstring& s);
    static std::string ToLower(const std::string& s);

    // Replaces every occurrence of `from`, left to right, without rescanning inserted text.
    // An empty `from` leaves `s` unchanged.
    static std::wstring StringReplace(const std::wstring& s, const std::wstring& from,
                                      const std::wstring& to);

    // Case-sensitive; every string ends with the empty suffix.
    static bool IsEndWith(const std::wstring& s, const std::wstring& suffix);

    static std::wstring Uint64ToString(unsigned long long value);
};
