#include "Base/ZHelpers.h"
#include "Image/ImgPlane.h"
#include "ZChromaKey/ChromaKey.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

/// The CPU engine on 1080p pictures, beside a pass that only reads the picture and writes a mask.

namespace
{

constexpr int c_nWidth = 1920;
constexpr int c_nHeight = 1080;
constexpr uint8_t c_arrGreen[4] = {40, 180, 50, 0}; // B, G, R

/// A picture and its mask; random bytes, so that every pixel takes its own way.
struct SCENE
{
    explicit SCENE(uint32_t _fccType)
    {
        vidProps.fccType = _fccType;
        vidProps.nWidth = c_nWidth;
        vidProps.nHeight = FCC_IsRGB(_fccType) ? -c_nHeight : c_nHeight;
        vidProps.dblRate = 25;
        vidProps.nRowBytes = Img_RowSizeM(&vidProps);
        arrPicture.resize(static_cast<size_t>(VidProps_ImageSize(&vidProps)));
        uint32_t nSeed = 1;
        for (uint8_t& nByte : arrPicture)
            nByte = static_cast<uint8_t>((nSeed = nSeed * 1664525u + 1013904223u) >> 24);
        vidPtr = VidPtr_Build(&vidProps, Img_Address(arrPicture.data()), true);
        arrMask.assign(static_cast<size_t>(VidProps_Mask(&vidProps).nRowBytes) * c_nHeight, 255);
    }
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    std::vector<uint8_t> arrPicture;
    std::vector<uint8_t> arrMask;
};

/// The word of the green backdrop in a key's space.
uint32_t GreenWord(int64_t _eType)
{
    uint8_t arrWord[4] = {c_arrGreen[2], c_arrGreen[1], c_arrGreen[0], 0};
    if (_eType == eCKT_HLS)
        Img_RowToHLS(c_arrGreen, arrWord, 1);
    if (_eType == eCKT_YUV)
        Img_RowToYUV(c_arrGreen, arrWord, 1, eZYM_601);
    return arrWord[0] | uint32_t{arrWord[1]} << 8 | uint32_t{arrWord[2]} << 16;
}

CHROMA_KEY_RAW KeySet(int64_t _eType, int64_t _nKeys, int64_t _nSmooth)
{
    CHROMA_KEY_RAW rawKey = {};
    rawKey.eType = static_cast<int32_t>(_eType);
    rawKey.nMaxTransparent = 255;
    rawKey.nEdgesSmooth = static_cast<int32_t>(_nSmooth);
    rawKey.nKeysUsed = static_cast<int32_t>(_nKeys);
    for (int i = 0; i < rawKey.nKeysUsed; ++i)
    {
        rawKey.arrKeys[i].nValue = GreenWord(_eType) + 0x100408u * static_cast<uint32_t>(i);
        rawKey.arrKeys[i].nDelta = 0x303030;
        rawKey.arrKeys[i].nSmoothRange = 60;
    }
    return rawKey;
}

void Rate(benchmark::State& _state)
{
    using benchmark::Counter;
    constexpr double c_dblPixels = static_cast<double>(c_nWidth) * c_nHeight;
    _state.counters["s/pixel"] = Counter(c_dblPixels, Counter::kIsIterationInvariantRate | Counter::kInvert);
    _state.counters["frames/s"] = Counter(1, Counter::kIsIterationInvariantRate);
}

/// Arguments: format, key type, keys, smoothing passes, threads.
void Engine(benchmark::State& _state)
{
    SCENE scene(static_cast<uint32_t>(_state.range(0)));
    const CHROMA_KEY_RAW rawKey = KeySet(_state.range(1), _state.range(2), _state.range(3));
    CChromaKey engine;
    engine.ThreadsSet(static_cast<uint32_t>(_state.range(4)));
    HRESULT hr = S_OK;
    for ([[maybe_unused]] auto _ : _state) // NOLINT(clang-analyzer-deadcode.DeadStores)
        hr |= engine.ProcessFrame(&scene.vidPtr, scene.arrMask.data(), &scene.vidProps, &rawKey);
    const auto nKeyed = std::count(scene.arrMask.begin(), scene.arrMask.end(), uint8_t{0});
    if (hr != S_OK || nKeyed == 0 || nKeyed > c_nWidth * c_nHeight / 2)
        _state.SkipWithError("the mask is not a mask");
    Rate(_state);
}

void Streaming(benchmark::State& _state)
{
    SCENE scene(eZFCC_RGB32);
    for ([[maybe_unused]] auto _ : _state) // NOLINT(clang-analyzer-deadcode.DeadStores)
    {
        constexpr size_t c_nBlock = 64;
        for (size_t n = 0; n < scene.arrMask.size(); n += c_nBlock)
        {
            uint32_t arrPixels[c_nBlock];
            std::copy_n(scene.arrPicture.data() + 4 * n, sizeof(arrPixels), reinterpret_cast<uint8_t*>(arrPixels));
            for (size_t i = 0; i < c_nBlock; ++i)
                scene.arrMask[n + i] = static_cast<uint8_t>(arrPixels[i] ^ arrPixels[i] >> 8 ^ arrPixels[i] >> 16);
        }
        benchmark::ClobberMemory();
    }
    Rate(_state);
}

BENCHMARK(Streaming)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(Engine)
    ->ArgNames({"fcc", "type", "keys", "smooth", "threads"})
    ->ArgsProduct({{eZFCC_RGB32}, {eCKT_RGB}, {1, 4}, {0, 2}, {1, 2}})
    ->ArgsProduct({{eZFCC_RGB32}, {eCKT_HLS, eCKT_YUV}, {1}, {0}, {1, 2}})
    ->ArgsProduct({{eZFCC_ARGB32}, {eCKT_RGB}, {1}, {0}, {1, 2}})
    ->ArgsProduct({{eZFCC_UYVY, eZFCC_NV12}, {eCKT_RGB, eCKT_YUV}, {1}, {0}, {2}})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace

BENCHMARK_MAIN();
