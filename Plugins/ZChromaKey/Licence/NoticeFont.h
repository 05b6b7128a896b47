#pragma once

#include <cstdint>
#include <string_view>

/// Letters of dots, for texts that are drawn large: Latin letters, digits and a few signs.

inline constexpr int c_nGlyphWidth = 5;
inline constexpr int c_nGlyphHeight = 9; ///< two rows of it below the line

/// Whether a dot of a letter is set, counted from its top left.
bool NoticeFont_IsSet(char _ch, int _nX, int _nY);
