#pragma once

#include <cstddef>
#include <cstdint>

/// The least that a keyer of 4-byte pixels has to do to memory: reads every pixel and writes a byte for each. One for
/// each instruction set; the byte is byte 0 of the pixel, inverted.
void BenchRow_C(uint8_t* _pMask, const uint8_t* _pPixels, size_t _nPixels) noexcept;
void BenchRow_AVX2(uint8_t* _pMask, const uint8_t* _pPixels, size_t _nPixels) noexcept;
void BenchRow_AVX512(uint8_t* _pMask, const uint8_t* _pPixels, size_t _nPixels) noexcept;

/// The same for one that writes pixels: every byte is inverted.
void BenchCopy_C(uint8_t* _pResult, const uint8_t* _pPixels, size_t _nPixels) noexcept;
void BenchCopy_AVX2(uint8_t* _pResult, const uint8_t* _pPixels, size_t _nPixels) noexcept;
void BenchCopy_AVX512(uint8_t* _pResult, const uint8_t* _pPixels, size_t _nPixels) noexcept;
