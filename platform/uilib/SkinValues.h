// Readers for the value syntax of skin attributes (internal to the toolkit).
#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

namespace UiLib {
namespace SkinValues {

// "l,t,r,b"; missing numbers are 0.
RECT ParseRect(const wchar_t* pstrValue);
// "cx,cy"; missing numbers are 0.
SIZE ParseSize(const wchar_t* pstrValue);
// "true" (any case) or a non-zero number.
bool ParseBool(const wchar_t* pstrValue);
// A skin or image name as a file path: relative names are under the resource path.
std::wstring ResourceFilePath(const std::wstring& strName);
// name="value" name='value' ... in order.
std::vector<std::pair<std::wstring, std::wstring>> ParseAttributeList(const wchar_t* pstrList);

}  // namespace SkinValues
}  // namespace UiLib
