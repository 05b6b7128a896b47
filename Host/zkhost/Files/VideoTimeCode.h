#pragma once

#include <cstdint>
#include <string>

/// The time code so many frames later: "01:02:03:04", or with ";" before the frames where numbers are dropped, as at
/// 29.97 and 59.94 frames per second (SMPTE ST 12-1). Empty for anything else, and where the rate is not known.
std::string VideoTimeCode_Later(const std::string& _strTimeCode, int64_t _nFrames, int64_t _nRateNum,
                                int64_t _nRateDen);
