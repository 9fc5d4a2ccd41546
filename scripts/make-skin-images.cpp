// Draws the images of the sample skins: button glyphs in three states, slider parts,
// video dots, the control bar and the audio background. Every picture is a union of
// simple shapes sampled 8 x 8 times per pixel, so edges come out smooth without any
// drawing library. Writes 8-bit RGBA PNGs through zlib.
//
// Usage: make-skin-images OUTPUT_SKINS_FOLDER
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace {

struct Colour {
    double r, g, b, a;  // 0..1, straight alpha
};

constexpr Colour Hex(uint32_t argb) {
    return {((argb >> 16) & 0xFF) / 255.0, ((argb >> 8) & 0xFF) / 255.0, (argb & 0xFF) / 255.0,
            ((argb >> 24) & 0xFF) / 255.0};
}

// The palette of the skins: light glyphs on a dark bar, one blue accent.
constexpr Colour kGlyph = Hex(0xFFD5D9DF);
constexpr Colour kGlyphHot = Hex(0xFFFFFFFF);
constexpr Colour kAccent = Hex(0xFF4FB3FF);
constexpr Colour kHotPlate = Hex(0x26FFFFFF);
constexpr Colour kPushedPlate = Hex(0x14FFFFFF);

// A shape answers whether a point (in pixels, y down) lies inside it.
using Shape = std::function<bool(double, double)>;

class Canvas {
public:
    Canvas(int w, int h) : m_nW(w), m_nH(h), m_vecPx(static_cast<size_t>(w) * h, Colour{0, 0, 0, 0}) {}

    int Width() const { return m_nW; }
    int Height() const { return m_nH; }

    // Paints `colour` over the canvas where `shape` covers it, weighted by coverage.
    void Fill(const Shape& shape, Colour colour) {
        constexpr int kSub = 8;
        for (int y = 0; y < m_nH; ++y) {
            for (int x = 0; x < m_nW; ++x) {
                int nIn = 0;
                for (int sy = 0; sy < kSub; ++sy)
                    for (int sx = 0; sx < kSub; ++sx)
                        if (shape(x + (sx + 0.5) / kSub, y + (sy + 0.5) / kSub)) ++nIn;
                if (nIn) Blend(x, y, colour, static_cast<double>(nIn) / (kSub * kSub));
            }
        }
    }

    // Per-pixel colour from a function of the pixel's centre, painted over the canvas.
    void Shade(const std::function<Colour(double, double)>& fn) {
        for (int y = 0; y < m_nH; ++y)
            for (int x = 0; x < m_nW; ++x) Blend(x, y, fn(x + 0.5, y + 0.5), 1.0);
    }

    bool WritePng(const std::string& strPath) const;

private:
    void Blend(int x, int y, Colour src, double coverage) {
        Colour& dst = m_vecPx[static_cast<size_t>(y) * m_nW + x];
        const double sa = src.a * coverage;
        const double oa = sa + dst.a * (1 - sa);
        if (oa <= 0) return;
        dst.r = (src.r * sa + dst.r * dst.a * (1 - sa)) / oa;
        dst.g = (src.g * sa + dst.g * dst.a * (1 - sa)) / oa;
        dst.b = (src.b * sa + dst.b * dst.a * (1 - sa)) / oa;
        dst.a = oa;
    }

    int m_nW;
    int m_nH;
    std::vector<Colour> m_vecPx;
};

void PutBE32(std::vector<unsigned char>& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<unsigned char>(v >> shift));
}

void PutChunk(std::vector<unsigned char>& out, const char* type, const std::vector<unsigned char>& data) {
    PutBE32(out, static_cast<uint32_t>(data.size()));
    const size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    const uLong crc = crc32(0L, out.data() + start, static_cast<uInt>(out.size() - start));
    PutBE32(out, static_cast<uint32_t>(crc));
}

