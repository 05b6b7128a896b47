#include "Image/ImgColor.h"
#include "Support/GuardedPicture.h"
#include "Support/SimdLevel.h"
#include "ZChromaKey/Engine1/RandomInput.h"
#include "ZChromaKey/Engine2/Chroma.h"
#include "ZChromaKey/Engine2/Kernels/x86/ChromaKernels_x86.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
class ChromaLevels : public CSimdLevelTest
{
};

// A plate of two keys with noise, and cells of all classes, in runs and alone.
UNMIX_STATE RandomState(int _nWidth, int _nHeight, CRandom& _rnd)
{
    UNMIX_STATE state;
    UnmixState_Resize(state, _nWidth, _nHeight, 1);
    state.nKeys = 2;
    state.arrKeys[1].fltWedge = 2;
    for (VEC4& plate : state.vecPlate)
        plate = {static_cast<float>(30 + _rnd() % 40), static_cast<float>(140 + _rnd() % 40),
                 static_cast<float>(40 + _rnd() % 40), 8};
    for (uint8_t& nOwner : state.vecOwner)
        nOwner = _rnd() % 2;
    FIELD_STATE& field = state.arrFields[0];
    const uint32_t nRare = 2 + _rnd() % 30;
    for (int y = 0; y < field.cells.nHeight; ++y)
        for (int x = 0; x < field.cells.nWidth; ++x)
        {
            field.bitsMixed.Set(x, y, _rnd() % nRare == 0 || (x > 0 && field.bitsMixed.Get(x - 1, y) && _rnd() % 4));
            field.bitsSolid.Set(x, y, _rnd() % 3 == 0);
        }
    for (int x = 60; x < 68 && field.cells.nWidth > 68; ++x) // alone to both sides of where words of bits meet
        for (int y = 0; y < 8; ++y)
            field.bitsMixed.Set(x, y, (x == 63 && y == 1) || (x == 64 && y == 5));
    return state;
}

constexpr float c_fltPixelGain = .4f;

// Of RGB32: pixels whose chroma 2x2 have shared, made smooth; of ARGB32: two of a row, repeated.
UNMIX_SAMPLES SamplesOf(const GUARDED_PICTURE& _picture)
{
    const bool bSmooth = _picture.vidProps.fccType == eZFCC_RGB32;
    if (!bSmooth && _picture.vidProps.fccType != eZFCC_ARGB32)
        return Chroma_Samples(_picture.vidProps, _picture.vidPtr, eZYM_709);
    UNMIX_PICTURE picture;
    picture.pRow0 = Img_RowOf(_picture.vidPtr, 0, 0);
    picture.nStride = _picture.vidPtr.cbVideoRowBytes[0];
    picture.nWidth = _picture.vidProps.nWidth;
    picture.nHeight = std::abs(_picture.vidProps.nHeight);
    return Chroma_PixelSamples(picture, bSmooth, bSmooth, c_fltPixelGain);
}

CHROMA_JOB Job(const UNMIX_STATE& _state, const GUARDED_PICTURE& _picture, CGuardedPlane& _out)
{
    const UNMIX_SAMPLES samples = SamplesOf(_picture);
    auto* const pDeep0 = reinterpret_cast<uint16_t*>(_out.Row(0));
    return Chroma_Job(_state, _state.arrFields[0], samples, pDeep0, _out.Stride() / 2);
}

