#include "QelCommaLocale.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#ifndef _WIN32
#include <unistd.h>
#endif

namespace qel_test
{

QelCommaLocale::QelCommaLocale()
{
#ifdef _WIN32
    const char* apszNames[] = {"German_Germany.1252", "de-DE", "German", "French"};
#else
    const char* apszNames[] = {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "ru_RU.UTF-8", "de_DE"};
#endif
    for (const char* pszName : apszNames)
    {
        if (TryLocale(pszName))
            return;
    }
#ifndef _WIN32
    std::error_code ec;
    const std::filesystem::path dir =
        std::filesystem::temp_directory_path(ec) / ("qel-locale-" + std::to_string(::getpid()));
    if (ec || !std::filesystem::create_directories(dir, ec))
        return;
    m_strScratch = dir.string();
    const std::string strCommand =
        "localedef -i de_DE -f UTF-8 '" + m_strScratch + "/de_DE.UTF-8' >/dev/null 2>&1";
    if (std::system(strCommand.c_str()) != 0)
        return;
    ::setenv("LOCPATH", m_strScratch.c_str(), 1);
    TryLocale("de_DE.UTF-8");
#endif
}

QelCommaLocale::~QelCommaLocale()
{
    std::setlocale(LC_ALL, "C");
#ifndef _WIN32
    if (!m_strScratch.empty())
    {
        ::unsetenv("LOCPATH");
        std::error_code ec;
        std::filesystem::remove_all(m_strScratch, ec);
    }
#endif
}

bool QelCommaLocale::TryLocale(const char* pszName)
{
    if (!std::setlocale(LC_ALL, pszName))
        return false;
    if (std::strcmp(std::localeconv()->decimal_point, ",") != 0)
    {
        std::setlocale(LC_ALL, "C");
        return false;
    }
    m_bActive = true;
    m_strName = pszName;
    return true;
}

} // namespace qel_test
