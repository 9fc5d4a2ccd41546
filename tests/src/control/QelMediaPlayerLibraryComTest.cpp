// The library as COM sees it under Wine: its embedded type library read with LoadTypeLib,
// and its unloading once nothing of it is alive.
#include <windows.h>
#include <ole2.h>
#include <wrl/client.h>

#include <gtest/gtest.h>

#include <string>

#include "QelControlTestSupport.h"
#include "QelMediaPlayer_h.h"

using Microsoft::WRL::ComPtr;

namespace qel::test {
namespace {

std::string Narrow(const wchar_t* psz) {
    std::string text;
    for (; psz != nullptr && *psz != 0; ++psz) text += static_cast<char>(*psz);
    return text;
}

std::string NameOf(ITypeInfo* pInfo, MEMBERID memid) {
    BSTR bstrName = nullptr;
    pInfo->GetDocumentation(memid, &bstrName, nullptr, nullptr, nullptr);
    std::string name = Narrow(bstrName);
    ::SysFreeString(bstrName);
    return name;
}

std::string Flags(unsigned flags, std::initializer_list<std::pair<unsigned, const char*>> names) {
    std::string text;
    for (const auto& name : names) {
        if ((flags & name.first) != 0) text += (text.empty() ? "" : "|") + std::string(name.second);
    }
    return text.empty() ? "-" : text;
}

// "put BorderStyle -504 bindable|requestedit; get Type 1 - pVal; ..." in interface order.
// The names are those Wine's GetNames gives for the id: the first function's, which for
// the stock properties is the put, whose parameter has no stored name.
std::string Functions(ITypeInfo* pInfo) {
    TYPEATTR* pAttr = nullptr;
    pInfo->GetTypeAttr(&pAttr);
    std::string text;
    for (UINT i = 0; i < pAttr->cFuncs; ++i) {
        FUNCDESC* pFunc = nullptr;
        pInfo->GetFuncDesc(i, &pFunc);
        const bool bGet = pFunc->invkind == INVOKE_PROPERTYGET;
        text += text.empty() ? "" : "; ";
        text += bGet ? "get " : pFunc->invkind == INVOKE_PROPERTYPUT ? "put " : "call ";
        text += NameOf(pInfo, pFunc->memid) + " " + std::to_string(pFunc->memid) + " " +
                Flags(pFunc->wFuncFlags, {{FUNCFLAG_FBINDABLE, "bindable"},
                                          {FUNCFLAG_FREQUESTEDIT, "requestedit"},
                                          {FUNCFLAG_FDISPLAYBIND, "displaybind"}});
        if (pFunc->elemdescFunc.tdesc.vt != VT_HRESULT) text += " !hresult";
        BSTR names[4] = {};
        UINT nNames = 0;
        pInfo->GetNames(pFunc->memid, names, 4, &nNames);
        for (UINT n = 1; bGet && n < nNames; ++n) text += " " + Narrow(names[n]);
        for (UINT n = 0; n < nNames; ++n) ::SysFreeString(names[n]);
        pInfo->ReleaseFuncDesc(pFunc);
    }
    pInfo->ReleaseTypeAttr(pAttr);
    return text;
}

const char* KindName(TYPEKIND kind) {
    switch (kind) {
    case TKIND_DISPATCH: return "dispinterface";
    case TKIND_COCLASS: return "coclass";
    case TKIND_INTERFACE: return "interface";
    default: return "other";
    }
}

std::string TypeFlags(ITypeInfo* pInfo) {
    TYPEATTR* pAttr = nullptr;
    pInfo->GetTypeAttr(&pAttr);
    std::string text = KindName(pAttr->typekind) + std::string(" ") +
                       Flags(pAttr->wTypeFlags, {{TYPEFLAG_FCANCREATE, "cancreate"},
                                                 {TYPEFLAG_FCONTROL, "control"},
                                                 {TYPEFLAG_FDUAL, "dual"},
                                                 {TYPEFLAG_FNONEXTENSIBLE, "nonextensible"},
                                                 {TYPEFLAG_FOLEAUTOMATION, "oleautomation"}});
    // A coclass: what it implements, and as what.
    for (UINT i = 0; pAttr->typekind == TKIND_COCLASS && i < pAttr->cImplTypes; ++i) {
        HREFTYPE hRef = 0;
        ComPtr<ITypeInfo> spImplemented;
        INT nFlags = 0;
        pInfo->GetRefTypeOfImplType(i, &hRef);
        pInfo->GetRefTypeInfo(hRef, &spImplemented);
        pInfo->GetImplTypeFlags(i, &nFlags);
        text += " " + NameOf(spImplemented.Get(), MEMBERID_NIL) + ":" +
                Flags(static_cast<unsigned>(nFlags), {{IMPLTYPEFLAG_FDEFAULT, "default"}, {IMPLTYPEFLAG_FSOURCE, "source"}});
    }
    pInfo->ReleaseTypeAttr(pAttr);
    return text;
}

// The bytes of the library's TYPELIB resource.
std::string TypeLibBytes() {
    const HMODULE hLibrary = ::LoadLibraryExW(LibraryPath().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    const HRSRC hResource = hLibrary != nullptr ? ::FindResourceW(hLibrary, MAKEINTRESOURCEW(1), L"TYPELIB") : nullptr;
    std::string bytes;
    if (hResource != nullptr) {
        const auto* pData = static_cast<const char*>(::LockResource(::LoadResource(hLibrary, hResource)));
        bytes.assign(pData, ::SizeofResource(hLibrary, hResource));
    }
    if (hLibrary != nullptr) ::FreeLibrary(hLibrary);
    return bytes;
}

class LibraryComTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(SUCCEEDED(::OleInitialize(nullptr))); }
    void TearDown() override { ::OleUninitialize(); }
};

TEST_F(LibraryComTest, TypeLibraryDescribesTheControl) {
    ComPtr<ITypeLib> spLib;
    ASSERT_EQ(::LoadTypeLibEx(LibraryPath().c_str(), REGKIND_NONE, &spLib), S_OK);
    TLIBATTR* pLibAttr = nullptr;
    ASSERT_EQ(spLib->GetLibAttr(&pLibAttr), S_OK);
    EXPECT_TRUE(pLibAttr->guid == LIBID_QelMediaPlayerLib);
    BSTR bstrLib = nullptr;
    spLib->GetDocumentation(-1, &bstrLib, nullptr, nullptr, nullptr);
    std::string library = Narrow(bstrLib) + " " + std::to_string(pLibAttr->wMajorVerNum) + "." +
                          std::to_string(pLibAttr->wMinorVerNum);
    ::SysFreeString(bstrLib);
    spLib->ReleaseTLibAttr(pLibAttr);
    for (UINT i = 0; i < spLib->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> spInfo;
        spLib->GetTypeInfo(i, &spInfo);
        library += "; " + NameOf(spInfo.Get(), MEMBERID_NIL) + " " + TypeFlags(spInfo.Get());
    }
    EXPECT_EQ(library,
              "QelMediaPlayerLib 1.0; _IQelMediaPlayerCtrlEvents dispinterface -; "
              "QelMediaPlayerCtrl coclass cancreate|control IQelMediaPlayerCtrl:default "
              "_IQelMediaPlayerCtrlEvents:default|source; IQelMediaPlayerCtrl dispinterface dual|nonextensible");

    ComPtr<ITypeInfo> spDispatch, spInterface;
    ASSERT_EQ(spLib->GetTypeInfoOfGuid(IID_IQelMediaPlayerCtrl, &spDispatch), S_OK);
    HREFTYPE hRef = 0;
    ASSERT_EQ(spDispatch->GetRefTypeOfImplType(-1, &hRef), S_OK);
    ASSERT_EQ(spDispatch->GetRefTypeInfo(hRef, &spInterface), S_OK);
    EXPECT_EQ(TypeFlags(spInterface.Get()), "interface dual|nonextensible|oleautomation");
    EXPECT_EQ(Functions(spInterface.Get()),
              "put BorderStyle -504 bindable|requestedit; get BorderStyle -504 bindable|requestedit; "
              "put DrawMode -507 bindable|requestedit; get DrawMode -507 bindable|requestedit; "
              "get Type 1 - pVal; put Type 1 -; "
              "get Path 2 bindable|displaybind pVal; put Path 2 bindable|displaybind");
    // The gets' parameter names are stored, the puts' are not.
    const std::string bytes = TypeLibBytes();
    EXPECT_NE(bytes.find("pstyle"), std::string::npos);
    EXPECT_NE(bytes.find("pmode"), std::string::npos);
    EXPECT_EQ(bytes.find("newVal"), std::string::npos);
}

using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();

HRESULT LibraryCanUnloadNow() {
    const HMODULE hLibrary = ::GetModuleHandleW(L"QelMediaPlayer.dll");
    const auto pfnCanUnload =
        hLibrary != nullptr
            ? reinterpret_cast<CanUnloadNow>(reinterpret_cast<void*>(::GetProcAddress(hLibrary, "DllCanUnloadNow")))
            : nullptr;
    return pfnCanUnload != nullptr ? pfnCanUnload() : E_UNEXPECTED;
}

TEST_F(LibraryComTest, UnloadsOnceNoControlOrLockIsLeft) {
    ASSERT_EQ(RegisterLibrary(true), S_OK);
    ComPtr<IUnknown> spControl;
    ASSERT_EQ(::CoCreateInstance(CLSID_QelMediaPlayerCtrl, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&spControl)),
              S_OK);
    EXPECT_EQ(LibraryCanUnloadNow(), S_FALSE);
    spControl.Reset();
    EXPECT_EQ(LibraryCanUnloadNow(), S_OK);

    ComPtr<IClassFactory> spFactory;
    ASSERT_EQ(::CoGetClassObject(CLSID_QelMediaPlayerCtrl, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&spFactory)),
              S_OK);
    spFactory->LockServer(TRUE);
    EXPECT_EQ(LibraryCanUnloadNow(), S_FALSE);
    spFactory->LockServer(FALSE);
    spFactory.Reset();
    EXPECT_EQ(LibraryCanUnloadNow(), S_OK);

    ::CoFreeUnusedLibraries();
    EXPECT_EQ(::GetModuleHandleW(L"QelMediaPlayer.dll"), nullptr);
    EXPECT_EQ(RegisterLibrary(false), S_OK);
}

}  // namespace
}  // namespace qel::test
