// IDataObject: the control's picture as a metafile, drawn through the same pipeline as
// the screen, and data-change advises.
#include "activex/QelControl.h"

namespace qel::activex {

namespace {

constexpr LONG kHimetricPerInch = 2540;

SIZEL HimetricToPixels(const SIZEL& himetric) {
    const HDC hScreen = ::GetDC(nullptr);
    const int nDpiX = ::GetDeviceCaps(hScreen, LOGPIXELSX);
    const int nDpiY = ::GetDeviceCaps(hScreen, LOGPIXELSY);
    ::ReleaseDC(nullptr, hScreen);
    return SIZEL{::MulDiv(himetric.cx, nDpiX, kHimetricPerInch), ::MulDiv(himetric.cy, nDpiY, kHimetricPerInch)};
}

}  // namespace

STDMETHODIMP QelControl::GetData(FORMATETC* pformatetcIn, STGMEDIUM* pmedium) {
    if (pformatetcIn == nullptr || pmedium == nullptr) return E_POINTER;
    *pmedium = STGMEDIUM{};
    if ((pformatetcIn->tymed & TYMED_MFPICT) == 0) return DATA_E_FORMATETC;

    const SIZEL sizePixels = HimetricToPixels(m_sizeExtent);
    const RECTL rcBounds = {0, 0, sizePixels.cx, sizePixels.cy};
    const HDC hdcMeta = ::CreateMetaFileW(nullptr);
    if (hdcMeta == nullptr) return E_UNEXPECTED;
    ::SaveDC(hdcMeta);
    ::SetWindowOrgEx(hdcMeta, 0, 0, nullptr);
    ::SetWindowExtEx(hdcMeta, rcBounds.right, rcBounds.bottom, nullptr);
    QelDrawInfo di;
    di.hdcDraw = hdcMeta;
    di.prcBounds = &rcBounds;
    di.prcWBounds = &rcBounds;
    DrawAdvanced(di);
    ::RestoreDC(hdcMeta, -1);
    const HMETAFILE hMetafile = ::CloseMetaFile(hdcMeta);
    if (hMetafile == nullptr) return E_UNEXPECTED;

    const HGLOBAL hPicture = ::GlobalAlloc(GMEM_SHARE | GMEM_MOVEABLE, sizeof(METAFILEPICT));
    auto* pPicture = hPicture != nullptr ? static_cast<METAFILEPICT*>(::GlobalLock(hPicture)) : nullptr;
    if (pPicture == nullptr) {
        if (hPicture != nullptr) ::GlobalFree(hPicture);
        ::DeleteMetaFile(hMetafile);
        return STG_E_MEDIUMFULL;
    }
    pPicture->mm = MM_ANISOTROPIC;
    pPicture->xExt = m_sizeExtent.cx;
    pPicture->yExt = m_sizeExtent.cy;
    pPicture->hMF = hMetafile;
    ::GlobalUnlock(hPicture);
    pmedium->tymed = TYMED_MFPICT;
    pmedium->hMetaFilePict = hPicture;
    return S_OK;
}

STDMETHODIMP QelControl::GetDataHere(FORMATETC*, STGMEDIUM*) { return E_NOTIMPL; }

STDMETHODIMP QelControl::QueryGetData(FORMATETC*) { return E_NOTIMPL; }

STDMETHODIMP QelControl::GetCanonicalFormatEtc(FORMATETC*, FORMATETC* pformatetcOut) {
    if (pformatetcOut != nullptr) pformatetcOut->ptd = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP QelControl::SetData(FORMATETC*, STGMEDIUM*, BOOL) { return E_NOTIMPL; }

STDMETHODIMP QelControl::EnumFormatEtc(DWORD, IEnumFORMATETC** ppenumFormatEtc) {
    if (ppenumFormatEtc != nullptr) *ppenumFormatEtc = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP QelControl::DAdvise(FORMATETC* pformatetc, DWORD advf, IAdviseSink* pAdvSink, DWORD* pdwConnection) {
    if (pdwConnection == nullptr) return E_POINTER;
    *pdwConnection = 0;
    if (!m_spDataAdviseHolder) {
        const HRESULT hr = ::CreateDataAdviseHolder(&m_spDataAdviseHolder);
        if (FAILED(hr)) return hr;
    }
    return m_spDataAdviseHolder->Advise(static_cast<IDataObject*>(this), pformatetc, advf, pAdvSink, pdwConnection);
}

STDMETHODIMP QelControl::DUnadvise(DWORD dwConnection) {
    if (!m_spDataAdviseHolder) return OLE_E_NOCONNECTION;
    return m_spDataAdviseHolder->Unadvise(dwConnection);
}

STDMETHODIMP QelControl::EnumDAdvise(IEnumSTATDATA** ppenumAdvise) {
    if (ppenumAdvise == nullptr) return E_POINTER;
    *ppenumAdvise = nullptr;
    if (!m_spDataAdviseHolder) return S_OK;
    return m_spDataAdviseHolder->EnumAdvise(ppenumAdvise);
}

}  // namespace qel::activex