// What the formula says of a pixel, in double precision and without any strips.
class CReference
{
public:
    CReference(const UNMIX_STATE& _state, const GUARDED_PICTURE& _picture)
        : m_state(_state)
        , m_picture(_picture)
        , m_nWidth(_picture.vidProps.nWidth)
        , m_nHeight(std::abs(_picture.vidProps.nHeight))
        , m_bSmooth(_picture.vidProps.fccType == eZFCC_RGB32)
        , m_bPixels(m_bSmooth || _picture.vidProps.fccType == eZFCC_ARGB32)
        , m_kb(m_bPixels ? 1183 / 16384.0 : .0722)
        , m_kr(m_bPixels ? 3483 / 16384.0 : .2126)
        , m_nDiv(m_bSmooth   ? 2
                 : m_bPixels ? 1
                             : FCC_Subsampling(_picture.vidProps.fccType, 1).cy)
        , m_nBytes(FCC_SampleBytes(_picture.vidProps.fccType))
        , m_nChromaWidth(m_nDiv == 2 && !m_bPixels ? _picture.vidPtr.szVideoPlanes[1].cx / m_nBytes
                                                   : (m_nWidth + 1) / 2)
        , m_nChromaHeight(m_bPixels     ? (m_nHeight + m_nDiv - 1) / m_nDiv
                          : m_nDiv == 2 ? _picture.vidPtr.szVideoPlanes[1].cy
                                        : m_nHeight)
    {
    }
    // Blue, green and red in 64ths.
    std::array<double, 3> Pixel(int _nX, int _nY) const
    {
        LUV mean, factor;
        for (int y = 0; y < m_nDiv; ++y)
            for (int x = 0; x < 2; ++x)
            {
                const int i = _nX / 2 + x * (_nX % 2 * 2 - 1), j = _nY / m_nDiv + y * (_nY % 2 * 2 - 1);
                const double dbl = (x ? .25 : .75) * (m_nDiv == 1 ? 1 : y ? .25 : .75);
                mean = mean + Sample(i, j) * dbl;
                factor = factor + Factor(i, j) * dbl;
            }
        const double l = Luma(_nX, _nY);
        const LUV base = m_bSmooth ? OfPixel(_nX, _nY) : mean;
        const double dblDetail = (l - mean.l) * (m_bPixels ? c_fltPixelGain : 1);
        const double u = base.u + factor.u * dblDetail, v = base.v + factor.v * dblDetail;
        const double g = l - (m_kb * u + m_kr * v) / (1 - m_kb - m_kr);
        return {64 * std::clamp(l + u, 0.0, 255.0), 64 * std::clamp(g, 0.0, 255.0), 64 * std::clamp(l + v, 0.0, 255.0)};
    }

private:
    struct LUV
    {
        double l = 0, u = 0, v = 0;
        LUV operator+(const LUV& _b) const
        {
            return {l + _b.l, u + _b.u, v + _b.v};
        }
        LUV operator*(double _dbl) const
        {
            return {l * _dbl, u * _dbl, v * _dbl};
        }
    };
    // Number n of v210's row, or of the bytes of others, in 8-bit levels.
    double Number(int _nPlane, int _nRow, int _n) const
    {
        if (m_nBytes == 2) // U and V in turn
        {
            const int nByte = 2 * (_nPlane == 0 ? _n : 2 * _n + _nPlane - 1);
            const int nPlane = std::min(_nPlane, 1);
            return (m_picture.Byte(nPlane, _nRow, nByte) >> 6) / 4.0 + m_picture.Byte(nPlane, _nRow, nByte + 1);
        }
        if (m_picture.vidProps.fccType != eZFCC_v210)
            return m_picture.Byte(_nPlane, _nRow, _n);
        uint32_t nWord = 0;
        for (int n = 0; n < 4; ++n)
            nWord |= static_cast<uint32_t>(m_picture.Byte(0, _nRow, _n / 3 * 4 + n)) << 8 * n;
        return (nWord >> 10 * (_n % 3) & 1023) / 4.0;
    }
    LUV OfPixel(int _nX, int _nY) const
    {
        const int x = std::clamp(_nX, 0, m_nWidth - 1), y = std::clamp(_nY, 0, m_nHeight - 1);
        const double l = Luma(x, y);
        return {l, Number(0, y, 4 * x) - l, Number(0, y, 4 * x + 2) - l};
    }
    double Luma(int _nX, int _nY) const
    {
        if (m_bPixels)
        {
            const int x = std::clamp(_nX, 0, m_nWidth - 1), y = std::clamp(_nY, 0, m_nHeight - 1);
            return m_kb * Number(0, y, 4 * x) + (1 - m_kb - m_kr) * Number(0, y, 4 * x + 1) +
                   m_kr * Number(0, y, 4 * x + 2);
        }
        const int x = std::clamp(_nX, 0, m_nWidth - 1), y = std::clamp(_nY, 0, m_nHeight - 1);
        return (Number(0, y, m_nDiv == 2 ? x : 2 * x + 1) - 16) * 255 / 219;
    }
    LUV Sample(int _nI, int _nJ) const
    {
        const int i = std::clamp(_nI, 0, m_nChromaWidth - 1), j = std::clamp(_nJ, 0, m_nChromaHeight - 1);
        LUV luv;
        for (int n = 0; n < 2 * m_nDiv; ++n)
            luv.l += Luma(2 * _nI + n % 2, _nJ * m_nDiv + n / 2) / (2 * m_nDiv);
        if (m_bPixels)
        {
            for (int n = 0; n < 2 * m_nDiv; ++n)
            {
                const LUV pixel = OfPixel(2 * i + n % 2, j * m_nDiv + n / 2);
                luv.u += pixel.u / (2 * m_nDiv);
                luv.v += pixel.v / (2 * m_nDiv);
            }
            return luv;
        }
        luv.u = ((m_nDiv == 2 ? Number(1, j, i) : Number(0, j, 4 * i)) - 128) * 2 * (1 - m_kb) * 255 / 224;
        luv.v = ((m_nDiv == 2 ? Number(2, j, i) : Number(0, j, 4 * i + 2)) - 128) * 2 * (1 - m_kr) * 255 / 224;
        return luv;
    }
    LUV Plate(int _nX, int _nY) const
    {
        const VEC4 p = m_state.Plate(std::clamp(_nX, 0, m_state.nPlateWidth - 1), _nY);
        const double l = m_kb * p.b + (1 - m_kb - m_kr) * p.g + m_kr * p.r;
        return {l, p.b - l, p.r - l};
    }
    double Wedge(int _nX, int _nY) const
    {
        const int x = std::clamp(_nX, 0, m_state.nPlateWidth - 1);
        return m_state.arrKeys[m_state.vecOwner[static_cast<size_t>(_nY) * m_state.nPlateWidth + x]].fltWedge;
    }
    LUV Factor(int _nI, int _nJ) const
    {
        LUV y, yy;
        double dblAlpha = 0, u = 0, v = 0;
        for (int n = 0; n < 9; ++n)
        {
            const int i = _nI + n % 3 - 1, j = _nJ + n / 3 - 1;
            const double dblWeight = (n % 3 == 1 ? .5 : .25) * (n / 3 == 1 ? .5 : .25);
            const int x0 = (i + 2) / 4 - 1, x1 = x0 + 1; // the middle of cell x is between columns 4 x + 1 and 4 x + 2
            const double fx = (i - 1.5) / 4 - x0;
            const double yAt = std::clamp((j + .5) * m_nDiv / 8 - .5, 0.0, m_state.nPlateHeight - 1.0);
            const int y0 = static_cast<int>(yAt), y1 = std::min(y0 + 1, m_state.nPlateHeight - 1);
            const int yNear = yAt - y0 < .5 ? y0 : y1;
            const LUV above = Plate(x0, y0) * (1 - fx) + Plate(x1, y0) * fx;
            const LUV below = Plate(x0, y1) * (1 - fx) + Plate(x1, y1) * fx;
            const LUV plate = above * (1 - (yAt - y0)) + below * (yAt - y0);
            const double dblWedge = Wedge(x0, yNear) * (1 - fx) + Wedge(x1, yNear) * fx;
            const LUV sample = Sample(i, j), off = sample + plate * -1;
            const double dblTint = std::max(plate.u * plate.u + plate.v * plate.v, 225.0);
            const double dblAlong = sample.u * plate.u + sample.v * plate.v;
            const double dblAcross = std::abs(sample.u * plate.v - sample.v * plate.u) * .7 * dblWedge;
            dblAlpha += dblWeight * std::clamp(1 - (dblAlong - dblAcross) / dblTint, 0.0, 1.0);
            y = y + LUV{off.l, 0, 0} * dblWeight;
            u += dblWeight * off.u;
            v += dblWeight * off.v;
            yy = yy + off * (off.l * dblWeight);
        }
        const double k = std::min(2 * dblAlpha, 1.0);
        const double dblVariance = std::max(yy.l - k * y.l * y.l, 0.0) + 60;
        return {0, std::clamp((yy.u - k * y.l * u) / dblVariance, -3.0, 3.0),
                std::clamp((yy.v - k * y.l * v) / dblVariance, -3.0, 3.0)};
    }

