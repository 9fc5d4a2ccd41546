// An owned VARIANT: cleared when it goes, moved but never copied by accident.
#pragma once

#include <oleauto.h>

#include <cstring>

namespace qel::activex {

class QelVariant {
public:
    QelVariant() { ::VariantInit(&m_var); }
    ~QelVariant() { ::VariantClear(&m_var); }
    QelVariant(QelVariant&& other) noexcept {
        std::memcpy(&m_var, &other.m_var, sizeof(m_var));
        ::VariantInit(&other.m_var);
    }
    QelVariant& operator=(QelVariant&&) = delete;
    QelVariant(const QelVariant&) = delete;
    QelVariant& operator=(const QelVariant&) = delete;

    VARIANT* Get() { return &m_var; }
    const VARIANT* Get() const { return &m_var; }

private:
    VARIANT m_var;
};

}  // namespace qel::activex
