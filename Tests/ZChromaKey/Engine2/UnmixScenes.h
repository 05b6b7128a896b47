#pragma once

#include "Base/ZPlanes.h"
#include "Image/ImgPlane.h"
#include "Support/TestProps.h"
#include "ZChromaKey/Engine2/Unmix.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

/// Scenes with known alpha, and how they are keyed.

struct SCENE_PIXEL
{
    float b;
    float g;
    float r;
};

inline SCENE_PIXEL Mixed(SCENE_PIXEL _fore, SCENE_PIXEL _back, float _fltAlpha)
{
    return {_back.b + (_fore.b - _back.b) * _fltAlpha, _back.g + (_fore.g - _back.g) * _fltAlpha,
            _back.r + (_fore.r - _back.r) * _fltAlpha};
}

/// A picture of bytes B, G, R, A, from its top.
struct SCENE
{
    int nWidth;
    int nHeight;
    std::vector<uint8_t> vecBGRA;

    SCENE(int _nWidth, int _nHeight, const std::function<SCENE_PIXEL(int, int)>& _pixel)
        : nWidth(_nWidth)
        , nHeight(_nHeight)
        , vecBGRA(static_cast<size_t>(_nWidth) * _nHeight * 4)
    {
        uint8_t* p = vecBGRA.data();
        for (int y = 0; y < _nHeight; ++y)
            for (int x = 0; x < _nWidth; ++x, p += 4)
            {
                const SCENE_PIXEL pixel = _pixel(x, y);
                const float arr[3] = {pixel.b, pixel.g, pixel.r};
                for (int c = 0; c < 3; ++c)
                    p[c] = static_cast<uint8_t>(std::clamp(arr[c] + .5f, 0.0f, 255.0f));
                p[3] = 255;
            }
    }
    UNMIX_INPUT Input(uint32_t _fccType = eZFCC_ARGB32, int _eInterlace = eZI_Progressive)
    {
        UNMIX_INPUT input = {Record(_fccType, nWidth, -nHeight, 4 * nWidth, _eInterlace), {}};
        input.vidPtr = VidPtr_Build(&input.vidProps, Img_Address(vecBGRA.data()), false);
        return input;
    }
};

/// Noise that follows from the place: evenly spread over -1 to 1.
inline float Grain(int _nX, int _nY, uint32_t _nSeed)
{
    uint32_t n =
        static_cast<uint32_t>(_nX) * 374761393u + static_cast<uint32_t>(_nY) * 668265263u + _nSeed * 2246822519u;
    n = (n ^ n >> 13) * 1274126177u;
    n ^= n >> 16;
    return static_cast<float>(n & 0xffff) / 32768 - 1;
}

inline constexpr SCENE_PIXEL c_colGreen = {50, 160, 60};
inline constexpr SCENE_PIXEL c_colCoat = {90, 60, 150};

/// The green of the scenes as the one key.
inline UNMIX_SETUP GreenSetup()
{
    UNMIX_SETUP setup;
    setup.nKeys = 1;
    setup.arrKeys[0].arrBGR[0] = c_colGreen.b;
    setup.arrKeys[0].arrBGR[1] = c_colGreen.g;
    setup.arrKeys[0].arrBGR[2] = c_colGreen.r;
    return setup;
}

/// A body with a soft edge before an unevenly lit green screen.
inline SCENE BodyScene(int _nWidth, int _nHeight, float _fltNoise = 0, uint32_t _nSeed = 1, float _fltShift = 0)
{
    return {
        _nWidth, _nHeight, [=](int _x, int _y) {
            const float fltX = static_cast<float>(_x) / static_cast<float>(_nWidth) - .5f - _fltShift;
            const float fltY = static_cast<float>(_y) / static_cast<float>(_nHeight) - .6f;
            const float fltRadius = std::sqrt(fltX * fltX + fltY * fltY);
            const float fltAlpha = std::clamp((.3f - fltRadius) * 20 + .5f, 0.0f, 1.0f);
            const float fltLight = 1 - .2f * static_cast<float>(_x) / static_cast<float>(_nWidth);
            SCENE_PIXEL pixel =
                Mixed(c_colCoat, {c_colGreen.b * fltLight, c_colGreen.g * fltLight, c_colGreen.r * fltLight}, fltAlpha);
            const float fltNoise = _fltNoise * Grain(_x, _y, _nSeed);
            return SCENE_PIXEL{pixel.b + fltNoise, pixel.g + _fltNoise * Grain(_y, _x, _nSeed + 7), pixel.r - fltNoise};
        }};
}

/// Any number of threads; the least parts are taken in turns, the last ones first.
class CThreadRunner final : public IRowRunner
{
public:
    explicit CThreadRunner(int _nThreads)
        : m_nThreads(_nThreads)
    {
    }
    void Run(int _nRows, int _nLeast, const CRowPass& _pass) override
    {
        std::vector<std::thread> vecThreads;
        const int nParts = (_nRows + _nLeast - 1) / _nLeast;
        for (int t = 0; t < m_nThreads; ++t)
            vecThreads.emplace_back([=, this, &_pass] {
                for (int n = nParts - 1 - t; n >= 0; n -= m_nThreads)
                    _pass(n * _nLeast, std::min(_nLeast, _nRows - n * _nLeast));
            });
        for (std::thread& thread : vecThreads)
            thread.join();
    }

private:
    int m_nThreads;
};

/// Keys one picture; the result is bytes B, G, R, A.
inline std::vector<uint8_t> Keyed(UNMIX_STATE& _state, SCENE& _scene, const UNMIX_SETUP& _setup = {})
{
    CSerialRunner runner;
    std::vector<uint8_t> vecOut(_scene.vecBGRA.size(), 77);
    Unmix_Frame(_state, _setup, _scene.Input(), {vecOut.data(), ptrdiff_t{4} * _scene.nWidth, false}, runner);
    return vecOut;
}
