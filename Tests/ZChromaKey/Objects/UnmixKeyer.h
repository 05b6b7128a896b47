#pragma once

#include "Base/ZBstr.h"
#include "Base/ZPtr.h"
#include "Image/ImgPlane.h"
#include "Interfaces/IZChromaKey2.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZProps.h"
#include "Support/FrameAccess.h"
#include "Support/TestFrames.h"
#include "ZChromaKey/Objects/CoZChromaKey2.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

/// Frames of a body before a backdrop, and the object of the second generation that keys them.

inline constexpr int c_nBodyWidth = 192;
inline constexpr int c_nBodyHeight = 128;

inline double BodyAlpha(int _nX, int _nY)
{
    const double dblX = _nX - 0.5 * c_nBodyWidth;
    const double dblY = _nY - 0.65 * c_nBodyHeight;
    return std::clamp((35 - std::sqrt(dblX * dblX + dblY * dblY)) / 4 + 0.5, 0.0, 1.0);
}

/// A grey-red body with a soft edge, before a backdrop of that colour whose light falls off to the right. _nNoise: not
/// 0: noise that it begins with.
inline CZPtr<CZFrame> Body(uint32_t _fccType, const double (&_arrBackdropBGR)[3], int32_t _eInterlace = eZI_NotSet,
                           uint32_t _nNoise = 0, CZFramePool* _pPoolOrNull = nullptr)
{
    std::minstd_rand random(_nNoise);
    constexpr double c_arrBody[3] = {90, 70, 150};
    std::vector<uint8_t> vecBGRA;
    for (int y = 0; y < c_nBodyHeight; ++y)
        for (int x = 0; x < c_nBodyWidth; ++x)
        {
            const double dblAlpha = BodyAlpha(x, y);
            for (int c = 0; c < 3; ++c)
            {
                const double dblValue =
                    dblAlpha * c_arrBody[c] + (1 - dblAlpha) * _arrBackdropBGR[c] * (1 - 0.2 * x / c_nBodyWidth);
                const int nNoise = _nNoise ? static_cast<int>(random() % 11) - 5 : 0;
                vecBGRA.push_back(static_cast<uint8_t>(std::lround(dblValue) + nNoise));
            }
            vecBGRA.push_back(255);
        }
    return TestFrame_Of(vecBGRA, _fccType, c_nBodyWidth, -c_nBodyHeight, _pPoolOrNull, _eInterlace);
}
inline constexpr double c_arrGreen[3] = {50, 170, 60};
inline constexpr double c_arrBlue[3] = {180, 70, 40};
inline constexpr double c_arrGrey[3] = {120, 120, 120};

/// Tests of an object of the second generation that keys on the CPU and on the calling thread.
class CUnmixObjectTest : public testing::Test
{
protected:
    CUnmixObjectTest()
    {
        EXPECT_EQ(CCoZChromaKey2::Create(IID_IZChromaKey2, m_cpKeyer.PutVoid()), S_OK);
        m_cpProps = ZQuery<IZProps>(m_cpKeyer);
        m_cpProcess = ZQuery<IZFProcess>(m_cpKeyer);
        EXPECT_EQ(m_cpProps->PropsSet(L"output.thread", L"false"), S_OK);
        EXPECT_EQ(m_cpProps->PropsSet(L"gpu_mode", L"0"), S_OK);
    }
    void Set(const wchar_t* _pwszName, const wchar_t* _pwszValue)
    {
        EXPECT_EQ(m_cpProps->PropsSet(_pwszName, _pwszValue), S_OK);
    }
    /// No tint is taken out: what is solid comes out as it came in.
    void SpillLeave()
    {
        EXPECT_EQ(m_cpKeyer->ParamSet(CZBStr("spill").Get(), 0), S_OK);
    }
    /// Keys the backdrop that is found in a frame.
    void KeyFrom(IZFFrame* _pFrame)
    {
        EXPECT_EQ(m_cpKeyer->FrameSet(_pFrame), S_OK);
        EXPECT_EQ(m_cpKeyer->KeyAuto(), S_OK);
    }
    CZPtr<IZFFrame> Receive(IZFFrame* _pFrame)
    {
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_cpProcess->OnMediaReceive(_pFrame, cpRes.Put()), S_OK);
        return cpRes;
    }
    /// How far the mask of a result is from the truth on average, in levels; 255 where there is none.
    static double Error(IZFFrame* _pFrameRes)
    {
        CZPtr<IUnknown> cpObject;
        if (!_pFrameRes || _pFrameRes->AttachmentGet(L"mask", cpObject.Put()) != S_OK)
            return 255;
        const auto cpMask = ZQuery<IZFFrame>(cpObject);
        double dblSum = 0;
        for (int y = 0; y < c_nBodyHeight; ++y)
            for (int x = 0; x < c_nBodyWidth; ++x)
                dblSum += std::abs(Img_RowOf(PtrOf(cpMask.Get()), 0, y)[x] - 255 * BodyAlpha(x, y));
        return dblSum / (c_nBodyWidth * c_nBodyHeight);
    }

    CZPtr<IZChromaKey2> m_cpKeyer;
    CZPtr<IZProps> m_cpProps;
    CZPtr<IZFProcess> m_cpProcess;
};
