#pragma once

#include "zkhost/Files/Picture.h"

#include <cstdint>
#include <string>

/// Draws ASCII text with its top left at a place; a letter is about 7 x 8 dots, each _nScale pixels wide. What lies
/// outside the picture is left out.
void Label_Draw(PICTURE& _picture, int _nLeft, int _nTop, int _nScale, uint32_t _nRGB, const std::string& _strText);
