#include "Interfaces/ZVideoTypes.h"
#include "Support/GuardedPlane.h"
#include "Support/ShaderTwin.h"
#include "Support/SimdLevel.h"
#include "ZChromaKey/Engine1/Kernels/ColorCancelPrepare.h"
#include "ZChromaKey/Engine1/Kernels/KeyKernels.h"
#include "ZChromaKey/Engine1/RandomInput.h"

#include <gtest/gtest.h>

#include <array>
#include <tuple>
#include <vector>

namespace
{

constexpr PAIR_LAYOUT c_layoutUYVY = {8, 24, 0, 16};
constexpr PAIR_LAYOUT c_layoutYVYU = {0, 16, 24, 8};

constexpr uint32_t c_nColour = 0x707070; // of pixels and keys, in every space

// Holds what became of a row to the formulas of the shaders. Answers how many bytes changed.
int CheckFormulas(const CHROMA_KEY_RAW& _rawKey, uint32_t _fccType, const std::vector<uint8_t>& _arrBefore,
                  const std::vector<uint8_t>& _arrAfter)
{
    const bool bRGB = _fccType == eZFCC_RGB32;
    const int nWidth = static_cast<int>(_arrBefore.size()) / (bRGB ? 4 : 2);
    auto picture = ShaderTwin::Make(_fccType, nWidth, 1);
    for (size_t n = 0; n < _arrBefore.size(); ++n)
        picture.arrBytes[n] = _arrBefore[n] / 255.0;
    CK_SETTINGS settings = {};
    Shader_FillKeys(_rawKey, nWidth, 1, false, &settings);
    const KEY_SHADER shader = {static_cast<eCK_Type>(_rawKey.eType), bRGB ? eKI_RGB : eKI_UYVY,
                               bRGB ? eKO_Picture : eKO_Packed, true};
    const ShaderTwin::PICTURE expected = ShaderTwin::Key(shader, settings, picture);
    int nChanged = 0;
    for (size_t n = 0; n < _arrBefore.size(); ++n)
    {
        // Colours that the keys leave as they are pass through Y, V, U here, but not in the shader; alpha stays here.
        const double dblExpected = bRGB && n % 4 == 3 ? _arrBefore[n] : 255 * expected.arrBytes[n];
        const bool bKept = std::abs(dblExpected - _arrBefore[n]) < 0.001;
        EXPECT_NEAR(_arrAfter[n], dblExpected, bKept && bRGB && n % 4 < 3 ? 1.01 : 0.51) << "byte " << n;
        nChanged += !bKept;
    }
    return nChanged;
}

class ColorCancel : public CSimdLevelTest
{
};

TEST_P(ColorCancel, EqualsThePlainKernelsWhichMatchTheFormulas)
{
    KEY_KERNELS kernels;
    KEY_KERNELS kernelsPlain;
    KeyKernels_Init(&kernels, GetParam());
    KeyKernels_Init(&kernelsPlain, eSIMD_None);
    const int32_t arrTypes[] = {eCKT_RGB, eCKT_HLS, eCKT_YUV};
    const eZGuard arrGuards[] = {eZGuard_Fence, eZGuard_PageEnd, eZGuard_PageStart};
    CRandom rnd(5);
    int nChanged = 0;
    ForTestWidths([&](int _nWidth) {
        for (int nRun = 0; nRun < 6 && !HasFailure(); ++nRun)
        {
            const CHROMA_KEY_RAW rawKey =
                RandomKeySet(rnd, arrTypes[nRun % 3], 1 + (_nWidth + nRun * 3) % 16, c_nColour);
            const CANCEL_SET set = ColorCancel_Prepare(rawKey, eZYM_601);
            if (set.nKeys == 0)
                continue;
            SCOPED_TRACE(testing::Message() << "width " << _nWidth << " run " << nRun << " keys " << rawKey.nKeysUsed);
            const auto nWidth = static_cast<size_t>(_nWidth);
            CGuardedPlane plane(4 * nWidth, 1, 0, rnd.OneOf(arrGuards), rnd() % 64);
            FillPixels(plane, c_nColour << 8 | 0x70, rnd);
            const std::vector<uint8_t> arrBefore(plane.Row(0), plane.Row(0) + 4 * nWidth);
            std::vector<uint8_t> arrPlain = arrBefore;
            const uint32_t fccType = nRun < 3 ? eZFCC_RGB32 : _nWidth % 2 ? eZFCC_YVYU : eZFCC_UYVY;
            const PAIR_LAYOUT layout = fccType == eZFCC_YVYU ? c_layoutYVYU : c_layoutUYVY;
            const auto fnClean = [&](const KEY_KERNELS& _kernels, uint8_t* _pRow) {
                if (fccType == eZFCC_RGB32)
                    _kernels.pfnCancelBGRA(_pRow, nWidth, set);
                else
                    _kernels.pfnCancelPairs(_pRow, nWidth, layout, set);
            };
            fnClean(kernelsPlain, arrPlain.data());
            fnClean(kernels, plane.Row(0));
            ASSERT_TRUE(plane.Intact());
            ASSERT_TRUE(std::equal(arrPlain.begin(), arrPlain.end(), plane.Row(0)));
            if (_nWidth <= 200)
                nChanged += CheckFormulas(rawKey, fccType, arrBefore, arrPlain);
        }
    });
    EXPECT_GT(nChanged, 100'000) << "too few bytes to mean anything";
}

Z_INSTANTIATE_LEVELS(ColorCancel);

// A set of one key in YUV, with half-widths of a sixteenth.
CHROMA_KEY_RAW YUVKey(uint32_t _nValue, int32_t _nPower, int32_t _nChroma, int32_t _nLuma)
{
    CHROMA_KEY_RAW rawKey = {};
    rawKey.eType = eCKT_YUV;
    rawKey.nKeysUsed = 1;
    rawKey.arrKeys[0] = {_nValue, 0x101010, 0, 0, 0, _nPower, _nChroma, _nLuma, 0, 0};
    return rawKey;
}

TEST(ColorCancelPlain, GivesWhatWasWorkedOutByHand)
{
    using UNIT = std::array<uint8_t, 4>; // U Y V Y
    const std::tuple<CHROMA_KEY_RAW, UNIT, UNIT> arrCases[] = {
        // r = (0.0020, 0.0642), distance 0.0017, weight 0.9966: U = -0.0608 + 0.1857 - 0.0311, V = 0.0020 + 0.0057
        {YUVKey(0x806080, 64, 0, 0), {112, 90, 128, 200}, {151, 90, 129, 200}},
        // no chroma, half the luma
        {YUVKey(0x806080, 0, -128, -128), {112, 90, 128, 200}, {128, 45, 128, 100}},
        // r = (0.0020, 0): V = 0.5, U = -0.5 - 0.25, brought to a length of 0.5
        {YUVKey(0x800080, 128, 0, 0), {0, 0, 128, 255}, {21, 0, 198, 255}},
        // r = 0 has no direction: V = U = -0.5 - 0.25, brought to a length of 0.5
        {YUVKey(0x000080, 128, 0, 0), {0, 0, 0, 255}, {37, 0, 37, 255}},
    };
    for (const auto& [rawKey, unitBefore, unitAfter] : arrCases)
    {
        UNIT unit = unitBefore;
        CancelPairs_C(unit.data(), 1, c_layoutUYVY, ColorCancel_Prepare(rawKey, eZYM_601));
        EXPECT_EQ(unit, unitAfter);
    }
}

// Luma and chroma of every colour to three quarters and to half: R, G, B as worked out with the matrix of BT.709.
TEST(ColorCancelPlain, TakesTheMatrixOfThePicture)
{
    CHROMA_KEY_RAW rawKey = YUVKey(0x808080, 0, -64, -64);
    rawKey.arrKeys[0].nDelta = 0xFFFFFF;
    uint8_t arrPixels[] = {90, 40, 200, 1, 60, 180, 30, 2, 220, 70, 50, 3, 170, 190, 180, 4};
    const uint8_t arrExpected[] = {60, 35, 115, 1, 60, 120, 45, 2, 124, 49, 40, 3, 127, 137, 132, 4};
    CancelBGRA_C(arrPixels, 4, ColorCancel_Prepare(rawKey, eZYM_709));
    for (size_t n = 0; n < sizeof(arrPixels); ++n)
        EXPECT_EQ(arrPixels[n], arrExpected[n]) << n;
}

} // namespace
