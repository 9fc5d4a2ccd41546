// IViewObjectEx and the drawing pipeline: every draw (the window's paint, a container's
// Draw, a metafile for data transfer) reaches OnDraw with bounds in device units and the
// device context in MM_TEXT, except a metafile, which keeps its own mapping.
#include "activex/QelControl.h"

#include <memory>
#include <type_traits>

namespace qel::activex {

namespace {

struct DcDeleter {
    void operator()(HDC hdc) const { ::DeleteDC(hdc); }
};
using QelOwnedDc = std::unique_ptr<std::remove_pointer_t<HDC>, DcDeleter>;

// Restores a device context to what it was when this was made.
class QelSavedDc {
public:
    explicit QelSavedDc(HDC hdc) : m_hdc(hdc), m_nSaved(::SaveDC(hdc)) {}
    ~QelSavedDc() {
        if (m_nSaved != 0) ::RestoreDC(m_hdc, m_nSaved);
    }
    QelSavedDc(const QelSavedDc&) = delete;
    QelSavedDc& operator=(const QelSavedDc&) = delete;

private:
    HDC m_hdc;
    int m_nSaved;
};

bool IsMetafile(HDC hdc) { return ::GetDeviceCaps(hdc, TECHNOLOGY) == DT_METAFILE; }

// An information context for the target device the container names; the display's when
// it names none and draws into a metafile or into nothing.
QelOwnedDc CreateTargetDc(HDC hdcDraw, const DVTARGETDEVICE* ptd) {
    if (ptd != nullptr) {
        const auto* pBase = reinterpret_cast<const BYTE*>(ptd);
        auto name = [pBase](WORD offset) {
            return offset != 0 ? reinterpret_cast<const wchar_t*>(pBase + offset) : nullptr;
        };
        const auto* pMode = ptd->tdExtDevmodeOffset != 0
                                ? reinterpret_cast<const DEVMODEW*>(pBase + ptd->tdExtDevmodeOffset)
                                : nullptr;
        return QelOwnedDc(::CreateDCW(name(ptd->tdDriverNameOffset), name(ptd->tdDeviceNameOffset),
                                      name(ptd->tdPortNameOffset), pMode));
    }
    if (hdcDraw == nullptr || IsMetafile(hdcDraw)) return QelOwnedDc(::CreateDCW(L"DISPLAY", nullptr, nullptr, nullptr));
    return QelOwnedDc();
}

}  // namespace

HRESULT QelControl::DrawAdvanced(QelDrawInfo di) {
    QelOwnedDc target;
    if (di.hicTargetDev == nullptr) {
        target = CreateTargetDc(di.hdcDraw, di.ptd);
        di.hicTargetDev = target ? target.get() : di.hdcDraw;
    }
    RECTL rcBounds = *di.prcBounds;
    if (IsMetafile(di.hdcDraw)) {
        di.prcBounds = &rcBounds;
        return OnDraw(di);
    }
    ::LPtoDP(di.hdcDraw, reinterpret_cast<POINT*>(&rcBounds), 2);
    QelSavedDc saved(di.hdcDraw);
    ::SetMapMode(di.hdcDraw, MM_TEXT);
    ::SetWindowOrgEx(di.hdcDraw, 0, 0, nullptr);
    ::SetViewportOrgEx(di.hdcDraw, 0, 0, nullptr);
    di.prcBounds = &rcBounds;
    return OnDraw(di);
}

STDMETHODIMP QelControl::Draw(DWORD dwDrawAspect, LONG lindex, void*, DVTARGETDEVICE* ptd, HDC hdcTargetDev,
                              HDC hdcDraw, LPCRECTL lprcBounds, LPCRECTL lprcWBounds,
                              BOOL(STDMETHODCALLTYPE*)(ULONG_PTR), ULONG_PTR) {
    if (hdcDraw == nullptr) return E_INVALIDARG;
    // A windowed control draws into the bounds the container gives, never into its own.
    if (lprcBounds == nullptr) return E_INVALIDARG;
    QelDrawInfo di;
    di.dwDrawAspect = dwDrawAspect;
    di.lindex = lindex;
    di.ptd = ptd;
    di.hicTargetDev = hdcTargetDev;
    di.hdcDraw = hdcDraw;
    di.prcBounds = lprcBounds;
    di.prcWBounds = lprcWBounds;
    return DrawAdvanced(di);
}

STDMETHODIMP QelControl::GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC, LOGPALETTE** ppColorSet) {
    if (ppColorSet != nullptr) *ppColorSet = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP QelControl::Freeze(DWORD, LONG, void*, DWORD*) { return E_NOTIMPL; }

STDMETHODIMP QelControl::Unfreeze(DWORD) { return E_NOTIMPL; }

STDMETHODIMP QelControl::SetAdvise(DWORD aspects, DWORD advf, IAdviseSink* pAdvSink) {
    m_spViewAdviseSink = pAdvSink;
    m_dwViewAdviseAspects = aspects;
    m_dwViewAdviseFlags = advf;
    return S_OK;
}

STDMETHODIMP QelControl::GetAdvise(DWORD* pAspects, DWORD* pAdvf, IAdviseSink** ppAdvSink) {
    if (pAspects != nullptr) *pAspects = m_dwViewAdviseAspects;
    if (pAdvf != nullptr) *pAdvf = m_dwViewAdviseFlags;
    if (ppAdvSink == nullptr) return E_POINTER;
    *ppAdvSink = m_spViewAdviseSink.Get();
    if (*ppAdvSink != nullptr) (*ppAdvSink)->AddRef();
    return S_OK;
}

STDMETHODIMP QelControl::GetExtent(DWORD, LONG, DVTARGETDEVICE*, LPSIZEL lpsizel) {
    if (lpsizel == nullptr) return E_POINTER;
    *lpsizel = m_sizeExtent;
    return S_OK;
}

STDMETHODIMP QelControl::GetRect(DWORD, LPRECTL) { return E_NOTIMPL; }

STDMETHODIMP QelControl::GetViewStatus(DWORD* pdwStatus) {
    if (pdwStatus == nullptr) return E_POINTER;
    *pdwStatus = m_traits.dwViewStatus;
    return S_OK;
}

STDMETHODIMP QelControl::QueryHitPoint(DWORD dwAspect, LPCRECT pRectBounds, POINT ptlLoc, LONG, DWORD* pHitResult) {
    if (pRectBounds == nullptr || pHitResult == nullptr) return E_POINTER;
    if (dwAspect != DVASPECT_CONTENT) return E_FAIL;
    *pHitResult = ::PtInRect(pRectBounds, ptlLoc) ? HITRESULT_HIT : HITRESULT_OUTSIDE;
    return S_OK;
}

STDMETHODIMP QelControl::QueryHitRect(DWORD dwAspect, LPCRECT pRectBounds, LPCRECT pRectLoc, LONG,
                                      DWORD* pHitResult) {
    if (pRectBounds == nullptr || pRectLoc == nullptr || pHitResult == nullptr) return E_POINTER;
    if (dwAspect != DVASPECT_CONTENT) return E_FAIL;
    RECT rcOverlap;
    *pHitResult = ::IntersectRect(&rcOverlap, pRectBounds, pRectLoc) ? HITRESULT_HIT : HITRESULT_OUTSIDE;
    return S_OK;
}

STDMETHODIMP QelControl::GetNaturalExtent(DWORD, LONG, DVTARGETDEVICE*, HDC, DVEXTENTINFO* pExtentInfo,
                                          LPSIZEL pSizel) {
    if (pExtentInfo == nullptr || pSizel == nullptr) return E_POINTER;
    if (pExtentInfo->dwExtentMode != DVEXTENT_CONTENT) return E_FAIL;
    *pSizel = m_sizeNatural;
    return S_OK;
}

}  // namespace qel::activex
