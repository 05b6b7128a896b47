#include "Support/GuardedPlane.h"
#include "Support/SimdLevel.h"
#include "ZChromaKey/Engine1/RandomInput.h"
#include "ZChromaKey/Work/Kernels/PlaneKernels.h"
#include "ZChromaKey/Work/Kernels/PlaneOps.h"
#include "ZChromaKey/Work/Kernels/x86/PlaneOps_x86.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace
{

class PlaneOps : public CSimdLevelTest
{
};

// Random bytes with runs of those at which an operation changes its mind.
void FillMask(CGuardedPlane& _plane, CRandom& _rnd)
{
    const uint8_t arrEdges[] = {0, 1, 2, 3, 4, 59, 60, 200, 201, 254, 255};
    for (int nRow = 0; nRow < _plane.Rows(); ++nRow)
        for (size_t n = 0; n < _plane.RowBytes(); ++n)
            _plane.Row(nRow)[n] = n / 8 % 2 ? _rnd.OneOf(arrEdges) : static_cast<uint8_t>(_rnd());
}

TEST_P(PlaneOps, RowsEqualThoseOfThePlainKernels)
{
    PLANE_KERNELS kernels;
    PLANE_KERNELS kernelsPlain;
    PlaneKernels_Init(&kernels, GetParam());
    PlaneKernels_Init(&kernelsPlain, eSIMD_None);
    CRandom rnd(3);
    const auto fnTest = [&](size_t _nWidth, eZGuard _eGuard) {
        CGuardedPlane rows(_nWidth, 3, 0, _eGuard, rnd() % 64);
        FillMask(rows, rnd);
        const auto fnExpect = [&](const char* _pszWhat, auto _fnOp) {
            CGuardedPlane alpha(_nWidth, 1, 0, _eGuard, rnd() % 64);
            std::copy_n(rows.Row(1), _nWidth, alpha.Row(0));
            std::vector<uint8_t> arrExpected(rows.Row(1), rows.Row(1) + _nWidth);
            _fnOp(kernels, alpha.Row(0));
            _fnOp(kernelsPlain, arrExpected.data());
            ASSERT_TRUE(std::equal(arrExpected.begin(), arrExpected.end(), alpha.Row(0)))
                << _pszWhat << " width " << _nWidth << " guard " << _eGuard;
            ASSERT_TRUE(alpha.Intact() && rows.Intact()) << _pszWhat << " width " << _nWidth;
        };
        fnExpect("smooth", [&](const PLANE_KERNELS& _kernels, uint8_t* _pRow) {
            _kernels.pfnSmooth(_pRow, rows.Row(0), rows.Row(1), rows.Row(2), _nWidth);
        });
        for (const int nMin : {60, 150}) // the lower test goes first
            fnExpect("threshold", [&](const PLANE_KERNELS& _kernels, uint8_t* _pRow) {
                _kernels.pfnThreshold(_pRow, _nWidth, static_cast<uint8_t>(nMin), nMin == 60 ? 200 : 100);
            });
        fnExpect("invert", [&](const PLANE_KERNELS& _kernels, uint8_t* _pRow) { _kernels.pfnInvert(_pRow, _nWidth); });

        CGuardedPlane argb(4 * _nWidth, 1, 0, _eGuard, rnd() % 64);
        const std::vector<uint8_t> arrBefore(argb.Row(0), argb.Row(0) + 4 * _nWidth);
        kernels.pfnAlphaSet(argb.Row(0), rows.Row(1), _nWidth);
        for (size_t n = 0; n < 4 * _nWidth; ++n)
            ASSERT_EQ(argb.Row(0)[n], n % 4 == 3 ? rows.Row(1)[n / 4] : arrBefore[n]) << "alpha set, width " << _nWidth;
        fnExpect("alpha get", [&](const PLANE_KERNELS& _kernels, uint8_t* _pRow) {
            _kernels.pfnAlphaGet(_pRow, argb.Row(0), _nWidth);
        });
        ASSERT_TRUE(argb.Intact());
    };
    ForTestWidths([&](int _nWidth) {
        for (const eZGuard eGuard : {eZGuard_Fence, eZGuard_PageEnd, eZGuard_PageStart})
            fnTest(static_cast<size_t>(_nWidth), eGuard);
    });
}

#if defined(ZCK_X86)
// All levels give the same bytes, so no result tells an entry that another level's kernel has taken.
TEST(PlaneKernels, EveryEntryIsItsLevels)
{
    const PLANE_KERNELS arrExpected[] = {
        {Threshold_C, Invert_C, Smooth_C, AlphaSet_C, AlphaGet_C},
        {Threshold_AVX2, Invert_AVX2, Smooth_AVX2, AlphaSet_AVX2, AlphaGet_AVX2},
        {Threshold_AVX512, Invert_AVX512, Smooth_AVX512, AlphaSet_AVX512, AlphaGet_AVX512}};
    for (const eSIMD_Level eLevel : {eSIMD_None, eSIMD_AVX2, eSIMD_AVX512})
    {
        PLANE_KERNELS kernels;
        PlaneKernels_Init(&kernels, eLevel);
        EXPECT_EQ(std::memcmp(&kernels, &arrExpected[eLevel], sizeof(kernels)), 0) << ZCpu_LevelName(eLevel);
    }
}
#endif

Z_INSTANTIATE_LEVELS(PlaneOps);

} // namespace
