#pragma once

#include "zkhost/Files/Picture.h"

/// How far keyed pictures are from the truth.
struct QUALITY
{
    double dblMse = 0;   ///< mean squared error of alpha, x 1000
    double dblSoft = 0;  ///< the same over soft pixels alone
    double dblHoles = 0; ///< per mille of solid foreground (true alpha above 0.995) with alpha below 0.9
    double dblRest = 0;  ///< per mille of backdrop (true alpha below 0.005) with alpha above 0.06
    /// Of the result over a saturated ground against the truth over it, dB: shows tint and rims. A host lays the result
    /// over in coded values; the truth is mixed as the scene was.
    double dblPsnr = 0;
    double dblDtssd = 0; ///< error of alpha's change from frame to frame, root of its mean square, x 100
};

/// Adds up the frames of a clip, or of several clips: means over frames.
class CScore
{
public:
    /// _nGround: the ground's colour, 0xRRGGBB. _bLinear: the scene was mixed as light.
    CScore(uint32_t _nGround, bool _bLinear);
    /// Both straight alpha, of one size.
    void Add(const PICTURE& _keyed, const PICTURE& _truth);
    QUALITY Result() const;

private:
    void AddChange(const std::vector<float>& _vecError);

    uint8_t m_arrGround[3]; ///< B, G, R
    bool m_bLinear;
    QUALITY m_sum;
    double m_dblChange = 0;
    double m_dblChanged = 0; ///< pixels
    int m_nFrames = 0;
    std::vector<float> m_vecError; ///< of alpha, of the frame before
};

/// The truth laid over the ground, as the reference of dblPsnr.
void Score_Reference(const uint8_t* _pTruth, const uint8_t* _pGround, bool _bLinear, float* _pBGR);
