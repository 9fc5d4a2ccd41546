#pragma once
// Switches the process to a locale whose decimal separator is ',' for the lifetime of the
// object, and back to "C" afterwards. Where no such locale is installed, a Linux system
// with localedef gets a private one built into a scratch folder.

#include <string>

namespace qel_test
{

class QelCommaLocale
{
public:
    QelCommaLocale();
    ~QelCommaLocale();
    QelCommaLocale(const QelCommaLocale&) = delete;
    QelCommaLocale& operator=(const QelCommaLocale&) = delete;

    // True when the process locale now writes ',' as its decimal separator.
    bool IsActive() const { return m_bActive; }
    const std::string& GetName() const { return m_strName; }

private:
    bool TryLocale(const char* pszName);

    bool m_bActive = false;
    std::string m_strName;
    std::string m_strScratch;   // the folder of a privately built locale, removed at the end
};

} // namespace qel_test
