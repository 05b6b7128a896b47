#pragma once

#include "Image/ImgPlane.h"
#include "Interfaces/IZKey.h"
#include "Interfaces/ZGuids.h"
#include "Support/TestFrames.h"
#include "Support/Texts.h"
#include "Video/FrameShorthand.h"
#include "ZChromaKey/Objects/CoZChromaKey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Shorthand of the tests of the plug-in object.

/// An object with the test key, that keys on the CPU and on the calling thread.
inline CZPtr<CCoZChromaKey> TestKeyer_Make(std::unique_ptr<CGPUKeyer> _upGPU = GPUKeyer_Create())
{
    auto cpKeyer = CZPtr<CCoZChromaKey>::Adopt(new CCoZChromaKey(std::move(_upGPU)));
    const CHROMA_KEY_RAW key = TestKey(eCKT_RGB);
    EXPECT_EQ(cpKeyer->KeyRawSet(&key, nullptr), S_OK);
    EXPECT_EQ(cpKeyer->PropsSet(L"output.thread", L"false"), S_OK);
    EXPECT_EQ(cpKeyer->PropsSet(L"gpu_mode", L"0"), S_OK);
    return cpKeyer;
}

/// The mask at a result; null where there is none.
inline CZPtr<IZFFrame> MaskOf(IZFFrame* _pFrame)
{
    CZPtr<IUnknown> cpObject;
    if (!_pFrame || _pFrame->AttachmentGet(L"mask", cpObject.Put()) != S_OK)
        return {};
    return ZQuery<IZFFrame>(cpObject);
}

/// A row of plane 0, from the top of the picture.
inline const uint8_t* RowOf(IZFFrame* _pFrame, int _nRow)
{
    return Img_RowOf(PtrOf(_pFrame), 0, _nRow);
}

/// Holds a result against the test picture: its mask, its alpha where it has any, and its colours, of which the green
/// is grey where it was cleaned.
inline void ExpectKeyed(IZFFrame* _pFrameRes, bool _bClean = false)
{
    const auto cpMask = MaskOf(_pFrameRes);
    ASSERT_TRUE(cpMask);
    const ZF_VID_PROPS vidProps = PropsOf(_pFrameRes);
    const ZF_VID_PROPS vidMask = PropsOf(cpMask.Get());
    const int nRows = std::abs(vidProps.nHeight);
    EXPECT_EQ(vidMask.fccType, eZFCC_RGB8);
    EXPECT_EQ(vidMask.nWidth, vidProps.nWidth);
    EXPECT_EQ(vidMask.nHeight, -nRows);
    EXPECT_EQ(vidMask.nRowBytes % 8, 0);
    const std::vector<uint8_t> vecBGRA = PixelsOf(_pFrameRes);
    const uint8_t* pPixel = vecBGRA.data();
    int nWrong = 0;
    for (int nY = 0; nY < nRows; ++nY)
        for (int nX = 0; nX < vidProps.nWidth; ++nX, pPixel += 4)
        {
            const bool bGreen = TestFrame_IsGreen(nX, nY, vidProps.nWidth, nRows);
            const int nAlpha = bGreen ? 0 : 255;
            const auto [nMin, nMax] = std::minmax({pPixel[0], pPixel[1], pPixel[2]});
            nWrong += RowOf(cpMask.Get(), nY)[nX] != nAlpha;
            nWrong += FCC_HasAlpha(vidProps.fccType) && pPixel[3] != nAlpha;
            nWrong += (nMax - nMin <= 4) != (bGreen && _bClean);
        }
    EXPECT_EQ(nWrong, 0);
}

/// How a key does, in percent: the backdrop that is keyed out to 0, and the foreground that is kept so that nobody sees
/// through it.
struct KEY_QUALITY
{
    double dblKeyed;
    double dblKept;
};

inline constexpr int c_nOpaque = 230;

