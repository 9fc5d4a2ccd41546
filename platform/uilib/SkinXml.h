// Reads a skin file into a small element tree with XmlLite (internal to the toolkit).
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace UiLib {

struct SkinElement {
    std::wstring strName;
    std::vector<std::pair<std::wstring, std::wstring>> vecAttributes;
    std::vector<SkinElement> vecChildren;
};

// The document element of the file; false with a reason when the file cannot be read
// or is not well-formed XML.
bool ReadSkinXml(const std::wstring& strPath, SkinElement& root, std::wstring& strError);

}  // namespace UiLib
