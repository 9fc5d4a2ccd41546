#include "utils/QelHash.h"

#include <openssl/evp.h>

struct QelHash::Impl {
    EVP_MD_CTX* pCtx = nullptr;
    ~Impl() { EVP_MD_CTX_free(pCtx); }
};

QelHash::QelHash(Algorithm algorithm) : m_pImpl(new Impl) {
    m_pImpl->pCtx = EVP_MD_CTX_new();
    const EVP_MD* pMd = algorithm == Algorithm::Md5 ? EVP_md5() : EVP_sha256();
    if (m_pImpl->pCtx == nullptr || EVP_DigestInit_ex(m_pImpl->pCtx, pMd, nullptr) != 1) {
        m_pImpl.reset();
    }
}

QelHash::~QelHash() = default;

bool QelHash::Update(const void* data, size_t n) {
    if (!m_pImpl) return false;
    if (n != 0 && EVP_DigestUpdate(m_pImpl->pCtx, data, n) != 1) m_pImpl.reset();
    return IsValid();
}

std::wstring QelHash::FinishHex() {
    if (!m_pImpl) return std::wstring();
    std::vector<unsigned char> digest(EVP_MAX_MD_SIZE);
    unsigned int nLen = 0;
    const bool bOk = EVP_DigestFinal_ex(m_pImpl->pCtx, digest.data(), &nLen) == 1;
    m_pImpl.reset();
    if (!bOk) return std::wstring();
    digest.resize(nLen);
    return QelHexLower(digest);
}
