// Incremental MD5 and SHA-256 over the system's crypto library (OpenSSL's libcrypto,
// or BCrypt on Windows). Internal to QelCode.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

class QelHash {
public:
    enum class Algorithm { Md5, Sha256 };

    explicit QelHash(Algorithm algorithm);
    ~QelHash();
    QelHash(const QelHash&) = delete;
    QelHash& operator=(const QelHash&) = delete;

    // False once any step failed; the digest is then never produced.
    bool IsValid() const { return m_pImpl != nullptr; }
    bool Update(const void* data, size_t n);
    // The digest as lower-case hex; empty on failure. Ends the hash.
    std::wstring FinishHex();

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

// Lower-case hex text of a byte string.
std::wstring QelHexLower(const std::vector<unsigned char>& bytes);
