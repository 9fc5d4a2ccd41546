#pragma once
// Switches the process to a locale whose decimal separator is ',' for the lifetime of the
// object, and back to "C" afterwards. Where no such locale is installed, a Linux system
// with localedef gets a private one built into a scratch folder.

#include <filesystem>
#include <string>

namespace qel_test {

class QelCommaLocale {
public:
    QelCommaLocale();
    ~QelCommaLocale();
    QelCommaLocale(const QelCommaLocale&) = delete;
    QelCommaLocale& operator=(const QelCommaLocale&) = delete;

    bool IsActive() const { return !m_strName.empty(); }
    const std::string& GetName() const { return m_strName; }

private:
    bool TryLocale(const char* pszName);

    std::string m_strName;
    std::filesystem::path m_pathScratch;  // a privately built locale, removed at the end
};

}  // namespace qel_test
