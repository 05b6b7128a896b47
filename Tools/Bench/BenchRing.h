#pragma once

#include "zkhost/Files/Picture.h"

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Frames in turn, so that every one comes from memory as in a video, and not from the caches. A module hands the last
/// result out again for a frame that it has just seen: one frame alone would measure that.
using BENCH_RING = std::vector<CZPtr<IZFFrame>>;
/// How many: ten, and three of pictures that fill every cache by themselves.
size_t BenchRing_Count(int _nWidth, int _nHeight);

/// Frames with all bytes 255, top-down; the pictures begin at a multiple of 64 bytes, as those of hosts do. RGB
/// formats. Throws CZHostError.
BENCH_RING BenchRing_Make(uint32_t _fccType, int _nWidth, int _nHeight);
/// The first byte of a frame made by BenchRing_Make.
uint8_t* BenchRing_Bytes(IZFFrame* _pFrame);
/// Frames of a picture (Sample/KeyScene.h) in a pixel format, each with pixels of its own. Throws CZHostError.
BENCH_RING BenchRing_OfScene(const PICTURE& _picture, uint32_t _fccType);
