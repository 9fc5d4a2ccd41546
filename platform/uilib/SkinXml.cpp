#include "uilib/SkinXml.h"

#include <windows.h>
#include <objidl.h>
#include <shlwapi.h>
#include <xmllite.h>

namespace UiLib {

namespace {

// Owns one COM interface pointer.
template <typename T>
class ComRef {
public:
    ComRef() = default;
    ComRef(const ComRef&) = delete;
    ComRef& operator=(const ComRef&) = delete;
    ~ComRef() {
        if (m_p != nullptr) m_p->Release();
    }
    T* operator->() const { return m_p; }
    T* Get() const { return m_p; }
    T** Out() { return &m_p; }

private:
    T* m_p = nullptr;
};

// XmlLite ships with every Windows since XP SP3 (and with Wine); mingw-w64 has its header
// but no import library, so it is bound at run time.
HRESULT CreateReader(IXmlReader** ppReader) {
    using CreateXmlReaderFn = HRESULT(WINAPI*)(REFIID, void**, IMalloc*);
    static const CreateXmlReaderFn pfnCreate = [] {
        const HMODULE hXmlLite = ::LoadLibraryW(L"xmllite.dll");
        return hXmlLite != nullptr ? reinterpret_cast<CreateXmlReaderFn>(reinterpret_cast<void*>(
                                         ::GetProcAddress(hXmlLite, "CreateXmlReader")))
                                   : nullptr;
    }();
    if (pfnCreate == nullptr) return E_NOTIMPL;
    return pfnCreate(__uuidof(IXmlReader), reinterpret_cast<void**>(ppReader), nullptr);
}

bool ReadAttributes(IXmlReader* pReader, SkinElement& element) {
    HRESULT hr = pReader->MoveToFirstAttribute();
    while (hr == S_OK) {
        const wchar_t* pName = nullptr;
        const wchar_t* pValue = nullptr;
        if (FAILED(pReader->GetLocalName(&pName, nullptr)) || FAILED(pReader->GetValue(&pValue, nullptr))) return false;
        element.vecAttributes.emplace_back(pName, pValue);
        hr = pReader->MoveToNextAttribute();
    }
    return SUCCEEDED(hr);
}

}  // namespace

bool ReadSkinXml(const std::wstring& strPath, SkinElement& root, std::wstring& strError) {
    ComRef<IStream> stream;
    if (FAILED(::SHCreateStreamOnFileEx(strPath.c_str(), STGM_READ | STGM_SHARE_DENY_WRITE, FILE_ATTRIBUTE_NORMAL,
                                        FALSE, nullptr, stream.Out()))) {
        strError = L"cannot open " + strPath;
        return false;
    }
    ComRef<IXmlReader> reader;
    if (FAILED(CreateReader(reader.Out())) || FAILED(reader->SetInput(stream.Get()))) {
        strError = L"no XML reader available";
        return false;
    }
    reader->SetProperty(XmlReaderProperty_DtdProcessing, DtdProcessing_Prohibit);

    // The chain of open elements; the document element is the first.
    std::vector<SkinElement> stack;
    bool bHaveRoot = false;
    XmlNodeType nodeType = XmlNodeType_None;
    HRESULT hr = S_OK;
    while ((hr = reader->Read(&nodeType)) == S_OK) {
        if (nodeType == XmlNodeType_Element) {
            SkinElement element;
            const wchar_t* pName = nullptr;
            if (FAILED(reader->GetLocalName(&pName, nullptr))) break;
            element.strName = pName;
            const bool bEmpty = reader->IsEmptyElement() != FALSE;
            if (!ReadAttributes(reader.Get(), element)) {
                hr = E_FAIL;
                break;
            }
            stack.push_back(std::move(element));
            if (!bEmpty) continue;
            nodeType = XmlNodeType_EndElement;
        }
        if (nodeType == XmlNodeType_EndElement && !stack.empty()) {
            SkinElement done = std::move(stack.back());
            stack.pop_back();
            if (stack.empty()) {
                root = std::move(done);
                bHaveRoot = true;
            } else {
                stack.back().vecChildren.push_back(std::move(done));
            }
        }
    }
    if (FAILED(hr) || !bHaveRoot) {
        UINT nLine = 0;
        reader->GetLineNumber(&nLine);
        strError = L"malformed XML in " + strPath + L" near line " + std::to_wstring(nLine);
        return false;
    }
    return true;
}

}  // namespace UiLib
