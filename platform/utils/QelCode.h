// Digests as lower-case hex text, equal to what md5sum and sha256sum print.
#pragma once

#include <cstddef>
#include <string>

class QelCode {
public:
    // MD5 of the key's bytes (the caller passes UTF-8), 32 hex digits.
    static std::wstring Md5Encrypt(const std::string& utf8Key);

    // SHA-256 of the file's bytes, 64 hex digits. The file is read in 1 MiB blocks and is
    // never held in memory as a whole. False with `out` empty when it cannot be read.
    static bool SHA256File(const std::wstring& path, std::wstring& out);
    // MD5 of the file's bytes, 32 hex digits, read the same way.
    static bool MD5File(const std::wstring& path, std::wstring& out);

    // SHA-256 of a memory block, 64 hex digits.
    static std::wstring Sha256Hex(const void* data, size_t n);
};
