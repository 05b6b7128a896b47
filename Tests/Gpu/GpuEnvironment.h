#pragma once

#include "DirectX/Device/DXDevice.h"
#include "Support/FrameAccess.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

/// The device that all GPU tests of a process share; after each test nothing may hold it that did not hold it before.

/// The device; created before the first test, which fails when it cannot be had.
ID3D11Device* Gpu_Device();
ID3D11DeviceContext* Gpu_Context();
/// A wrapper around that device.
CZPtr<DX11Device> Gpu_Wrapper();
/// Another device on the same adapter.
CZPtr<ID3D11Device> Gpu_OtherDevice();

/// Whether a case, counted from 0, of tests that go through all shaders is left out of this run. One Direct3D renders
/// every case; on others, where compiling shaders takes most of the time, one in seven shows what differs.
bool Gpu_IsLeftOut(size_t _nCase);

size_t Gpu_TexelBytes(DXGI_FORMAT _eFormat);
/// A texture of one level that shaders can read and draw to; the bytes of its rows, or undefined content.
CZPtr<ID3D11Texture2D> Gpu_Texture(uint32_t _nWidth, uint32_t _nHeight,
                                   DXGI_FORMAT _eFormat = DXGI_FORMAT_B8G8R8A8_UNORM,
                                   const std::vector<uint8_t>& _vecBytes = {}, ID3D11Device* _pDevice = Gpu_Device());
/// Binds something for compute shaders to write, as a host may have done, in the last slot of feature level 11_0.
void Gpu_ComputeBind();
bool Gpu_IsComputeBound();
/// So many bytes without a pattern.
std::vector<uint8_t> Gpu_RandomBytes(size_t _nBytes, uint32_t _nSeed = 1);
/// The bytes of a texture, row after row without padding.
std::vector<uint8_t> Gpu_Read(ID3D11Texture2D* _pTexture);
