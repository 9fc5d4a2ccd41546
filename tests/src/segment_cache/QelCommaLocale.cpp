#include "QelCommaLocale.h"

#include <clocale>
#include <cstdlib>
#include <cstring>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace qel_test {

QelCommaLocale::QelCommaLocale() {
    for (const char* pszName : {"German_Germany.1252", "de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "ru_RU.UTF-8"}) {
        if (TryLocale(pszName))
            return;
    }
#ifndef _WIN32
    std::error_code ec;
    m_pathScratch = std::filesystem::temp_directory_path(ec) / ("qel-locale-" + std::to_string(::getpid()));
    std::filesystem::create_directories(m_pathScratch, ec);
    const std::string strCommand = "localedef -i de_DE -f UTF-8 '" + m_pathScratch.string() + "/de_DE.UTF-8' >/dev/null 2>&1";
    if (!ec && std::system(strCommand.c_str()) == 0 && ::setenv("LOCPATH", m_pathScratch.c_str(), 1) == 0)
        TryLocale("de_DE.UTF-8");
#endif
}

QelCommaLocale::~QelCommaLocale() {
    std::setlocale(LC_ALL, "C");
#ifndef _WIN32
    if (!m_pathScratch.empty()) {
        ::unsetenv("LOCPATH");
        std::error_code ec;
        std::filesystem::remove_all(m_pathScratch, ec);
    }
#endif
}

bool QelCommaLocale::TryLocale(const char* pszName) {
    if (std::setlocale(LC_ALL, pszName) && std::strcmp(std::localeconv()->decimal_point, ",") == 0)
        m_strName = pszName;
    else
        std::setlocale(LC_ALL, "C");
    return IsActive();
}

}  // namespace qel_test
