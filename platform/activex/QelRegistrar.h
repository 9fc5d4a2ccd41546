// Registration of the module: its registry scripts (REGISTRY resources in the registrar's
// script syntax) run through the system's own registrar, the Registrar object of atl.dll,
// and its embedded type library. With QelPerUserClasses alive, everything written under
// HKEY_CLASSES_ROOT goes to the current user's classes instead.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace qel::activex {

// A %NAME% of the scripts and the text that replaces it.
struct QelReplacement {
    const wchar_t* pszName;
    std::wstring strValue;
};

// Runs the module's REGISTRY resource nResourceId, writing its keys or removing them.
HRESULT QelRunRegistryScript(UINT nResourceId, const std::vector<QelReplacement>& replacements, bool bRegister);

// Registers the module's TYPELIB 1, or removes that registration.
HRESULT QelRegisterModuleTypeLib(bool bRegister);

// While it lives, this process's HKEY_CLASSES_ROOT is HKEY_CURRENT_USER\Software\Classes
// (made if missing, as in a fresh profile).
class QelPerUserClasses {
public:
    QelPerUserClasses();
    ~QelPerUserClasses();
    QelPerUserClasses(const QelPerUserClasses&) = delete;
    QelPerUserClasses& operator=(const QelPerUserClasses&) = delete;

    HRESULT Status() const { return m_hr; }

private:
    HKEY m_hKey = nullptr;
    HRESULT m_hr;
};

// The GUID's registry form, in braces.
std::wstring QelGuidText(REFGUID guid);

}  // namespace qel::activex
