// The two embedded players at the sizes documents give them, on the sample skins under
// Wine: which controls of the bar stay, that none is cut or lies over another, that the
// position slider keeps a useful width; and slider thumbs and chapter dots at 144 DPI.
#include <vector>

#include "QelUiTestSupport.h"
#include "ui/QelVideoPlayerPPTWindow.h"
#include "ui/audio/QelAudioPlayerPPTWindow.h"

using namespace qel::test;

namespace {

constexpr int kLeastSliderWidth = 40;

std::wstring ShortName(std::wstring strName) {
    for (const wchar_t* pszPrefix : {L"btn_video_", L"btn_audio_", L"video_", L"audio_"}) {
        if (strName.rfind(pszPrefix, 0) == 0) return strName.substr(wcslen(pszPrefix));
    }
    return strName;
}

// The shown controls of a bar ("play stop play_slider mute"), then what is wrong with
// them: one cut by the bar's edges, two that overlap, a position slider too narrow.
std::wstring BarText(UiLib::CControlUI* pBar, const wchar_t* szSlider) {
    auto* pLine = static_cast<UiLib::CContainerUI*>(pBar->GetInterface(L"Container"));
    const RECT rcBar = pBar->GetPos();
    std::vector<UiLib::CControlUI*> vecShown;
    std::wstring strShown, strFaults;
    for (int i = 0; i < pLine->GetCount(); ++i) {
        UiLib::CControlUI* pControl = pLine->GetItemAt(i);
        if (!pControl->IsVisible()) continue;
        const std::wstring strName = ShortName(pControl->GetName().Str());
        const RECT rc = pControl->GetPos();
        RECT rcInside = {};
        if (!::IntersectRect(&rcInside, &rc, &rcBar) || !::EqualRect(&rcInside, &rc))
            strFaults += L" " + strName + L" cut";
        for (UiLib::CControlUI* pOther : vecShown) {
            if (::IntersectRect(&rcInside, &rc, &pOther->GetPos()))
                strFaults += L" " + strName + L" over " + ShortName(pOther->GetName().Str());
        }
        if (pControl->GetName() == szSlider && rc.right - rc.left < kLeastSliderWidth)
            strFaults += L" " + strName + L" " + std::to_wstring(rc.right - rc.left) + L"px";
        strShown += (strShown.empty() ? L"" : L" ") + strName;
        vecShown.push_back(pControl);
    }
    return strShown + strFaults;
}

std::string SizeText(const RECT& rc) {
    return std::to_string(rc.right - rc.left) + "x" + std::to_string(rc.bottom - rc.top);
}

// The least size the control is given in documents, up to a large one.
const struct { SIZE size; const wchar_t *pszVideo, *pszAudio; } kSizes[] = {
    {{192, 108}, L"play play_slider mute full", L"pause stop play_slider mute"},
    {{320, 180}, L"play stop play_slider mute full", L"pause stop play_slider time mute"},
    {{640, 360}, L"play stop backward forward play_slider time mute volume_slider full",
     L"pause stop play_slider time mute volume_slider"},
    {{1280, 720}, L"play stop backward forward play_slider time mute volume_slider full",
     L"pause stop play_slider time mute volume_slider"},
};

using VideoBarTest = SkinnedWindowFixture<Exposed<QelVideoPlayerPPTWindow>>;
using AudioBarTest = SkinnedWindowFixture<Exposed<QelAudioPlayerPPTWindow>>;

TEST_F(VideoBarTest, TheLeastNeededGiveWayFirstAndTheRestFitsFromTheLeastSizeUp) {
    for (const auto& row : kSizes) {
        Open(L"video/video.xml", BuiltSkinFolder(), row.size);
        EXPECT_EQ(BarText(Find(L"video_play_ctrl"), L"video_play_slider"), row.pszVideo) << row.size.cx;
        Close();
    }
}

TEST_F(AudioBarTest, TheLeastNeededGiveWayFirstAndTheRestFitsFromTheLeastSizeUp) {
    for (const auto& row : kSizes) {
        Open(L"audio/audio.xml", BuiltSkinFolder(), row.size);
        EXPECT_EQ(BarText(Find(L"audio_play_ctrl"), L"audio_play_slider"), row.pszAudio) << row.size.cx;
        Close();
    }
}

TEST_F(VideoBarTest, ThumbsAndChapterDotsScaleWithTheRestOfTheSkin) {
    std::string strSizes;
    for (int nDpi : {96, 144}) {
        UiLib::CDPI::SetMainMonitorDPIOverride(nDpi);
        Open(L"video/video.xml");
        auto* pSlider = static_cast<UiLib::QelSliderUI*>(Find(L"video_play_slider"));
        pSlider->SetMaxValue(100);
        pSlider->SetVideoDots(std::vector<UiLib::_QelVideoDotsData>(1));
        strSizes += SizeText(pSlider->GetThumbRect()) + " " +
                    SizeText(static_cast<UiLib::CSliderUI*>(Find(L"video_volume_slider"))->GetThumbRect()) + " " +
                    SizeText(pSlider->GetVideoDots()[0].rcDot) + " | ";
        Close();
    }
    EXPECT_EQ(strSizes, "14x14 14x14 12x12 | 21x21 21x21 18x18 | ");
}

}  // namespace
