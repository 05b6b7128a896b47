#pragma once

#include "Image/ImgPicture.h"
#include "Interfaces/ChromaKey2Types.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

/// A number that no region or plate in this program has had before.
uint64_t KeyChange_Next();

/// A region that the operator has drawn. Never changed once it is shared, so that steps of editing and frames under
/// way can hold it.
struct KEY2_REGION
{
    uint64_t nChange = KeyChange_Next(); ///< of its own
    IMG_MASK mask;                       ///< to be stretched to the frame
    std::string strPolygon;              ///< what the mask was made from; empty: from a frame
};
/// By eRegion; empty: there is none.
using KEY2_REGIONS = std::array<std::shared_ptr<const KEY2_REGION>, Z_REGIONS>;

/// The name of a region in documents and log lines.
const char* Region_Name(int32_t _eRegion);

/// A region from a polygon, in a picture of that size. Null and a reason when the text is no polygon, the picture has
/// no pixel or more than 2^26, or its rows times the corners are more than 2^25: documents come from anywhere, and no
/// one waits long for one.
std::shared_ptr<KEY2_REGION> Region_OfPolygon(const std::string& _strPolygon, int32_t _nWidth, int32_t _nHeight,
                                              std::string* _pstrReason);