bool Canvas::WritePng(const std::string& strPath) const {
    std::vector<unsigned char> raw;
    raw.reserve(static_cast<size_t>(m_nH) * (1 + 4 * m_nW));
    auto to8 = [](double v) { return static_cast<unsigned char>(std::lround(std::clamp(v, 0.0, 1.0) * 255)); };
    for (int y = 0; y < m_nH; ++y) {
        raw.push_back(0);  // filter: none
        for (int x = 0; x < m_nW; ++x) {
            const Colour& c = m_vecPx[static_cast<size_t>(y) * m_nW + x];
            const bool bClear = to8(c.a) == 0;  // fully transparent pixels are stored as 0,0,0,0
            raw.push_back(bClear ? 0 : to8(c.r));
            raw.push_back(bClear ? 0 : to8(c.g));
            raw.push_back(bClear ? 0 : to8(c.b));
            raw.push_back(to8(c.a));
        }
    }
    uLongf packedSize = compressBound(static_cast<uLong>(raw.size()));
    std::vector<unsigned char> packed(packedSize);
    if (compress2(packed.data(), &packedSize, raw.data(), static_cast<uLong>(raw.size()), 9) != Z_OK) return false;
    packed.resize(packedSize);

    std::vector<unsigned char> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<unsigned char> ihdr;
    PutBE32(ihdr, static_cast<uint32_t>(m_nW));
    PutBE32(ihdr, static_cast<uint32_t>(m_nH));
    ihdr.insert(ihdr.end(), {8, 6, 0, 0, 0});  // 8 bits, RGBA, deflate, no filter, no interlace
    PutChunk(png, "IHDR", ihdr);
    PutChunk(png, "IDAT", packed);
    PutChunk(png, "IEND", {});

    // Written beside the target first, so a failed run never leaves half a file in place.
    const std::string strTmp = strPath + ".tmp";
    FILE* f = std::fopen(strTmp.c_str(), "wb");
    if (!f) return false;
    const bool bOk = std::fwrite(png.data(), 1, png.size(), f) == png.size();
    if (std::fclose(f) != 0 || !bOk) {
        std::remove(strTmp.c_str());
        return false;
    }
    return std::rename(strTmp.c_str(), strPath.c_str()) == 0;
}

// ---- shapes --------------------------------------------------------------------------

Shape Union(std::vector<Shape> parts) {
    return [parts](double x, double y) {
        return std::any_of(parts.begin(), parts.end(), [&](const Shape& s) { return s(x, y); });
    };
}

Shape RoundRect(double l, double t, double r, double b, double radius) {
    return [=](double x, double y) {
        if (x < l || x > r || y < t || y > b) return false;
        const double cx = std::clamp(x, l + radius, r - radius);
        const double cy = std::clamp(y, t + radius, b - radius);
        return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= radius * radius;
    };
}

Shape Rect(double l, double t, double r, double b) { return RoundRect(l, t, r, b, 0); }

Shape Circle(double cx, double cy, double radius) {
    return [=](double x, double y) { return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= radius * radius; };
}

// Part of a ring within `halfAngle` degrees either side of the +x direction.
Shape Arc(double cx, double cy, double r0, double r1, double halfAngle) {
    const double limit = halfAngle * M_PI / 180;
    return [=](double x, double y) {
        const double d2 = (x - cx) * (x - cx) + (y - cy) * (y - cy);
        return d2 >= r0 * r0 && d2 <= r1 * r1 && std::fabs(std::atan2(y - cy, x - cx)) <= limit;
    };
}

