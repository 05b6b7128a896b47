#pragma once

#include "Gpu/PipelineSupport.h"
#include "Image/ImgPixel.h"
#include "Sample/HardScene.h"
#include "Support/TestFrames.h"
#include "ZChromaKey/Engine1/RandomInput.h"
#include "ZChromaKey/Engine2/Gpu/GPUUnmix.h"
#include "ZChromaKey/Engine2/UnmixScenes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

/// Streams that the second generation keys on the CPU and on the GPU.

inline constexpr ENGINE_GPU_OPTIONS c_unmixOptions = {true, false, eZYM_601, false, 1, true, 0};

using BYTES = std::vector<uint8_t>;

/// How far pictures are from what the CPU makes of them, in pixels.
struct AGREEMENT
{
    int nPixels = 0;
    int nDifferent = 0; ///< at all
    int nAlphaOff = 0;  ///< by more than a level
    int nColourOff = 0; ///< by more than two
    int nOutside = 0;   ///< either
    int nMost = 0;      ///< levels

    void Add(const BYTES& _vecGPU, const BYTES& _vecCPU)
    {
        ASSERT_EQ(_vecGPU.size(), _vecCPU.size());
        for (size_t n = 0; n < _vecGPU.size(); n += 4)
        {
            const auto Off = [&](size_t _c) { return std::abs(_vecGPU[n + _c] - _vecCPU[n + _c]); };
            const int nColour = std::max(Off(0), std::max(Off(1), Off(2)));
            ++nPixels;
            nDifferent += nColour + Off(3) > 0;
            nAlphaOff += Off(3) > 1;
            nColourOff += nColour > 2;
            nOutside += Off(3) > 1 || nColour > 2;
            nMost = std::max(nMost, std::max(nColour, Off(3)));
        }
    }
    /// Nearly all pixels agree.
    void Check() const
    {
        EXPECT_LE(nAlphaOff * 1000, nPixels);
        EXPECT_LE(nColourOff * 1000, nPixels);
    }
};

/// A stream keyed on both.
struct STREAMS
{
    GPUUnmix& keyer;
    UNMIX_SETUP setup;
    UNMIX_STATE cpu;
    UNMIX_STATE gpu;
    CSerialRunner runner;
    bool bWords = false;

    STREAMS(GPUUnmix& _keyer, const UNMIX_SETUP& _setup)
        : keyer(_keyer)
        , setup(_setup)
    {
    }
    static UNMIX_RESULT ResultIn(BYTES* _pBytes, const UNMIX_INPUT& _input, bool _bWords = false)
    {
        const ptrdiff_t nStride = ptrdiff_t{_bWords ? 8 : 4} * _input.vidProps.nWidth;
        _pBytes->assign(static_cast<size_t>(nStride) * std::abs(_input.vidProps.nHeight), 77);
        return {_pBytes->data(), nStride, _bWords};
    }
    /// A result of words in bytes.
    BYTES InBytes(const BYTES& _vecBytes) const
    {
        BYTES vecBytes;
        for (size_t n = 0; n < _vecBytes.size() && bWords; n += 2)
            vecBytes.push_back(Img_From16Bit(_vecBytes[n] | _vecBytes[n + 1] << 8));
        return bWords ? vecBytes : _vecBytes;
    }
    HRESULT PixelsOnGPU(const UNMIX_INPUT& _input, const UNMIX_RESULT& _result)
    {
        UNMIX_PICTURE picture;
        const eUnmixOpen eOpen = GPUUnmix::Rebuilds(_input.vidProps) ? eUO_Bytes : eUO_Deep;
        const HRESULT hr = Unmix_Open(gpu, _input, runner, eOpen, &picture);
        return FAILED(hr) ? hr : keyer.Pixels(gpu, _input, picture, _result, c_unmixOptions);
    }
    BYTES OnCPU(const UNMIX_INPUT& _input)
    {
        BYTES vecBytes;
        Unmix_Frame(cpu, setup, _input, ResultIn(&vecBytes, _input, bWords), runner);
        return InBytes(vecBytes);
    }
    BYTES OnGPU(const UNMIX_INPUT& _input)
    {
        BYTES vecBytes;
        const UNMIX_RESULT result = ResultIn(&vecBytes, _input, bWords);
        Unmix_Learn(gpu, setup, _input, runner);
        EXPECT_EQ(PixelsOnGPU(_input, result), S_OK);
        Unmix_Write(gpu, _input, result, runner, eUW_Finish);
        return InBytes(vecBytes);
    }
};

/// Learns from cells on the calling thread.
struct LEARNER final : IUnmixLearner
{
    UNMIX_STATE& state;
    const UNMIX_SETUP& setup;
    CSerialRunner runner;

    LEARNER(UNMIX_STATE& _state, const UNMIX_SETUP& _setup)
        : state(_state)
        , setup(_setup)
    {
    }
    HRESULT Learn(const UNMIX_CELL_INPUT& _input) override
    {
        const HRESULT hr = Unmix_LearnCells(state, setup, _input, runner);
        return FAILED(hr) ? hr : S_OK;
    }
    UNMIX_STATE& State() override
    {
        return state;
    }
};

