#include "uilib/CDialogBuilder.h"

#include "uilib/CButtonUI.h"
#include "uilib/CContainerUI.h"
#include "uilib/CLabelUI.h"
#include "uilib/CPaintManagerUI.h"
#include "uilib/CRenderEngine.h"
#include "uilib/CSliderUI.h"
#include "uilib/SkinValues.h"
#include "uilib/SkinXml.h"

#include <cwchar>

namespace UiLib {

namespace {

CControlUI* CreateToolkitControl(const std::wstring& tag) {
    if (tag == L"Control") return new CControlUI;
    if (tag == L"Container") return new CContainerUI;
    if (tag == L"VerticalLayout") return new CVerticalLayoutUI;
    if (tag == L"HorizontalLayout") return new CHorizontalLayoutUI;
    if (tag == L"Label") return new CLabelUI;
    if (tag == L"Text") return new CTextUI;
    if (tag == L"Button") return new CButtonUI;
    if (tag == L"Option") return new COptionUI;
    if (tag == L"Progress") return new CProgressUI;
    if (tag == L"Slider") return new CSliderUI;
    return nullptr;
}

void ApplyWindowAttributes(const SkinElement& window, CPaintManagerUI* pManager) {
    for (const auto& [name, value] : window.vecAttributes) {
        if (name == L"size") {
            const SIZE sz = SkinValues::ParseSize(value.c_str());
            pManager->SetInitSize(sz.cx, sz.cy);
        } else if (name == L"caption") {
            pManager->SetCaptionRect(SkinValues::ParseRect(value.c_str()));
        } else if (name == L"sizebox") {
            pManager->SetSizeBox(SkinValues::ParseRect(value.c_str()));
        } else if (name == L"roundcorner") {
            const SIZE sz = SkinValues::ParseSize(value.c_str());
            pManager->SetRoundCorner(sz.cx, sz.cy);
        } else if (name == L"mininfo") {
            const SIZE sz = SkinValues::ParseSize(value.c_str());
            pManager->SetMinInfo(sz.cx, sz.cy);
        } else if (name == L"defaultfontcolor") {
            pManager->SetDefaultFontColor(CRenderEngine::ParseColor(value.c_str()));
        }
    }
}

void AddFont(const SkinElement& font, CPaintManagerUI* pManager) {
    std::wstring face = L"Tahoma";
    int nSize = 12;
    bool bBold = false;
    bool bUnderline = false;
    bool bItalic = false;
    for (const auto& [name, value] : font.vecAttributes) {
        if (name == L"name") face = value;
        else if (name == L"size") nSize = _wtoi(value.c_str());
        else if (name == L"bold") bBold = SkinValues::ParseBool(value.c_str());
        else if (name == L"underline") bUnderline = SkinValues::ParseBool(value.c_str());
        else if (name == L"italic") bItalic = SkinValues::ParseBool(value.c_str());
    }
    pManager->AddFont(face.c_str(), nSize, bBold, bUnderline, bItalic);
}

// Builds one element and what it holds. The tree has no paint manager while it is
// built: controls are initialised once, when the tree is attached to a window.
CControlUI* BuildControl(const SkinElement& element, IDialogBuilderCallback* pCallback, std::wstring& strError) {
    CControlUI* pControl = pCallback != nullptr ? pCallback->CreateControl(element.strName.c_str()) : nullptr;
    if (pControl == nullptr) pControl = CreateToolkitControl(element.strName);
    if (pControl == nullptr) {
        strError = L"unknown control <" + element.strName + L">";
        return nullptr;
    }
    for (const auto& [name, value] : element.vecAttributes) pControl->SetAttribute(name.c_str(), value.c_str());
    auto* pContainer = static_cast<CContainerUI*>(pControl->GetInterface(L"Container"));
    for (const SkinElement& child : element.vecChildren) {
        if (pContainer == nullptr) {
            strError = L"<" + element.strName + L"> cannot hold <" + child.strName + L">";
            break;
        }
        if (CControlUI* pChild = BuildControl(child, pCallback, strError)) pContainer->Add(pChild);
    }
    return pControl;
}

}  // namespace

CControlUI* CDialogBuilder::Create(STRINGorID xml, STRINGorID, IDialogBuilderCallback* pCallback,
                                   CPaintManagerUI* pManager, CControlUI* pParent) {
    m_sError.Empty();
    if (xml.IsId() || xml.m_lpstr == nullptr || *xml.m_lpstr == 0) {
        m_sError = L"skins are read from files only";
        return nullptr;
    }
    const std::wstring path = SkinValues::ResourceFilePath(xml.m_lpstr);

    SkinElement document;
    std::wstring strError;
    if (!ReadSkinXml(path, document, strError)) {
        m_sError = strError;
        return nullptr;
    }

    CControlUI* pRoot = nullptr;
    if (document.strName == L"Window") {
        if (pManager != nullptr) ApplyWindowAttributes(document, pManager);
        for (const SkinElement& child : document.vecChildren) {
            if (child.strName == L"Font") {
                if (pManager != nullptr) AddFont(child, pManager);
            } else if (pRoot == nullptr) {
                pRoot = BuildControl(child, pCallback, strError);
            } else {
                strError = L"a window has one root control; <" + child.strName + L"> ignored";
            }
        }
    } else {
        pRoot = BuildControl(document, pCallback, strError);
    }
    m_sError = strError;
    if (pRoot == nullptr) {
        if (m_sError.IsEmpty()) m_sError = L"no control in " + path;
        return nullptr;
    }
    if (pParent != nullptr) {
        auto* pContainer = static_cast<CContainerUI*>(pParent->GetInterface(L"Container"));
        if (pContainer == nullptr || !pContainer->Add(pRoot)) {
            delete pRoot;
            m_sError = L"the parent cannot hold controls";
            return nullptr;
        }
    }
    return pRoot;
}

}  // namespace UiLib
