#include "Helpers/CKBlockKeys.h"
#include "Interfaces/ZVideoTypes.h"
#include "Support/GuardedPlane.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using namespace CKUtils;

namespace
{

constexpr uint32_t c_fccHLSBlocks = eZFCC_None;

/// The class of a pixel by the table of regions, in its own words.
int ClassOf(const uint8_t* _pb, uint32_t _fccType)
{
    const bool bRGB = _fccType == eZFCC_RGB32;
    double adbl[3] = {_pb[2] / 255.0, _pb[1] / 255.0, _pb[0] / 255.0};
    if (_fccType == c_fccHLSBlocks)
    {
        adbl[0] = _pb[0] / 256.0;
        adbl[2] = _pb[2] / 255.0;
    }
    const auto IsIn = [&](double _v0, double _d0, double _v1, double _d1, double _v2, double _d2) {
        return _v0 - _d0 <= adbl[0] && adbl[0] <= _v0 + _d0 && _v1 - _d1 <= adbl[1] && adbl[1] <= _v1 + _d1 &&
               _v2 - _d2 <= adbl[2] && adbl[2] <= _v2 + _d2;
    };
    if (_fccType == c_fccHLSBlocks)
        return IsIn(0.34722, 0.08333, 0.5, 0.4, 0.6, 0.8) ? 1 : IsIn(0.63889, 0.06944, 0.5, 0.4, 0.6, 0.8) ? -1 : 0;
    if (bRGB)
        return IsIn(0.3, 0.3, 0.6, 0.3, 0.3, 0.3) ? 1 : IsIn(0.3, 0.3, 0.3, 0.3, 0.6, 0.3) ? -1 : 0;
    return IsIn(0.2, 0.3, 0.2, 0.3, 0.5, 0.4) ? 1 : IsIn(0.2, 0.3, 0.7, 0.3, 0.5, 0.4) ? -1 : 0;
}

int Distance(const uint8_t* _pb1, const uint8_t* _pb2)
{
    int nSum = 0;
    for (int i = 0; i < 3; ++i)
        nSum += (_pb1[i] - _pb2[i]) * (_pb1[i] - _pb2[i]);
    return nSum;
}

/// The class of a block step by step, one pixel after the other; 0: refused.
int SignStepwise(const CGuardedPlane& _block, uint32_t _fccType, int _nThreshold, int _nSign)
{
    const int nWidth = static_cast<int>(_block.RowBytes() / 4);
    const int nMax = 3 * _nThreshold * _nThreshold;
    int nBlockSign = 0;
    for (int y = 0; y < _block.Rows(); ++y)
        for (int x = 1; x < nWidth; ++x)
        {
            const uint8_t* pb = _block.Row(y) + ptrdiff_t{4} * x;
            const int nClass = ClassOf(pb, _fccType);
            if (nClass == 0 || (nBlockSign && nClass != nBlockSign))
                return 0;
            if (_nSign && _fccType != c_fccHLSBlocks && nClass != _nSign)
                return 0;
            nBlockSign = nClass;
            if (Distance(pb, _block.Row(0)) > 4 * nMax || Distance(pb, pb - 4) > nMax)
                return 0;
            const uint8_t* pbUp = y ? _block.Row(y - 1) + ptrdiff_t{4} * x : pb;
            if (y && (Distance(pb, pbUp) > nMax || Distance(pb, pbUp - 4) > nMax))
                return 0;
        }
    return nBlockSign;
}

/// The box around the first pixel and all others but those of the first column, as the calculator has it.
CALC_KEY BoxOf(const CGuardedPlane& _block)
{
    CALC_KEY key = {};
    for (size_t i = 0; i < 4; ++i)
    {
        const size_t nByte = i < 3 ? 2 - i : 3;
        int nMin = _block.Row(0)[nByte], nMax = nMin;
        for (int y = 0; y < _block.Rows(); ++y)
            for (size_t n = 4 + nByte; n < _block.RowBytes(); n += 4)
            {
                nMin = std::min<int>(nMin, _block.Row(y)[n]);
                nMax = std::max<int>(nMax, _block.Row(y)[n]);
            }
        key.dValue[i] = (nMin + nMax) / 510.0;
        key.dDelta[i] = std::max(nMax - nMin, 2) / 510.0; // at least a level
    }
    return key;
}

} // namespace

// Most blocks are decided by shortcuts; the verdicts must be those of the plain walk. Colours near region limits and
// noise near the threshold make all paths run.
TEST(BlockKeys, ShortcutsAgreeWithThePlainWalk)
{
    std::mt19937 rng(12345);
    const auto Random = [&](int _nFrom, int _nTo) {
        return _nFrom + static_cast<int>(rng() % static_cast<unsigned>(_nTo - _nFrom + 1));
    };
    const uint32_t arrTypes[] = {eZFCC_RGB32, eZFCC_UYVY, c_fccHLSBlocks};
    const uint8_t arrBases[][4] = {{60, 160, 60, 9},  {145, 150, 90, 9}, {160, 100, 90, 9}, {140, 110, 110, 9},
                                   {100, 124, 90, 9}, {90, 120, 150, 9}, {165, 120, 90, 9}, {150, 60, 60, 9}};
    int arrSeen[3] = {};
    for (int nRound = 0; nRound < 20000; ++nRound)
    {
        const uint32_t fccType = arrTypes[nRound % 3];
        const uint8_t* const pBase = arrBases[Random(0, 7)];
        const int nNoise = Random(0, 14);
        const int nWidth = Random(1, 22);
        CGuardedPlane block(size_t{4} * nWidth, Random(1, 5), 0, nRound % 2 ? eZGuard_PageEnd : eZGuard_PageStart);
        for (int y = 0; y < block.Rows(); ++y)
            for (size_t n = 0; n < block.RowBytes(); ++n)
                block.Row(y)[n] = static_cast<uint8_t>(pBase[n % 4] + (n % 4 == 3 ? y : Random(-nNoise, nNoise)));
        const int nThreshold = Random(2, 16);
        const int32_t nSignBefore = Random(-1, 1);
        const int nWanted = SignStepwise(block, fccType, nThreshold, nSignBefore);
        int32_t nSign = nSignBefore;
        CALC_KEY key = {{7, 7, 7, 7}, {}, 0};
        const bool bFound = CBlockKeys(fccType, nThreshold)
                                .KeyFromBlock(block.Row(0), nWidth, block.Rows(), block.Stride(), &key, &nSign);
        ASSERT_EQ(bFound, nWanted != 0) << "round " << nRound << ", " << nWidth << " x " << block.Rows();
        ASSERT_EQ(nSign, bFound ? nWanted : nSignBefore) << "round " << nRound;
        const CALC_KEY keyWanted = bFound ? BoxOf(block) : CALC_KEY{{7, 7, 7, 7}, {}, 0}; // refused: nothing changes
        for (int i = 0; i < 4; ++i)
        {
            ASSERT_DOUBLE_EQ(key.dValue[i], keyWanted.dValue[i]) << "round " << nRound << " channel " << i;
            ASSERT_DOUBLE_EQ(key.dDelta[i], keyWanted.dDelta[i]) << "round " << nRound << " channel " << i;
        }
        ++arrSeen[nWanted + 1];
    }
    EXPECT_GT(*std::min_element(arrSeen, arrSeen + 3), 500) << "one verdict hardly occurs";
}
