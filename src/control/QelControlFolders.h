// The folders the control derives from its module's file name: the skins are read from
// ui\qelmediaplayer\ under the parent of the module's folder.
#pragma once

#include <string>

// Every "/" made a "\\", then cut after the last "\\" (kept); empty when there is none.
std::wstring MakeModuleFolder(const std::wstring& strModuleFile);
// A trailing "\\" or "/" dropped, then cut after the last "\\" (kept), or else after the
// last "/"; a text with neither stays as it is.
std::wstring MakeParentFolder(const std::wstring& strFolder);
