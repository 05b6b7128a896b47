#include "Support/GuardedPlane.h"
#include "ZChromaKey/KeyReference.h"
#include "ZChromaKey/MaskPost.h"
#include "ZChromaKey/MaskReference.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

KEY_KERNELS Kernels()
{
    KEY_KERNELS kernels;
    KeyKernels_Init(&kernels, eSIMD_None);
    return kernels;
}

CHROMA_KEY_RAW Settings(int _nMin, int _nMax, int _nSmooth, int _nInverse)
{
    CHROMA_KEY_RAW rawKey = {};
    rawKey.nMinTransparent = _nMin;
    rawKey.nMaxTransparent = _nMax;
    rawKey.nEdgesSmooth = _nSmooth;
    rawKey.nInverseKey = _nInverse;
    return rawKey;
}

/// A mask like those of pictures: areas of 0 and 255 with steep edges, and single pixels of any value.
void FillMask(CGuardedPlane& _plane, CRandom& _rnd)
{
    for (int nRow = 0; nRow < _plane.Rows(); ++nRow)
        for (size_t n = 0; n < _plane.RowBytes(); ++n)
        {
            const uint32_t nKind = _rnd() % 8;
            const uint8_t nArea = n / 5 % 2 ? 255 : 0;
            _plane.Row(nRow)[n] = nKind == 0 ? static_cast<uint8_t>(_rnd()) : nKind == 1 ? uint8_t{3} : nArea;
        }
}

TEST(MaskPost, MatchesWholePicturesAtEverySize)
{
    const KEY_KERNELS kernels = Kernels();
    const int arrHeights[] = {1, 2, 3, 4, 7, 12};
    const int arrSmooth[] = {-1, 0, 1, 2, 3, 99};
    const int arrLimits[] = {-300, 0, 1, 100, 254, 255, 300};
    CRandom rnd(3);
    CMaskPost maskPost;
    for (int nWidth = 1; nWidth <= 150; ++nWidth)
        for (const int nHeight : arrHeights)
        {
            const ptrdiff_t nStride = nWidth + static_cast<int>(rnd() % 3);
            CGuardedPlane mask(static_cast<size_t>(nWidth), nHeight, rnd() % 2 ? -nStride : nStride);
            FillMask(mask, rnd);
            const CHROMA_KEY_RAW rawKey =
                Settings(rnd.OneOf(arrLimits), rnd.OneOf(arrLimits), rnd.OneOf(arrSmooth), rnd() % 2 ? 7 : 0);
            const bool bFields = rnd() % 2;
            MASK_REFERENCE expected(nWidth, nHeight, 0);
            for (int nRow = 0; nRow < nHeight; ++nRow)
                std::memcpy(&expected.At(0, nRow), mask.Row(nRow), mask.RowBytes());
            expected.Post(rawKey, bFields);

            maskPost.Reserve(nWidth);
            maskPost.Run({mask.Row(0), mask.Stride(), nWidth, nHeight}, MaskPost_Make(rawKey, bFields), kernels);
            for (int nRow = 0; nRow < nHeight; ++nRow)
                ASSERT_EQ(std::memcmp(&expected.At(0, nRow), mask.Row(nRow), mask.RowBytes()), 0)
                    << nWidth << " x " << nHeight << " row " << nRow << " min " << rawKey.nMinTransparent << " max "
                    << rawKey.nMaxTransparent << " smooth " << rawKey.nEdgesSmooth << " fields " << bFields;
            ASSERT_TRUE(mask.Intact());
        }
}

TEST(MaskPost, ManyRowsDoNotOverflow)
{
    uint8_t arrRow[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    CMaskPost maskPost;
    maskPost.Run({arrRow, 0, 8, INT32_MAX}, MaskPost_Make(Settings(0, 255, 0, 0), true), Kernels());
    for (int n = 0; n < 8; ++n)
        EXPECT_EQ(arrRow[n], n + 1);
}

} // namespace
