// The notice on pictures in textures.

#include "ZChromaKey/Licence/NoticeFrame.h"

#include "Gpu/PipelineSupport.h"

#include <gtest/gtest.h>

namespace
{

constexpr int c_nWidth = 192;
constexpr int c_nHeight = 96;

std::vector<uint8_t> TexelsOfFrame(IZFFrame* _pFrame)
{
    return Gpu_Read(Gpu_TextureIn(GPU_TextureOf(_pFrame).Get()).Get());
}

/// Holds the texels of a texture with the notice against those before: the plate, and nothing else. Of packed 4:2:2 and
/// planar pictures the byte of a pixel's luma counts.
void ExpectPlate(const std::vector<uint8_t>& _vecAfter, const std::vector<uint8_t>& _vecBefore, size_t _nBytes,
                 size_t _nFirst, uint8_t _nLetter)
{
    CNotice notice("ZChromaKey");
    const NOTICE_PLATE& plate = notice.Plate(c_nWidth, c_nHeight);
    ASSERT_EQ(_vecAfter.size(), _vecBefore.size());
    int nWrong = 0;
    for (int y = 0; y < c_nHeight; ++y)
        for (int x = 0; x < c_nWidth; ++x)
        {
            const size_t nAt = static_cast<size_t>(y * c_nWidth + x) * _nBytes + _nFirst;
            const bool bPlate = x >= plate.part.nX1 && x < plate.part.nX2 && y >= plate.part.nY1 && y < plate.part.nY2;
            const auto nPlate = static_cast<size_t>((y - plate.part.nY1) * plate.Width() + x - plate.part.nX1) * 4;
            if (!bPlate)
                nWrong += _vecAfter[nAt] != _vecBefore[nAt];
            else
                nWrong += (_vecAfter[nAt] >= _nLetter) != (plate.vecMask[nPlate] == 255);
        }
    EXPECT_EQ(nWrong, 0);
}

TEST(NoticeTexture, IsDrawnOntoCopiesOfTheHostsAndOntoResults)
{
    const struct
    {
        uint32_t fccType;
        uint8_t nLetter;
        size_t nBytes; ///< of a pixel in the texture, and which of them is looked at
        size_t nFirst;
    } arrCases[] = {
        {eZFCC_ARGB32, 255, 4, 0}, {eZFCC_UYVY, 235, 2, 1}, {eZFCC_I420, 235, 1, 0}, {eZFCC_P010, 235, 2, 1}};
    for (const auto& format : arrCases)
    {
        SCOPED_TRACE(FCC_Name(format.fccType));
        const ZF_VID_PROPS vidProps = Gpu_Props(format.fccType, c_nWidth, c_nHeight);
        const D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(vidProps);
        const std::vector<uint8_t> vecBefore(Gpu_TexelBytes(desc.Format) * desc.Width * desc.Height, 100);
        const auto cpHosts = Gpu_Texture(desc.Width, desc.Height, desc.Format, vecBefore);
        const auto cpFrame = Gpu_TextureFrame(cpHosts.Get(), vidProps);
        CNotice notice("ZChromaKey");
        std::vector<CZPtr<IZFFrame>> vecGone;

        IZFFrame* pPassed = nullptr; // the frame passes
        ASSERT_EQ(NoticeFrame_Put(&notice, cpFrame.Get(), &pPassed, &vecGone), S_OK);
        const auto cpPassed = CZPtr<IZFFrame>::Adopt(pPassed);
        ASSERT_TRUE(cpPassed && cpPassed.Get() != static_cast<IZFFrame*>(cpFrame.Get()));
        ExpectPlate(TexelsOfFrame(cpPassed.Get()), vecBefore, format.nBytes, format.nFirst, format.nLetter);

        const auto cpOwn = Gpu_Texture(desc.Width, desc.Height, desc.Format, vecBefore);
        IZFFrame* pResult = CZPtr<IZFFrame>(Gpu_TextureFrame(cpOwn.Get(), vidProps).Get()).Detach();
        IZFFrame* const pBefore = pResult;
        ASSERT_EQ(NoticeFrame_Put(&notice, cpFrame.Get(), &pResult, &vecGone), S_OK);
        const auto cpResult = CZPtr<IZFFrame>::Adopt(pResult);
        EXPECT_EQ(cpResult.Get(), pBefore) << "drawn onto in place";
        ExpectPlate(Gpu_Read(cpOwn.Get()), vecBefore, format.nBytes, format.nFirst, format.nLetter);
        EXPECT_TRUE(Gpu_Read(cpHosts.Get()) == vecBefore) << "the host's";
    }
}

} // namespace
