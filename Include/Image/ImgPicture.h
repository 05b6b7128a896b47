#pragma once

#include <cstdint>
#include <vector>

/// A picture in memory of its own, from its top left.
struct IMG_PICTURE
{
    int32_t nWidth = 0;
    int32_t nHeight = 0;
    std::vector<uint8_t> vecBGRA; ///< bytes B, G, R, A; rows without padding
};

/// A mask in memory of its own, from its top left: 255 is inside, 0 outside.
struct IMG_MASK
{
    int32_t nWidth = 0;
    int32_t nHeight = 0;
    std::vector<uint8_t> vecBytes; ///< rows without padding
};
