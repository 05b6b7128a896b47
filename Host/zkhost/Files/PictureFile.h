#pragma once

#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/Picture.h"

/// Reads a PNG or JPEG file: grey, palette and 16-bit pictures become 8-bit B, G, R, A; bAlpha says whether the file
/// has alpha. Throws CZHostError on any damage or a size over the limits.
PICTURE PictureFile_Read(const std::string& _strPath);

/// Writes a PNG: 8-bit grey, RGB, or RGBA with straight alpha, after the picture. Where alpha is 0, so is the colour.
void PictureFile_WritePng(const PICTURE& _picture, CZOutFile& _file);
/// Writes a PNG of 16 bits a channel: RGBA with straight alpha. Where alpha is 0, so is the colour.
void PictureFile_WritePng(const DEEP_PICTURE& _picture, CZOutFile& _file);
