#pragma once

#include "DirectX/Device/DXHelpers.h"
#include "Gpu/GpuEnvironment.h"
#include "Support/ShaderTwin.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

/// Pictures of the shaders' formulas as textures, and rendered bytes against them.

inline ShaderTwin::PICTURE Twin_Random(uint32_t _fccType, int _nWidth, int _nHeight, uint32_t _nSeed = 1)
{
    ShaderTwin::PICTURE picture = ShaderTwin::Make(_fccType, _nWidth, _nHeight);
    const auto vecBytes = Gpu_RandomBytes(picture.arrBytes.size(), _nSeed);
    for (size_t n = 0; n < vecBytes.size(); ++n)
        picture.arrBytes[n] = vecBytes[n] / 255.0;
    return picture;
}

/// A texture with the bytes of a picture.
inline CZPtr<ID3D11Texture2D> Twin_Texture(const ShaderTwin::PICTURE& _picture, ID3D11Device* _pDevice = Gpu_Device())
{
    std::vector<uint8_t> vecBytes;
    for (const double dblByte : _picture.arrBytes)
        vecBytes.push_back(static_cast<uint8_t>(std::lround(dblByte * 255)));
    const bool bBytes = DX_TextureFormat(_picture.fccType) == DXGI_FORMAT_R8_UNORM;
    return Gpu_Texture(static_cast<uint32_t>(_picture.nStride) / (bBytes ? 1 : 4),
                       static_cast<uint32_t>(vecBytes.size()) / static_cast<uint32_t>(_picture.nStride),
                       bBytes ? DXGI_FORMAT_R8_UNORM : DXGI_FORMAT_B8G8R8A8_UNORM, vecBytes, _pDevice);
}

/// Whether each rendered byte is as near to the formulas' as it has to be. _dblTolerance: in levels of 8 bits.
inline testing::AssertionResult Twin_Matches(const std::vector<uint8_t>& _vecBytes,
                                             const ShaderTwin::PICTURE& _expected, double _dblTolerance)
{
    if (_vecBytes.size() != _expected.arrBytes.size())
        return testing::AssertionFailure() << _vecBytes.size() << " bytes";
    for (size_t n = 0; n < _vecBytes.size(); ++n)
        if (!(std::fabs(_vecBytes[n] - 255 * _expected.arrBytes[n]) <= _dblTolerance))
            return testing::AssertionFailure()
                   << "row " << n / _expected.nStride << " byte " << n % _expected.nStride << ": " << int{_vecBytes[n]}
                   << " instead of " << 255 * _expected.arrBytes[n];
    return testing::AssertionSuccess();
}
