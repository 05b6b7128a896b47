#include "Support/GuardedPlane.h"
#include "Support/SimdLevel.h"
#include "ZChromaKey/KeyReference.h"
#include "ZChromaKey/Kernels/KeyKernels.h"
#include "ZChromaKey/Kernels/PlaneOps.h"

#include <algorithm>
#include <vector>

namespace
{

class PlaneOps : public CSimdLevelTest
{
};

/// Random bytes with runs of those at which an operation changes its mind.
void FillMask(CGuardedPlane& _plane, CRandom& _rnd)
{
    const uint8_t arrEdges[] = {0, 1, 2, 3, 4, 59, 60, 200, 201, 254, 255};
    for (int nRow = 0; nRow < _plane.Rows(); ++nRow)
        for (size_t n = 0; n < _plane.RowBytes(); ++n)
            _plane.Row(nRow)[n] = n / 8 % 2 ? _rnd.OneOf(arrEdges) : static_cast<uint8_t>(_rnd());
}

int Smoothed(const CGuardedPlane& _rows, size_t _nPixel)
{
    const int arrWeight[3] = {1, 2, 1};
    const uint8_t nOld = _rows.Row(1)[_nPixel];
    int nSum = 8;
    for (int nRow = 0; nRow < 3; ++nRow)
        for (size_t i = 0; i < 3; ++i)
            nSum += arrWeight[nRow] * arrWeight[i] *
                    _rows.Row(nRow)[std::clamp<size_t>(_nPixel + i, 1, _rows.RowBytes()) - 1];
    return nOld < 3 ? nOld : nSum / 16;
}

TEST_P(PlaneOps, RowsMatchTheirDefinition)
{
    KEY_KERNELS kernels;
    KeyKernels_Init(&kernels, GetParam());
    CRandom rnd(3);
    const auto fnTest = [&](int _nWidth, eZGuard _eGuard) {
        const auto nWidth = static_cast<size_t>(_nWidth);
        CGuardedPlane rows(nWidth, 3, 0, _eGuard, rnd() % 64);
        FillMask(rows, rnd);
        const uint8_t* const pA = rows.Row(1);
        CGuardedPlane alpha(nWidth, 1, 0, _eGuard, rnd() % 64);
        const auto fnExpect = [&](const char* _pszWhat, auto _fnExpected) {
            for (size_t n = 0; n < nWidth; ++n)
                ASSERT_EQ(alpha.Row(0)[n], _fnExpected(n))
                    << _pszWhat << " width " << nWidth << " guard " << _eGuard << " pixel " << n;
            ASSERT_TRUE(alpha.Intact() && rows.Intact()) << _pszWhat << " width " << nWidth;
            std::copy_n(pA, nWidth, alpha.Row(0));
        };
        kernels.pfnSmooth(alpha.Row(0), rows.Row(0), rows.Row(1), rows.Row(2), nWidth);
        fnExpect("smooth", [&](size_t _n) { return Smoothed(rows, _n); });
        kernels.pfnThreshold(alpha.Row(0), nWidth, 60, 200);
        fnExpect("threshold", [&](size_t _n) { return pA[_n] < 60 ? 0 : pA[_n] > 200 ? 255 : pA[_n]; });
        kernels.pfnThreshold(alpha.Row(0), nWidth, 150, 100); // the lower test goes first
        fnExpect("crossed threshold", [&](size_t _n) { return pA[_n] < 150 ? 0 : 255; });
        kernels.pfnInvert(alpha.Row(0), nWidth);
        fnExpect("invert", [&](size_t _n) { return 255 - pA[_n]; });
        Exclude_C(alpha.Row(0), rows.Row(0), nWidth);
        fnExpect("exclude", [&](size_t _n) { return std::max<int>(pA[_n], 255 - rows.Row(0)[_n]); });

        CGuardedPlane argb(4 * nWidth, 1, 0, _eGuard, rnd() % 64);
        const std::vector<uint8_t> arrBefore(argb.Row(0), argb.Row(0) + 4 * nWidth);
        kernels.pfnAlphaSet(argb.Row(0), pA, nWidth);
        for (size_t n = 0; n < 4 * nWidth; ++n)
            ASSERT_EQ(argb.Row(0)[n], n % 4 == 3 ? pA[n / 4] : arrBefore[n]) << "alpha set, width " << nWidth;
        ASSERT_TRUE(argb.Intact());
    };
    ForTestWidths([&](int _nWidth) {
        for (const eZGuard eGuard : {eZGuard_Fence, eZGuard_PageEnd, eZGuard_PageStart})
            fnTest(_nWidth, eGuard);
    });
}

Z_INSTANTIATE_LEVELS(PlaneOps);

} // namespace
