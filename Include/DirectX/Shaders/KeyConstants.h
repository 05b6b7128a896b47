#pragma once

/// The constant block of the keying shaders.

#include "Interfaces/ChromaKeyTypes.h"

#include <cstddef>
#include <cstdint>

/// One key as the shaders read it; they call it SINGLE_KEY. Components of the key's space: R, G, B; H, L, S; or
/// Y, V, U (V before U).
struct CK_SHADER_KEY
{
    float pos[4];     ///< centre, byte / 256
    float yvu_pos[4]; ///< centre in Y, V, U, chroma around 0
    float dist[4];    ///< half-widths, byte / 256
    float scal[4];    ///< softness width, unused, cancel margin, twice the cancel power
    /// Cancel: chroma gain - 1, luma gain - 1, width; then +1 for a keying key, -1 for an inverse one, 0 for a dead
    /// one.
    float scal1[4];
};
static_assert(sizeof(CK_SHADER_KEY) == 80);

/// "CK_SETTINGS", register b0.
struct CK_SETTINGS
{
    int32_t ipar[4]; ///< key type, number of keys, nInterlacedVideo, nInverseKey
    CK_SHADER_KEY keys[Z_MAX_KEYS];
    float fpar[4]; ///< lower and upper alpha threshold, even picture width, picture height
};
static_assert(sizeof(CK_SETTINGS) == 1312 && offsetof(CK_SETTINGS, keys) == 16 && offsetof(CK_SETTINGS, fpar) == 1296);

/// Fills the whole block from a key set of type RGB, HLS or YUV; any other type is logged and filled as YUV.
///
/// Counts are brought into 0 to 16. A key without width (nDelta 0) or with nAlpha 255 keeps its slot but matches
/// nothing and does not count as a keying key, as on the CPU. _nWidth, _nHeight: of the picture in pixels, the height's
/// sign is ignored. _bSnap: every centre is replaced by the nearest of pure red, green and blue.
void Shader_FillKeys(const CHROMA_KEY_RAW& _key, int32_t _nWidth, int32_t _nHeight, bool _bSnap,
                     CK_SETTINGS* _pSettings);

/// Whether the shaders need their colour-cancel forms: it is switched on, and some live keying key has a part in it.
bool Shader_NeedsCancel(const CHROMA_KEY_RAW& _key);
/// Whether the alpha is inverted in the end: it is switched on, and there is a live keying key.
bool Shader_NeedsInverse(const CHROMA_KEY_RAW& _key);
