#include <wrl/client.h>

#include "QelControlTestSupport.h"

using Microsoft::WRL::ComPtr;

namespace qel::test {

std::wstring LibraryPath() {
    wchar_t szPath[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, szPath, MAX_PATH);
    std::wstring strPath = szPath;
    strPath = strPath.substr(0, strPath.find_last_of(L'\\'));  // <build>\tests
    return strPath.substr(0, strPath.find_last_of(L'\\') + 1) + L"bin\\QelMediaPlayer.dll";
}

HRESULT RegisterLibrary(bool bRegister) {
    const HMODULE hLibrary = ::LoadLibraryExW(LibraryPath().c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (hLibrary == nullptr) return HRESULT_FROM_WIN32(::GetLastError());
    using Entry = HRESULT(STDAPICALLTYPE*)();
    const auto pfnEntry = reinterpret_cast<Entry>(
        reinterpret_cast<void*>(::GetProcAddress(hLibrary, bRegister ? "DllRegisterServer" : "DllUnregisterServer")));
    const HRESULT hr = pfnEntry != nullptr ? pfnEntry() : E_NOINTERFACE;
    ::FreeLibrary(hLibrary);
    return hr;
}

ComPtr<IStream> StreamOf(const std::vector<std::uint8_t>& bytes) {
    ComPtr<IStream> spStream;
    ::CreateStreamOnHGlobal(nullptr, TRUE, &spStream);
    ULONG nWritten = 0;
    spStream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &nWritten);
    spStream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
    return spStream;
}

namespace {

std::vector<std::uint8_t> ReadAll(IStream* pStream) {
    std::vector<std::uint8_t> bytes;
    pStream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
    std::uint8_t buffer[256];
    ULONG nRead = 0;
    while (SUCCEEDED(pStream->Read(buffer, sizeof(buffer), &nRead)) && nRead > 0) {
        bytes.insert(bytes.end(), buffer, buffer + nRead);
    }
    return bytes;
}

}  // namespace

std::vector<std::uint8_t> SavedBytes(IUnknown* pControl) {
    ComPtr<IPersistStreamInit> spPersist;
    if (FAILED(pControl->QueryInterface(IID_PPV_ARGS(&spPersist)))) return {};
    ComPtr<IStream> spStream = StreamOf({});
    if (FAILED(spPersist->Save(spStream.Get(), TRUE))) return {};
    return ReadAll(spStream.Get());
}

HRESULT LoadBytes(IUnknown* pControl, const std::vector<std::uint8_t>& bytes) {
    ComPtr<IPersistStreamInit> spPersist;
    const HRESULT hr = pControl->QueryInterface(IID_PPV_ARGS(&spPersist));
    return FAILED(hr) ? hr : spPersist->Load(StreamOf(bytes).Get());
}

std::vector<std::uint8_t> StreamBytes(IStorage* pStorage, const wchar_t* pszStream) {
    ComPtr<IStream> spStream;
    if (FAILED(pStorage->OpenStream(pszStream, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &spStream))) return {};
    return ReadAll(spStream.Get());
}

STDMETHODIMP RecordingSink::QueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IUnknown || riid == IID_IPropertyNotifySink) {
        *ppv = static_cast<IPropertyNotifySink*>(this);
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

STDMETHODIMP RecordingSink::OnChanged(DISPID dispID) {
    m_strLog += " changed " + std::to_string(dispID);
    return S_OK;
}

STDMETHODIMP RecordingSink::OnRequestEdit(DISPID dispID) {
    m_strLog += " edit " + std::to_string(dispID);
    return bRefuse ? S_FALSE : S_OK;
}

DWORD RecordingSink::AdviseTo(IUnknown* pControl) {
    ComPtr<IConnectionPointContainer> spContainer;
    ComPtr<IConnectionPoint> spPoint;
    DWORD dwCookie = 0;
    if (SUCCEEDED(pControl->QueryInterface(IID_PPV_ARGS(&spContainer))) &&
        SUCCEEDED(spContainer->FindConnectionPoint(IID_IPropertyNotifySink, &spPoint))) {
        spPoint->Advise(this, &dwCookie);
    }
    return dwCookie;
}

void RecordingSink::UnadviseFrom(IUnknown* pControl, DWORD dwCookie) {
    ComPtr<IConnectionPointContainer> spContainer;
    ComPtr<IConnectionPoint> spPoint;
    if (SUCCEEDED(pControl->QueryInterface(IID_PPV_ARGS(&spContainer))) &&
        SUCCEEDED(spContainer->FindConnectionPoint(IID_IPropertyNotifySink, &spPoint))) {
        spPoint->Unadvise(dwCookie);
    }
}

std::string ChildRect(HWND hWnd) {
    RECT rc = {};
    ::GetWindowRect(hWnd, &rc);
    ::MapWindowPoints(nullptr, ::GetParent(hWnd), reinterpret_cast<POINT*>(&rc), 2);
    return std::to_string(rc.left) + "," + std::to_string(rc.top) + " " + std::to_string(rc.right - rc.left) + "x" +
           std::to_string(rc.bottom - rc.top);
}

std::string PaintedFrame(HWND hWnd) {
    RECT rc = {};
    ::GetClientRect(hWnd, &rc);
    const HDC hScreen = ::GetDC(nullptr);
    const HDC hMem = ::CreateCompatibleDC(hScreen);
    const HBITMAP hBitmap = ::CreateCompatibleBitmap(hScreen, rc.right, rc.bottom);
    const HGDIOBJ hOld = ::SelectObject(hMem, hBitmap);
    const HBRUSH hBlue = ::CreateSolidBrush(RGB(0, 0, 255));
    ::FillRect(hMem, &rc, hBlue);
    ::DeleteObject(hBlue);
    // The window paints into a given device context as into its own.
    ::SendMessageW(hWnd, WM_PAINT, reinterpret_cast<WPARAM>(hMem), 0);
    int nFrame = 0, nFrameBlack = 0, nInside = 0, nInsideWhite = 0;
    for (int y = 0; y < rc.bottom; ++y) {
        for (int x = 0; x < rc.right; ++x) {
            const COLORREF color = ::GetPixel(hMem, x, y);
            if (x == 0 || y == 0 || x == rc.right - 1 || y == rc.bottom - 1) {
                ++nFrame;
                nFrameBlack += color == RGB(0, 0, 0) ? 1 : 0;
            } else {
                ++nInside;
                nInsideWhite += color == RGB(255, 255, 255) ? 1 : 0;
            }
        }
    }
    ::SelectObject(hMem, hOld);
    ::DeleteObject(hBitmap);
    ::DeleteDC(hMem);
    ::ReleaseDC(nullptr, hScreen);
    if (nFrame > 0 && nFrame == nFrameBlack && nInside > 0 && nInside == nInsideWhite) return "frame black, inside white";
    return "frame " + std::to_string(nFrameBlack) + "/" + std::to_string(nFrame) + " black, inside " +
           std::to_string(nInsideWhite) + "/" + std::to_string(nInside) + " white";
}

}  // namespace qel::test
