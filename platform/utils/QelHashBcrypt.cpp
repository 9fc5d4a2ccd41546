#include "utils/QelHash.h"

#include <windows.h>
#include <bcrypt.h>

#include <algorithm>

namespace {

bool Succeeded(NTSTATUS status) { return status >= 0; }

}  // namespace

struct QelHash::Impl {
    BCRYPT_ALG_HANDLE hAlg = nullptr;
    BCRYPT_HASH_HANDLE hHash = nullptr;
    std::vector<unsigned char> vecObject;
    ULONG nDigestLen = 0;
    ~Impl() {
        if (hHash != nullptr) BCryptDestroyHash(hHash);
        if (hAlg != nullptr) BCryptCloseAlgorithmProvider(hAlg, 0);
    }
};

QelHash::QelHash(Algorithm algorithm) : m_pImpl(new Impl) {
    Impl& s = *m_pImpl;
    const wchar_t* pAlgId = algorithm == Algorithm::Md5 ? BCRYPT_MD5_ALGORITHM : BCRYPT_SHA256_ALGORITHM;
    DWORD nObjectLen = 0;
    ULONG nGot = 0;
    const bool bOk =
        Succeeded(BCryptOpenAlgorithmProvider(&s.hAlg, pAlgId, nullptr, 0)) &&
        Succeeded(BCryptGetProperty(s.hAlg, BCRYPT_OBJECT_LENGTH, reinterpret_cast<PUCHAR>(&nObjectLen),
                                    sizeof(nObjectLen), &nGot, 0)) &&
        Succeeded(BCryptGetProperty(s.hAlg, BCRYPT_HASH_LENGTH, reinterpret_cast<PUCHAR>(&s.nDigestLen),
                                    sizeof(s.nDigestLen), &nGot, 0));
    if (bOk) s.vecObject.resize(nObjectLen);
    if (!bOk || !Succeeded(BCryptCreateHash(s.hAlg, &s.hHash, s.vecObject.data(), nObjectLen,
                                            nullptr, 0, 0))) {
        m_pImpl.reset();
    }
}

QelHash::~QelHash() = default;

bool QelHash::Update(const void* data, size_t n) {
    const unsigned char* p = static_cast<const unsigned char*>(data);
    while (m_pImpl && n > 0) {
        // BCryptHashData takes a 32-bit count.
        const ULONG chunk = static_cast<ULONG>(std::min<size_t>(n, 1u << 30));
        if (!Succeeded(BCryptHashData(m_pImpl->hHash, const_cast<PUCHAR>(p), chunk, 0))) {
            m_pImpl.reset();
        }
        p += chunk;
        n -= chunk;
    }
    return IsValid();
}

std::wstring QelHash::FinishHex() {
    if (!m_pImpl) return std::wstring();
    std::vector<unsigned char> digest(m_pImpl->nDigestLen);
    const bool bOk = Succeeded(BCryptFinishHash(m_pImpl->hHash, digest.data(), m_pImpl->nDigestLen, 0));
    m_pImpl.reset();
    return bOk ? QelHexLower(digest) : std::wstring();
}
