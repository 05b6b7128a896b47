#pragma once

#include "zkhost/Files/Picture.h"
#include "zkhost/Files/Y4mHeader.h"

// Planes whose chroma is as wide and as high as their luma: files have them, the module's pixel formats do not (its
// Y444 is half as wide).

/// How command lines call planes Y, U, V of full size in raw files and Y4M streams.
inline constexpr uint32_t c_fccI444 = 0x34343449;

/// The planes of a picture, one after the other: Y, U, V, and alpha where it has any; studio range.
void FullChroma_FromPicture(const PICTURE& _picture, std::vector<uint8_t>& _vecPlanes);

/// Planes of any layout as rows B, G, R, A, top-down; chroma that is smaller is repeated, a plane that is not there
/// stands for grey or opaque. _pPlanes: a frame of the header's size and layout, in studio range.
void FullChroma_ToRows(const Y4M_HEADER& _header, const uint8_t* _pPlanes, const ZF_VID_PTR& _vidPtr);
