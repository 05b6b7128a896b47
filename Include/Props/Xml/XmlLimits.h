#pragma once

#include <cstddef>

/// What a document may hold. The reader refuses more, so that no document takes memory or stack without bound; the
/// writer refuses more, so that whatever it writes can be read again.

inline constexpr size_t c_nXmlMaxBytes = 16u << 20;
inline constexpr size_t c_nXmlMaxDepth = 64;         ///< elements inside each other, the root included
inline constexpr size_t c_nXmlMaxNodes = 65'536;     ///< elements in all
inline constexpr size_t c_nXmlMaxAttrs = 128;        ///< attributes of one element
inline constexpr size_t c_nXmlMaxAttrsAll = 262'144; ///< attributes in all
