#include "Support/GuardedPicture.h"
#include "Support/SimdLevel.h"
#include "Video/ZFrameWriter.h"
#include "ZChromaKey/Engine2/UnmixScenes.h"

#include <gtest/gtest.h>

#include <numeric>

namespace
{

// What a level has to key like the plain one, over two pictures each.
struct LEVEL_CASE
{
    const char* szName;
    uint32_t fccType;
    int eInterlace;
    bool bWords;
    UNMIX_SETUP setup;
};

UNMIX_SETUP TwoKeys()
{
    UNMIX_SETUP setup = GreenSetup();
    setup.nKeys = 2;
    setup.arrKeys[1] = setup.arrKeys[0];
    setup.arrKeys[1].arrBGR[1] *= .85f;
    setup.arrKeys[1].fltSolidHue = 30;
    setup.nProtected = 1;
    setup.arrProtected[0] = {{c_colCoat.b, c_colCoat.g, c_colCoat.r}};
    return setup;
}

UNMIX_SETUP Linear()
{
    UNMIX_SETUP setup;
    setup.params.eLight = eUL_Linear;
    setup.params.fltShadows = 50;
    return setup;
}

std::vector<LEVEL_CASE> Cases()
{
    return {{"bytes", eZFCC_ARGB32, eZI_Progressive, false, {}},
            {"two keys, a protected colour", eZFCC_RGB32, eZI_TopFirst, false, TwoKeys()},
            {"linear light, shadows", eZFCC_ARGB32, eZI_Progressive, true, Linear()},
            {"shared chroma", eZFCC_UYVY, eZI_Progressive, false, {}},
            {"ten bits", eZFCC_r210, eZI_Progressive, true, {}},
            {"ten bits to bytes", eZFCC_r210, eZI_Progressive, false, GreenSetup()}};
}

// Regions with all kinds of bytes, in part of the picture.
std::vector<uint8_t> Ramp(int _nWidth, int _nHeight, int _nFirst)
{
    std::vector<uint8_t> vecBytes(static_cast<size_t>(_nWidth) * _nHeight);
    std::iota(vecBytes.begin() + static_cast<ptrdiff_t>(vecBytes.size()) / 2, vecBytes.end(),
              static_cast<uint8_t>(_nFirst));
    return vecBytes;
}

struct LEVEL_RESULT
{
    UNMIX_STATE state;
    std::vector<uint8_t> vecBytes;
};

void KeyAt(const UNMIX_KERNELS& _kernels, const LEVEL_CASE& _case, int _nWidth, int _nHeight, LEVEL_RESULT* _pResult)
{
    const std::vector<uint8_t> vecGarbage = Ramp(_nWidth, _nHeight, 0), vecHoldOut = Ramp(_nWidth, _nHeight, 100);
    UNMIX_SETUP setup = _case.setup;
    setup.garbage = {vecGarbage.data(), _nWidth};
    setup.holdOut = {vecHoldOut.data(), _nWidth};
    _pResult->state.pKernels = &_kernels;
    CSerialRunner runner;
    for (uint32_t n = 0; n < 2; ++n)
    {
        const SCENE scene = BodyScene(_nWidth, _nHeight, 6, n, .03f * static_cast<float>(n));
        GUARDED_PICTURE picture(Props(_case.fccType, _nWidth, -_nHeight, _case.eInterlace), 0, eZGuard_PageEnd);
        ASSERT_EQ(S_OK, ZFrameWriter_Write(picture.vidProps, picture.vidPtr, scene.vecBGRA.data(), 4 * _nWidth));
        CGuardedPlane out(static_cast<size_t>(_case.bWords ? 8 : 4) * _nWidth, _nHeight, 0, eZGuard_PageEnd);
        const UNMIX_RESULT result = {out.Row(0), out.Row(1) - out.Row(0), _case.bWords};
        ASSERT_TRUE(SUCCEEDED(Unmix_Frame(_pResult->state, setup, {picture.vidProps, picture.vidPtr}, result, runner)));
        ASSERT_TRUE(out.Intact());
        _pResult->vecBytes.insert(_pResult->vecBytes.end(), out.Row(0), out.Row(0) + out.Span());
    }
}

class UnmixLevels : public CSimdLevelTest
{
protected:
    void SetUp() override
    {
        CSimdLevelTest::SetUp();
        UnmixKernels_Init(&m_plain, eSIMD_None);
        UnmixKernels_Init(&m_level, GetParam());
    }
    UNMIX_KERNELS m_plain;
    UNMIX_KERNELS m_level;
};

TEST_P(UnmixLevels, KeyLikeThePlainOne)
{
    for (const LEVEL_CASE& levelCase : Cases())
        for (int nWidth = 2; nWidth <= 200; nWidth += nWidth < 76 ? 1 : 5)
        {
            SCOPED_TRACE(testing::Message() << levelCase.szName << ", " << nWidth << " wide");
            const int nHeight = 9 + nWidth * 7 % 20;
            LEVEL_RESULT one, other;
            KeyAt(m_plain, levelCase, nWidth, nHeight, &one);
            KeyAt(m_level, levelCase, nWidth, nHeight, &other);
            ASSERT_TRUE(one.vecBytes == other.vecBytes);
            ASSERT_TRUE(UnmixState_Same(one.state, other.state));
        }
}

TEST_P(UnmixLevels, TakeMasksFromTheAlpha)
{
    for (int nPixels = 1; nPixels <= 200; ++nPixels)
    {
        CGuardedPlane pixels(static_cast<size_t>(4) * nPixels, 1, 0, eZGuard_PageEnd);
        CGuardedPlane mask(static_cast<size_t>(nPixels), 1, 0, eZGuard_PageEnd);
        pixels.FillRandom(static_cast<uint32_t>(nPixels));
        m_level.pfnMask({pixels.Row(0), mask.Row(0), nPixels, 0});
        for (int n = 0; n < nPixels; ++n)
            ASSERT_EQ(mask.Row(0)[n], pixels.Row(0)[4 * n + 3]) << nPixels;
        ASSERT_TRUE(mask.Intact());
    }
}
Z_INSTANTIATE_LEVELS(UnmixLevels);

} // namespace