// A stroke with round caps.
Shape Line(double x0, double y0, double x1, double y1, double width) {
    return [=](double x, double y) {
        const double dx = x1 - x0, dy = y1 - y0;
        const double t = std::clamp(((x - x0) * dx + (y - y0) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
        const double px = x0 + t * dx - x, py = y0 + t * dy - y;
        return px * px + py * py <= width * width / 4;
    };
}

// A convex polygon with its corners in either winding order.
Shape Polygon(std::vector<std::pair<double, double>> pts) {
    return [pts](double x, double y) {
        int nSign = 0;
        for (size_t i = 0; i < pts.size(); ++i) {
            const auto& a = pts[i];
            const auto& b = pts[(i + 1) % pts.size()];
            const double cross = (b.first - a.first) * (y - a.second) - (b.second - a.second) * (x - a.first);
            const int s = cross > 0 ? 1 : (cross < 0 ? -1 : 0);
            if (s == 0) continue;
            if (nSign == 0) nSign = s;
            else if (s != nSign) return false;
        }
        return true;
    };
}

Shape Ellipse(double cx, double cy, double rx, double ry, double degrees) {
    const double c = std::cos(degrees * M_PI / 180), s = std::sin(degrees * M_PI / 180);
    return [=](double x, double y) {
        const double u = (x - cx) * c + (y - cy) * s, v = -(x - cx) * s + (y - cy) * c;
        return (u * u) / (rx * rx) + (v * v) / (ry * ry) <= 1;
    };
}

// ---- glyphs on a 32 x 32 button (the close glyph on 20 x 20) ----------------------------

Shape Speaker() {
    return Union({RoundRect(6, 12.5, 11, 19.5, 1), Polygon({{10, 12.5}, {16, 7.5}, {16, 24.5}, {10, 19.5}})});
}

Shape Corner(double x, double y, double dx, double dy) {
    // An L of two 2-pixel strokes from (x, y), reaching 6 pixels along dx and along dy.
    const double xe = x + 6 * dx, ye = y + 6 * dy;
    return Union({Rect(std::min(x, xe), std::min(y, y + 2 * dy), std::max(x, xe), std::max(y, y + 2 * dy)),
                  Rect(std::min(x, x + 2 * dx), std::min(y, ye), std::max(x, x + 2 * dx), std::max(y, ye))});
}

struct Glyph {
    const char* name;
    int size;
    Shape shape;
};

std::vector<Glyph> Glyphs() {
    return {
        {"play", 32, Polygon({{11.5, 8}, {11.5, 24}, {24.5, 16}})},
        {"pause", 32, Union({RoundRect(10, 8.5, 14, 23.5, 1), RoundRect(18, 8.5, 22, 23.5, 1)})},
        {"stop", 32, RoundRect(10, 10, 22, 22, 2)},
        {"backward", 32, Union({Polygon({{16, 9.5}, {16, 22.5}, {8, 16}}), Polygon({{24.5, 9.5}, {24.5, 22.5}, {16.5, 16}})})},
        {"forward", 32, Union({Polygon({{16, 9.5}, {16, 22.5}, {24, 16}}), Polygon({{7.5, 9.5}, {7.5, 22.5}, {15.5, 16}})})},
        {"mute", 32, Union({Speaker(), Arc(16, 16, 3.5, 5.5, 50), Arc(16, 16, 7.5, 9.5, 50)})},
        {"muted", 32, Union({Speaker(), Line(19.5, 12.5, 25.5, 19.5, 2.2), Line(25.5, 12.5, 19.5, 19.5, 2.2)})},
        {"full", 32, Union({Corner(8, 8, 1, 1), Corner(24, 8, -1, 1), Corner(8, 24, 1, -1), Corner(24, 24, -1, -1)})},
        {"exitfull", 32,
         Union({Corner(14, 14, -1, -1), Corner(18, 14, 1, -1), Corner(14, 18, -1, 1), Corner(18, 18, 1, 1)})},
        {"close", 20, Union({Line(6, 6, 14, 14, 2), Line(14, 6, 6, 14, 2)})},
    };
}

bool WriteButton(const std::string& strDir, const Glyph& g) {
    const double inset = g.size >= 32 ? 2 : 1;
    const double radius = g.size >= 32 ? 6 : 4;
    const Shape plate = RoundRect(inset, inset, g.size - inset, g.size - inset, radius);
    bool bOk = true;

    Canvas normal(g.size, g.size);
    normal.Fill(g.shape, kGlyph);
    bOk &= normal.WritePng(strDir + "/" + g.name + ".png");

    Canvas hot(g.size, g.size);
    hot.Fill(plate, kHotPlate);
    hot.Fill(g.shape, kGlyphHot);
    bOk &= hot.WritePng(strDir + "/" + g.name + "_hot.png");

    Canvas pushed(g.size, g.size);
    pushed.Fill(plate, kPushedPlate);
    pushed.Fill(g.shape, kAccent);
    bOk &= pushed.WritePng(strDir + "/" + g.name + "_pushed.png");
    return bOk;
}

// ---- slider parts, dots, bar, backgrounds ---------------------------------------------

bool WriteSliderParts(const std::string& strDir) {
    bool bOk = true;
    // Track and fill: a 4-pixel rounded bar across a 16 x 16 tile; skins stretch the
    // middle and keep 3-pixel ends (corner='3,0,3,0').
    Canvas track(16, 16);
    track.Fill(RoundRect(0, 6, 16, 10, 2), Hex(0xFF4A4F57));
    bOk &= track.WritePng(strDir + "/track.png");
    Canvas fill(16, 16);
    fill.Fill(RoundRect(0, 6, 16, 10, 2), kAccent);
    bOk &= fill.WritePng(strDir + "/fill.png");

    // Thumb, 14 x 14: a light disc with a soft shadow; hot adds an accent ring; pushed
    // is an accent disc.
    Canvas thumb(14, 14);
    thumb.Fill(Circle(7, 7.5, 6.8), Hex(0x59000000));
    thumb.Fill(Circle(7, 7, 5.8), Hex(0xFFF2F4F7));
    bOk &= thumb.WritePng(strDir + "/thumb.png");
    Canvas thumbHot(14, 14);
    thumbHot.Fill(Circle(7, 7, 6.8), kAccent);
    thumbHot.Fill(Circle(7, 7, 4.6), Hex(0xFFFFFFFF));
    bOk &= thumbHot.WritePng(strDir + "/thumb_hot.png");
    Canvas thumbPushed(14, 14);
    thumbPushed.Fill(Circle(7, 7, 6.8), kAccent);
    thumbPushed.Fill(Circle(7, 7, 2.4), Hex(0xFFFFFFFF));
    bOk &= thumbPushed.WritePng(strDir + "/thumb_pushed.png");
    return bOk;
}

bool WriteDots(const std::string& strDir) {
    // The slider paints the hot image first and the normal dot over it, in the same
    // 12 x 12 rectangle: the normal dot is small, the hot image a halo around it.
    Canvas dot(12, 12);
    dot.Fill(Circle(6, 6, 4.6), Hex(0xFF1B1D21));
    dot.Fill(Circle(6, 6, 3.4), Hex(0xFFFFC640));
    Canvas hot(12, 12);
    hot.Fill(Circle(6, 6, 6), Hex(0x80FFC640));
    return dot.WritePng(strDir + "/dot.png") && hot.WritePng(strDir + "/dot_hot.png");
}

Colour Mix(Colour a, Colour b, double t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t, a.a + (b.a - a.a) * t};
}

bool WriteBar(const std::string& strDir) {
    // The control bar, 4 x 48, stretched sideways: a gentle top-to-bottom gradient under
    // a one-pixel highlight.
    Canvas bar(4, 48);
    bar.Shade([](double, double y) { return Mix(Hex(0xFF2B2E34), Hex(0xFF1A1C20), y / 48); });
    bar.Fill(Rect(0, 0, 4, 1), Hex(0xFF3C4048));
    return bar.WritePng(strDir + "/bar.png");
}

bool WriteAudioBackground(const std::string& strDir) {
    // The picture area of the audio player until the host sets its own: a dark diagonal
    // gradient with two beamed notes in the middle.
    const int w = 440, h = 176;
    Canvas bk(w, h);
    bk.Shade([&](double x, double y) {
        const double t = std::clamp((x / w) * 0.6 + (y / h) * 0.4, 0.0, 1.0);
        return Mix(Hex(0xFF24324A), Hex(0xFF121419), t);
    });
    const double cx = w / 2.0, cy = h / 2.0;
    const Shape notes = Union({
        Ellipse(cx - 22, cy + 26, 11, 8, -22), Ellipse(cx + 24, cy + 18, 11, 8, -22),
        Rect(cx - 14.5, cy - 26, cx - 10.5, cy + 24), Rect(cx + 31.5, cy - 34, cx + 35.5, cy + 16),
        Polygon({{cx - 14.5, cy - 26}, {cx + 35.5, cy - 34}, {cx + 35.5, cy - 24}, {cx - 14.5, cy - 16}}),
    });
    bk.Fill(notes, Hex(0x40FFFFFF));
    return bk.WritePng(strDir + "/bk.png");
}

bool WriteThumbPanel(const std::string& strDir) {
    // The picture placeholder of the dot pop-up: a frame with a small landscape in it.
    const int w = 64, h = 40;
    Canvas pic(w, h);
    pic.Fill(RoundRect(0, 0, w, h, 3), Hex(0xFF2E3440));
    pic.Fill(Polygon({{6, 34}, {24, 14}, {40, 34}}), Hex(0xFF5A6577));
    pic.Fill(Polygon({{28, 34}, {42, 20}, {58, 34}}), Hex(0xFF717D91));
    pic.Fill(Circle(48, 11, 4), Hex(0xFFFFC640));
    return pic.WritePng(strDir + "/preview.png");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s SKINS_FOLDER\n", argv[0]);
        return 2;
    }
    const std::string strRoot = argv[1];
    const std::string strCommon = strRoot + "/common";
    const std::string strVideo = strRoot + "/video";
    const std::string strAudio = strRoot + "/audio";

    bool bOk = true;
    for (const Glyph& g : Glyphs()) bOk &= WriteButton(strCommon, g);
    bOk &= WriteSliderParts(strCommon);
    bOk &= WriteBar(strCommon);
    bOk &= WriteDots(strVideo);
    bOk &= WriteThumbPanel(strVideo);
    bOk &= WriteAudioBackground(strAudio);
    if (!bOk) {
        std::fprintf(stderr, "make-skin-images: could not write every image under %s\n", strRoot.c_str());
        return 1;
    }
    return 0;
}
