// The one path separator of cache and module paths.
#pragma once

#ifdef _WIN32
inline constexpr wchar_t kQelPathSeparator[] = L"\\";
inline constexpr char kQelPathSeparatorA[] = "\\";
#else
inline constexpr wchar_t kQelPathSeparator[] = L"/";
inline constexpr char kQelPathSeparatorA[] = "/";
#endif

// The same separator as a single character.
inline constexpr wchar_t kQelPathSeparatorChar = kQelPathSeparator[0];
