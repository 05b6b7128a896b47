#pragma once

/// The pass that smooths the alpha of a keyed picture. Entry "PS"; keyed picture t0, sampler s0, constants b0.

#include <cstdint>
#include <string>

/// "SMOOTH_SETTINGS", register b0.
struct SMOOTH_SETTINGS
{
    float smooth[4]; ///< above 0: rows are neighbours, else those of one field are; factor of lowered alphas; x, y step
};
static_assert(sizeof(SMOOTH_SETTINGS) == 16);

struct SMOOTH_SHADER
{
    /// Whether the keyed picture's colours are multiplied by its alpha. Our pictures are not: the pass changes their
    /// alpha alone.
    bool bPremultiplied = false;
    /// Straight pictures: the pass inverts the alpha that it has smoothed.
    bool bInverse = false;

    bool operator==(const SMOOTH_SHADER&) const = default;
};

std::string SmoothShader_Text(const SMOOTH_SHADER& _shader);

/// _nWidth, _nHeight: of the picture in pixels, above 0. _bInterlaced: the rows of the two fields lie interleaved.
SMOOTH_SETTINGS Shader_FillSmooth(int32_t _nWidth, int32_t _nHeight, bool _bInterlaced);

/// Passes to run for the key set's nEdgesSmooth: 0 to 10.
int32_t Shader_SmoothPasses(int32_t _nEdgesSmooth);
