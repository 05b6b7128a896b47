#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/ZVideoTypes.h"

#include <vector>

inline constexpr int c_nBenchWidth = 1920;
inline constexpr int c_nBenchHeight = 1080;

/// What the picture shows.
enum eBenchScene
{
    eBS_Screen, ///< a disc of many colours before a green screen with noise
    eBS_Random, ///< random bytes: no two pixels go the same way
};

/// A 1080p picture and its mask.
struct BENCH_SCENE
{
    /// _fccType: eZFCC_RGB32, ARGB32 or UYVY.
    BENCH_SCENE(uint32_t _fccType, eBenchScene _eScene);
    /// Points the planes at this object's own picture, which a copy needs.
    void Address();
    uint8_t* MaskRow(int _nRow)
    {
        return arrMask.data() + size_t{c_nBenchWidth} * static_cast<size_t>(_nRow);
    }
    const uint8_t* PictureRow(int _nRow) const
    {
        return arrPicture.data() + static_cast<size_t>(vidProps.nRowBytes) * static_cast<size_t>(_nRow);
    }
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    std::vector<uint8_t> arrPicture;
    std::vector<uint8_t> arrMask;
};

/// A set of keys around the green of the screen.
CHROMA_KEY_RAW Bench_KeySet(int64_t _eType, int64_t _nKeys, int64_t _nSmooth);
/// The mask row that the plain kernels make.
std::vector<uint8_t> Bench_PlainRow(const BENCH_SCENE& _scene, const CHROMA_KEY_RAW& _rawKey, int _nRow);