    const UNMIX_STATE& m_state;
    const GUARDED_PICTURE& m_picture;
    int m_nWidth;
    int m_nHeight;
    bool m_bSmooth; // their own chroma stays
    bool m_bPixels; // B, G, R, A, not samples of planes
    double m_kb;    // weights in luma
    double m_kr;
    int m_nDiv;
    int m_nBytes; // of a sample
    int m_nChromaWidth;
    int m_nChromaHeight;
};

TEST_P(ChromaLevels, GiveThePlainBytesInAnyParts)
{
    static constexpr int c_arrSizes[][2] = {{1, 1}, {2, 2}, {7, 5}, {19, 34}, {66, 17}, {143, 30}, {331, 50}};
    static constexpr uint32_t c_arrFormats[] = {eZFCC_UYVY, eZFCC_YUY2,  eZFCC_YVYU,  eZFCC_I420, eZFCC_YV12,
                                                eZFCC_NV12, eZFCC_I422,  eZFCC_v210,  eZFCC_r210, eZFCC_P010,
                                                eZFCC_P210, eZFCC_RGB32, eZFCC_ARGB32};
    CHROMA_KERNELS kernels;
    ChromaKernels_Init(&kernels, GetParam());
    CRandom rnd(1);
    for (const uint32_t fccType : c_arrFormats)
        for (const auto& size : c_arrSizes)
            for (const eZGuard eGuard : {eZGuard_PageEnd, eZGuard_PageStart})
            {
                SCOPED_TRACE(testing::Message() << FCC_Name(fccType) << ' ' << size[0] << 'x' << size[1]);
                const UNMIX_STATE state = RandomState(size[0], size[1], rnd);
                GUARDED_PICTURE picture(Props(fccType, size[0], -size[1]), 3, eGuard);
                picture.FillRandom(rnd());
                CGuardedPlane plain(static_cast<size_t>(size[0]) * 8, size[1], 0, eGuard);
                CGuardedPlane out(static_cast<size_t>(size[0]) * 8, size[1], 0, eGuard);
                const int nRows = state.arrFields[0].cells.nHeight;
                const CHROMA_JOB job = Job(state, picture, out);
                if (job.samples.eLayout == UNMIX_SAMPLES::eNone)
                    continue; // too small to have chroma
                ChromaRebuild_C(Job(state, picture, plain), 0, nRows);
                for (int y = 0, nPart = 1; y < nRows; y += nPart, nPart = 1 + static_cast<int>(rnd() % 4))
                    kernels.pfnRebuild(job, y, std::min(nPart, nRows - y));
                EXPECT_TRUE(std::equal(out.Low(), out.Low() + out.Span(), plain.Low()));
                EXPECT_TRUE(out.Intact() && plain.Intact());
            }
}
Z_INSTANTIATE_LEVELS(ChromaLevels);

