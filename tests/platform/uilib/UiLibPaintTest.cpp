// What the window shows: colours, images and their states, read back from its pixels.
#include "support/TestSkinSupport.h"

#include <gtest/gtest.h>

using namespace UiLib;
using qel::test::PrintedPixel;
using qel::test::PumpPending;
using qel::test::TempSkinFolder;
using qel::test::TestSkinHost;

namespace {

constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr COLORREF kGreen = RGB(0, 255, 0);
constexpr COLORREF kBlue = RGB(0, 0, 255);

class PaintTest : public ::testing::Test {
protected:
    void Open(const std::string& body) {
        folder.WriteSolidBitmap(L"red.bmp", 10, 10, kRed);
        folder.WriteSolidBitmap(L"img/green.bmp", 10, 10, kGreen);
        folder.WriteText(L"p.xml", "<Window size=\"200,100\">" + body + "</Window>");
        ASSERT_TRUE(host.Open(RECT{0, 0, 200, 100}));
    }
    COLORREF At(int x, int y) { return PrintedPixel(host.GetHWND(), x, y); }

    TempSkinFolder folder;
    TestSkinHost host{L"p.xml"};
};

TEST_F(PaintTest, BackgroundColoursOfNestedControls) {
    Open(R"(<HorizontalLayout bkcolor="#FF0000FF"><Control width="50" bkcolor="#FF00FF00"/><Control/></HorizontalLayout>)");
    EXPECT_EQ(At(10, 10), kGreen);
    EXPECT_EQ(At(150, 10), kBlue);
}

TEST_F(PaintTest, TheWindowItselfShowsThePaintedColour) {
    Open(R"(<Control bkcolor="#FF336699"/>)");
    UpdateWindow(host.GetHWND());
    const HDC hdc = GetDC(host.GetHWND());
    const COLORREF pixel = GetPixel(hdc, 100, 50);
    ReleaseDC(host.GetHWND(), hdc);
    EXPECT_EQ(pixel, RGB(0x33, 0x66, 0x99));
}

struct ImageCase {
    const char* label;
    const char* image;
    POINT inside;
    COLORREF insideColor;
    POINT outside;
};

void PrintTo(const ImageCase& c, std::ostream* os) { *os << c.label; }

class ImageTest : public PaintTest, public ::testing::WithParamInterface<ImageCase> {};

TEST_P(ImageTest, ImageDescriptionsPlaceTheImage) {
    const ImageCase& c = GetParam();
    Open(std::string(R"(<Control bkcolor="#FFFFFFFF" bkimage=")") + c.image + "\"/>");
    EXPECT_EQ(At(c.inside.x, c.inside.y), c.insideColor);
    if (c.outside.x >= 0) {
        EXPECT_EQ(At(c.outside.x, c.outside.y), RGB(255, 255, 255));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Images, ImageTest,
    ::testing::Values(ImageCase{"PlainFileStretchedOverTheControl", "red.bmp", {190, 90}, kRed, {-1, -1}},
                      ImageCase{"DestRectangle", "file='img/green.bmp' dest='20,30,40,50'", {30, 40}, kGreen, {50, 40}},
                      ImageCase{"SourcePart", "file='red.bmp' source='0,0,5,5' dest='0,0,5,5'", {2, 2}, kRed, {7, 7}},
                      ImageCase{"MissingFileDrawsNothing", "nothing.png", {5, 5}, RGB(255, 255, 255), {50, 50}}),
    [](const auto& info) { return std::string(info.param.label); });

TEST_F(PaintTest, ButtonImageFollowsItsState) {
    folder.WriteSolidBitmap(L"blue.bmp", 4, 4, kBlue);
    Open(R"(<HorizontalLayout><Button name="b" width="100" normalimage="red.bmp" hotimage="img/green.bmp" pushedimage="blue.bmp"/><Control/></HorizontalLayout>)");
    EXPECT_EQ(At(50, 50), kRed);
    host.Mouse(WM_MOUSEMOVE, 50, 50);
    EXPECT_EQ(At(50, 50), kGreen);
    host.Mouse(WM_LBUTTONDOWN, 50, 50, MK_LBUTTON);
    EXPECT_EQ(At(50, 50), kBlue);
    host.Mouse(WM_LBUTTONUP, 50, 50);
    host.Find<CButtonUI>(L"b")->SetEnabled(false);
    EXPECT_EQ(At(50, 50), kRed) << "without a disabled image the normal one is drawn";
}

TEST_F(PaintTest, ProgressFillsInProportionToItsValue) {
    Open(R"(<Progress name="p" bkcolor="#FFFFFFFF" foreimage="red.bmp" min="0" max="200" value="50"/>)");
    EXPECT_EQ(At(45, 50), kRed);
    EXPECT_EQ(At(55, 50), RGB(255, 255, 255));
    host.Find<CProgressUI>(L"p")->SetValue(150);
    EXPECT_EQ(At(145, 50), kRed);
    EXPECT_EQ(At(155, 50), RGB(255, 255, 255));
}

TEST_F(PaintTest, LabelTextIsDrawnInItsColour) {
    Open(R"(<Label bkcolor="#FFFFFFFF" textcolor="#FF0000FF" text="MMMMMMMM" align="center"/>)");
    int nBlue = 0;
    for (int x = 40; x < 160; ++x) nBlue += At(x, 50) == kBlue ? 1 : 0;
    EXPECT_GT(nBlue, 0);
}

}  // namespace
