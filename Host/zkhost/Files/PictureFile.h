#pragma once

#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/Picture.h"

#include <span>

/// Reads a PNG or JPEG file: grey, palette and 16-bit pictures become 8-bit B, G, R, A; bAlpha says whether the file
/// has alpha. Throws CZHostError on any damage or a size over the limits.
PICTURE PictureFile_Read(const std::string& _strPath);
/// The same of a file that is in memory; messages call it _strName.
PICTURE PictureFile_Decode(std::span<const uint8_t> _arrFile, const std::string& _strName);

/// Writes a PNG: 8-bit grey, RGB, or RGBA with straight alpha, after the picture. Where alpha is 0, so is the colour.
void PictureFile_WritePng(const PICTURE& _picture, CZOutFile& _file);
/// Writes a PNG of 16 bits a channel: RGBA with straight alpha. Where alpha is 0, so is the colour.
void PictureFile_WritePng(const DEEP_PICTURE& _picture, CZOutFile& _file);
/// A JPEG of bytes R, G, B, anything. _nQuality: 1 to 100. Throws CZHostError.
std::string PictureFile_Jpeg(const std::string& _strPixels, int _nWidth, int _nHeight, int _nQuality);