inline PICTURE HardPicture(const HARD_SCENE& _scene, int _nWidth, int _nHeight, int64_t _nFrame)
{
    PICTURE picture, truth;
    HARD_SETUP setup;
    setup.nWidth = _nWidth;
    setup.nHeight = _nHeight;
    HardScene_Paint(_scene, setup, _nFrame, picture, truth);
    return picture;
}

inline SCENE SceneOf(const PICTURE& _picture)
{
    SCENE scene(_picture.nWidth, _picture.nHeight, [](int, int) { return SCENE_PIXEL{}; });
    scene.vecBGRA = _picture.vecPixels;
    return scene;
}

/// A scene in a texture of the tests' device.
inline CZPtr<CZFrame> FrameOf(const SCENE& _scene, uint32_t _fccType = eZFCC_ARGB32, int _eInterlace = eZI_Progressive)
{
    const auto cpTexture = Gpu_Texture(static_cast<uint32_t>(_scene.nWidth), static_cast<uint32_t>(_scene.nHeight),
                                       DXGI_FORMAT_B8G8R8A8_UNORM, _scene.vecBGRA);
    return Gpu_TextureFrame(cpTexture.Get(), Gpu_Props(_fccType, _scene.nWidth, -_scene.nHeight, 0, _eInterlace));
}

inline BYTES PixelsIn(IZFFrame* _pFrame)
{
    return _pFrame ? Gpu_Read(Gpu_TextureIn(GPU_TextureOf(_pFrame).Get()).Get()) : BYTES();
}

/// The scene with grain of each channel by itself: else its chroma would be taken for one that was shared.
inline SCENE Grained(SCENE _scene)
{
    CRandom rnd(9);
    const auto Grain = [&] { return static_cast<int>(rnd() % 9) - 4; };
    for (size_t n = 0; n < _scene.vecBGRA.size(); n += 4)
    {
        _scene.vecBGRA[n] = static_cast<uint8_t>(std::clamp(_scene.vecBGRA[n] + Grain(), 0, 255));
        _scene.vecBGRA[n + 2] = static_cast<uint8_t>(std::clamp(_scene.vecBGRA[n + 2] + Grain(), 0, 255));
    }
    return _scene;
}

/// A body that moves, with alpha of its own, noise, and a size that no cell divides.
inline SCENE Moving(int _nFrame, int _nWidth = 157, int _nHeight = 91)
{
    SCENE scene = Grained(
        BodyScene(_nWidth, _nHeight, 3, 1 + static_cast<uint32_t>(_nFrame), .02f * static_cast<float>(_nFrame)));
    uint8_t* const pRow = scene.vecBGRA.data() + ptrdiff_t{4} * 60 * _nWidth;
    for (int x = 0; x < _nWidth / 2; ++x) // less than full alpha
        pRow[4 * x + 3] = static_cast<uint8_t>(x);
    return scene;
}

/// Bits below those of bytes, for samples that were made of bytes.
inline void LowBitsSet(CZFrame* _pFrame)
{
    CRandom rnd(4);
    const ZF_VID_PTR vidPtr = PtrOf(_pFrame, eZFP_Write);
    for (int nPlane = 0; nPlane < 2; ++nPlane)
        for (int y = 0; y < vidPtr.szVideoPlanes[nPlane].cy; ++y)
            for (int x = 0; x < vidPtr.szVideoPlanes[nPlane].cx; ++x)
                *(Img_RowOf(vidPtr, nPlane, y) + ptrdiff_t{2} * x) |= static_cast<uint8_t>(rnd() << 6);
}

/// A scene in memory as a format's samples.
inline CZPtr<CZFrame> SamplesOf(const SCENE& _scene, uint32_t _fccType, int _eInterlace)
{
    const bool bRGB = FCC_IsRGB(_fccType);
    auto cpFrame = TestFrame_Of(_scene.vecBGRA, _fccType, _scene.nWidth, bRGB ? -_scene.nHeight : _scene.nHeight,
                                nullptr, _eInterlace);
    if (FCC_SampleBytes(_fccType) > 1)
        LowBitsSet(cpFrame.Get());
    return cpFrame;
}

inline UNMIX_INPUT InputOf(CZFrame* _pFrame)
{
    UNMIX_INPUT input = {PropsOf(_pFrame), {}};
    EXPECT_EQ(_pFrame->VideoPtrGet(eZFP_Flip, &input.vidPtr), S_OK);
    return input;
}

/// The same in a texture of the tests' device.
inline CZPtr<CZFrame> SamplesInTexture(CZFrame* _pFrame)
{
    ZF_VID_PROPS vidProps = PropsOf(_pFrame);
    const D3D11_TEXTURE2D_DESC desc = DX_TextureDesc(vidProps);
    vidProps.nRowBytes = 0;
    return Gpu_TextureFrame(Gpu_Texture(desc.Width, desc.Height, desc.Format, Gpu_Pixels(_pFrame)).Get(), vidProps);
}
