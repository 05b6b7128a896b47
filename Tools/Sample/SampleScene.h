#pragma once

#include "zkhost/Files/Picture.h"

#include <cstdint>
#include <vector>

/// What the sample scene looks like.
struct SAMPLE_SCENE
{
    int nWidth = 1280;
    int nHeight = 720;
    bool bBlue = false;    ///< a blue backdrop instead of a green one
    double dblNoise = 2.0; ///< deviation of the noise, in levels of 255
    uint64_t nSeed = 1;
    double dblRate = 25; ///< frames per second
};

/// Paints the frames of a scene. The same arguments give the same pictures, however many threads paint.
///
/// A person before an unevenly lit, creased backdrop waves, wears a scarf of gauze and has loose hair; a ball flies
/// past, soap bubbles rise. The person throws a shadow on the backdrop, and the backdrop shines on the person.
class CZSampleScene
{
public:
    explicit CZSampleScene(const SAMPLE_SCENE& _scene);
    /// One frame and its true alpha (grey).
    void Paint(int64_t _nFrame, PICTURE& _picture, PICTURE& _alpha) const;

private:
    void PaintBand(int64_t _nFrame, int _nTop, int _nBottom, PICTURE& _picture, PICTURE& _alpha) const;

    SAMPLE_SCENE m_scene;
    std::vector<float> m_vecLight; ///< how brightly the backdrop is lit, a value a pixel
};
