// An owned BSTR: freed when it goes, moved but never copied by accident.
#pragma once

#include <oleauto.h>

#include <utility>

namespace qel::activex {

class QelBstr {
public:
    QelBstr() = default;
    explicit QelBstr(const wchar_t* psz) : m_bstr(psz != nullptr ? ::SysAllocString(psz) : nullptr) {}
    ~QelBstr() { ::SysFreeString(m_bstr); }
    QelBstr(QelBstr&& other) noexcept : m_bstr(std::exchange(other.m_bstr, nullptr)) {}
    QelBstr& operator=(QelBstr&& other) noexcept {
        if (this != &other) Attach(std::exchange(other.m_bstr, nullptr));
        return *this;
    }
    QelBstr(const QelBstr&) = delete;
    QelBstr& operator=(const QelBstr&) = delete;

    BSTR Get() const { return m_bstr; }
    // Frees what is held and takes ownership of bstr.
    void Attach(BSTR bstr) {
        ::SysFreeString(m_bstr);
        m_bstr = bstr;
    }
    BSTR Detach() { return std::exchange(m_bstr, nullptr); }
    // For out parameters: frees what is held first.
    BSTR* Out() {
        Attach(nullptr);
        return &m_bstr;
    }

private:
    BSTR m_bstr = nullptr;
};

}  // namespace qel::activex
