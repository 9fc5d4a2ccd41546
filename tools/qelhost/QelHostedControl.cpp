#include "QelHostedControl.h"

#include <ocidl.h>
#include <oleauto.h>

namespace {

using Microsoft::WRL::ComPtr;

constexpr wchar_t kProgId[] = L"QelMediaPlayerCtrl";

HRESULT PutText(IDispatch* pDispatch, const wchar_t* pszName, const std::wstring& strValue) {
    LPOLESTR pszMember = const_cast<LPOLESTR>(pszName);
    DISPID dispid = 0;
    HRESULT hr = pDispatch->GetIDsOfNames(IID_NULL, &pszMember, 1, LOCALE_USER_DEFAULT, &dispid);
    if (FAILED(hr)) return hr;
    VARIANT value;
    value.vt = VT_BSTR;
    value.bstrVal = ::SysAllocString(strValue.c_str());
    if (value.bstrVal == nullptr) return E_OUTOFMEMORY;
    DISPID dispidNamed = DISPID_PROPERTYPUT;
    DISPPARAMS arguments = {&value, &dispidNamed, 1, 1};
    hr = pDispatch->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &arguments, nullptr, nullptr,
                           nullptr);
    ::VariantClear(&value);
    return hr;
}

// The control's persisted data with the two properties set, at the stream's start.
HRESULT PersistedControl(const std::wstring& strType, const std::wstring& strPath, ComPtr<IStream>& spStream) {
    CLSID clsid;
    HRESULT hr = ::CLSIDFromProgID(kProgId, &clsid);
    ComPtr<IDispatch> spDispatch;
    if (SUCCEEDED(hr)) hr = ::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&spDispatch));
    ComPtr<IPersistStreamInit> spPersist;
    if (SUCCEEDED(hr)) hr = spDispatch.As(&spPersist);
    if (SUCCEEDED(hr)) hr = spPersist->InitNew();
    if (SUCCEEDED(hr)) hr = PutText(spDispatch.Get(), L"Type", strType);
    if (SUCCEEDED(hr)) hr = PutText(spDispatch.Get(), L"Path", strPath);
    if (SUCCEEDED(hr)) hr = ::CreateStreamOnHGlobal(nullptr, TRUE, &spStream);
    if (SUCCEEDED(hr)) hr = spPersist->Save(spStream.Get(), TRUE);
    if (SUCCEEDED(hr)) hr = spStream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
    return hr;
}

BOOL CALLBACK FindPlayer(HWND hWnd, LPARAM lParam) {
    wchar_t szClass[64] = {};
    ::GetClassNameW(hWnd, szClass, 64);
    if (std::wstring(szClass) == L"QelVideoPlayerPPTWindow" || std::wstring(szClass) == L"QelAudioPlayerPPTWindow") {
        *reinterpret_cast<HWND*>(lParam) = hWnd;
        return FALSE;
    }
    return TRUE;
}

}  // namespace

extern "C" HRESULT WINAPI AtlAxCreateControl(LPCOLESTR lpszName, HWND hWnd, IStream* pStream, IUnknown** ppUnkContainer);

HRESULT QelEmbedMediaPlayerControl(HWND hHost, const std::wstring& strType, const std::wstring& strPath,
                                   ComPtr<IUnknown>& spContainer) {
    ComPtr<IStream> spStream;
    const HRESULT hr = PersistedControl(strType, strPath, spStream);
    if (FAILED(hr)) return hr;
    return ::AtlAxCreateControl(kProgId, hHost, spStream.Get(), &spContainer);
}

HWND QelFindPlayerWindow(HWND hHost) {
    HWND hPlayer = nullptr;
    ::EnumChildWindows(hHost, FindPlayer, reinterpret_cast<LPARAM>(&hPlayer));
    return hPlayer;
}