TEST(ChromaRebuild, IsWhatTheFormulaSays)
{
    for (const uint32_t fccType : {eZFCC_UYVY, eZFCC_I420, eZFCC_v210, eZFCC_P010, eZFCC_RGB32, eZFCC_ARGB32})
    {
        SCOPED_TRACE(FCC_Name(fccType));
        const int nWidth = 301, nHeight = 75; // more than a word of cells
        CRandom rnd(2);
        const UNMIX_STATE state = RandomState(nWidth, nHeight, rnd);
        GUARDED_PICTURE picture(Props(fccType, nWidth, -nHeight), 0, eZGuard_Fence);
        picture.FillRandom(3);
        CGuardedPlane out(static_cast<size_t>(nWidth) * 8, nHeight);
        const CHROMA_JOB job = Job(state, picture, out);
        ChromaRebuild_C(job, 0, state.arrFields[0].cells.nHeight);
        const CReference reference(state, picture);
        const CBitRows& bits = state.arrFields[0].bitsMixed;
        int nPixels = 0;
        for (int y = 0; y < nHeight; ++y)
            for (int x = 0; x < nWidth; ++x)
            {
                bool bNear = false;
                for (int n = 0; n < 9; ++n)
                {
                    const int i = (x + n % 3 - 1) >> 2, j = (y + n / 3 - 1) >> 2;
                    bNear |= i >= 0 && j >= 0 && i < bits.Width() && j < bits.Height() && bits.Get(i, j);
                }
                if (!bNear)
                    continue;
                ++nPixels;
                const uint16_t* const p = job.pDeep0 + y * job.nDeepStride + 4 * x;
                const std::array<double, 3> arrBGR = reference.Pixel(x, y);
                for (size_t c = 0; c < 3; ++c)
                    ASSERT_NEAR(p[c], arrBGR[c], .6) << x << ' ' << y << ' ' << c;
                ASSERT_EQ(p[3], 255 * 64);
            }
        EXPECT_GT(nPixels, 1000);
    }
}
#if defined(ZCK_X86)
// All levels give the same bytes, so no result tells an entry that another level's kernel has taken.
TEST(ChromaRebuild, EveryLevelHasItsKernel)
{
    const CHROMA_KERNELS arrExpected[] = {{ChromaRebuild_C}, {ChromaRebuild_AVX2}, {ChromaRebuild_AVX512}};
    for (const eSIMD_Level eLevel : {eSIMD_None, eSIMD_AVX2, eSIMD_AVX512})
    {
        CHROMA_KERNELS kernels;
        ChromaKernels_Init(&kernels, eLevel);
        EXPECT_EQ(kernels.pfnRebuild, arrExpected[eLevel].pfnRebuild) << ZCpu_LevelName(eLevel);
    }
}
#endif

} // namespace
