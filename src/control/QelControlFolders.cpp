#include "control/QelControlFolders.h"

#include <algorithm>

std::wstring MakeModuleFolder(const std::wstring& strModuleFile) {
    std::wstring strFolder = strModuleFile;
    std::replace(strFolder.begin(), strFolder.end(), L'/', L'\\');
    const size_t nSlash = strFolder.rfind(L'\\');
    return nSlash == std::wstring::npos ? std::wstring() : strFolder.substr(0, nSlash + 1);
}

std::wstring MakeParentFolder(const std::wstring& strFolder) {
    std::wstring strParent = strFolder;
    if (!strParent.empty() && (strParent.back() == L'\\' || strParent.back() == L'/')) strParent.pop_back();
    size_t nSlash = strParent.rfind(L'\\');
    if (nSlash == std::wstring::npos) nSlash = strParent.rfind(L'/');
    return nSlash == std::wstring::npos ? strParent : strParent.substr(0, nSlash + 1);
}