/// What a plug-in object makes of a frame. _fnTruth: 0 for the backdrop, 255 for the foreground; others do not count.
inline KEY_QUALITY QualityOf(CCoZChromaKey* _pKeyer, IZFFrame* _pFrame, const std::function<int(int, int)>& _fnTruth)
{
    CZPtr<IZFFrame> cpRes;
    EXPECT_EQ(_pKeyer->OnMediaReceive(_pFrame, cpRes.Put()), S_OK);
    const auto cpMask = MaskOf(cpRes.Get());
    if (!cpMask)
        return {};
    const ZF_VID_PTR vidPtr = PtrOf(cpMask.Get());
    double arrAll[2] = {};
    double arrRight[2] = {};
    for (int y = 0; y < vidPtr.szVideoPlanes[0].cy; ++y)
        for (int x = 0; x < vidPtr.szVideoPlanes[0].cx; ++x)
        {
            const int nTruth = _fnTruth(x, y);
            if (nTruth != 0 && nTruth != 255)
                continue;
            ++arrAll[nTruth != 0];
            const int nMask = Img_RowOf(vidPtr, 0, y)[x];
            arrRight[nTruth != 0] += nTruth ? nMask >= c_nOpaque : nMask == 0;
        }
    return {100 * arrRight[0] / arrAll[0], 100 * arrRight[1] / arrAll[1]};
}

/// A GPU path that does what the test says.
class CFakeGPU final : public CGPUKeyer
{
public:
    struct SCRIPT
    {
        HRESULT hr = E_FAIL;
        CZPtr<IZFFrame> cpResult;
        int nFrames = 0;
        ZF_VID_PROPS vidPropsLast = {};
        ENGINE_GPU_OPTIONS optionsLast = {};
        int nClosed = 0;
    };

    explicit CFakeGPU(SCRIPT* _pScript)
        : m_pScript(_pScript)
    {
    }
    HRESULT ProcessFrame(IZFFrame* _pFrame, const CHROMA_KEY_RAW&, const ENGINE_GPU_OPTIONS& _options,
                         IZFFrame** _ppFrameRes) override
    {
        ++m_pScript->nFrames;
        m_pScript->optionsLast = _options;
        m_pScript->vidPropsLast = PropsOf(_pFrame);
        *_ppFrameRes = CZPtr<IZFFrame>(m_pScript->cpResult).Detach();
        return m_pScript->hr;
    }
    void Close() override
    {
        ++m_pScript->nClosed;
    }

private:
    SCRIPT* m_pScript;
};

/// Tests of an object of TestKeyer_Make with a GPU path of the test's; nothing of it may be left behind.
class CKeyerTest : public testing::Test
{
protected:
    CKeyerTest()
        : m_cpKeyer(TestKeyer_Make(std::make_unique<CFakeGPU>(&m_gpu)))
    {
    }
    void TearDown() override
    {
        m_gpu.cpResult.Reset();
        m_cpKeyer.Reset();
        EXPECT_TRUE(ZModule_IsIdle());
    }
    void Set(const wchar_t* _pwszName, const wchar_t* _pwszValue)
    {
        EXPECT_EQ(m_cpKeyer->PropsSet(_pwszName, _pwszValue), S_OK);
    }
    void KeySet(const CHROMA_KEY_RAW& _key)
    {
        EXPECT_EQ(m_cpKeyer->KeyRawSet(&_key, nullptr), S_OK);
    }
    CZPtr<IZFFrame> Receive(IZFFrame* _pFrame, HRESULT _hrExpected = S_OK)
    {
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_cpKeyer->OnMediaReceive(_pFrame, cpRes.Put()), _hrExpected);
        EXPECT_EQ(static_cast<bool>(cpRes), _hrExpected == S_OK);
        return cpRes;
    }

    CFakeGPU::SCRIPT m_gpu;
    CZPtr<CCoZChromaKey> m_cpKeyer;
};
