#pragma once

#include "Sample/SamplePaint.h"

/// What lens and sensor do to the sums of a hard scene: colours scaled by alpha, and alpha, a pixel each.
using HARD_PLANE = std::vector<SAMPLE_PIXEL>;

/// Adds a share of every pixel.
void HardSensor_Add(SAMPLE_PIXEL* _pTo, const SAMPLE_PIXEL* _pFrom, size_t _nPixels, float _fShare);
/// Lays _upper over _plane.
void HardSensor_Over(HARD_PLANE& _plane, const HARD_PLANE& _upper);
/// Spreads every point over a disc, as a lens with a round opening does. Radius in pixels.
void HardSensor_Defocus(HARD_PLANE& _plane, int _nWidth, int _nHeight, float _fRadius);
/// A row of sums as straight B, G, R, A.
void HardSensor_TruthRow(const SAMPLE_PIXEL* _pFrom, int _nWidth, bool _bLinear, uint8_t* _pTo);
/// A coded colour with noise as B, G, R, A. _fNoise: deviation at middle grey, 1 for full scale.
void HardSensor_Pixel(const SAMPLE_COLOR& _col, float _fNoise, uint64_t _nSeed, int _nX, int _nY, uint8_t* _pTo);
