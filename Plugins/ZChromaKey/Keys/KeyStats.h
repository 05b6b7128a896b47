#pragma once

#include "Helpers/CKUtils.h"
#include "ZChromaKey/Keys/KeyRay.h"

#include <cstdint>

/// Counts pixel values, and makes a key of most of them: stray pixels do not move it.
class CKeyStats
{
public:
    /// Pixels of four bytes in the space of the keys.
    void Add(const uint8_t* _pPixels, int _nPixels);
    void Add(const CKeyStats& _stats);
    uint64_t Count() const
    {
        return m_nPixels;
    }

    /// The middle value of a byte of the pixels.
    int Median(int _nByte) const
    {
        return Percentile(_nByte, 50);
    }
    /// The box around the medians. Half-widths are three times what four fifths of the pixels keep to: that spans
    /// normal noise, and also light that changes all three channels alike, although keys are ellipsoids, which do not
    /// reach the corners of their boxes. Never below what suits the space (a backdrop has more colours than were
    /// sampled), nor above 80 levels. At least one pixel must have been added. Alpha: 1, one level.
    CKUtils::CALC_KEY Box(eCK_Type _eSpace) const;
    /// How bright the darkest and the brightest pixels are, one in a hundred aside, compared with a sample of their
    /// hue.
    KEY_LIGHT Light(eCK_Type _eSpace, const CKUtils::CALC_KEY& _sample) const;
    /// Whether most of other pixels are like these: their medians lie in the box.
    bool IsLike(const CKeyStats& _other, eCK_Type _eSpace) const;

private:
    int Percentile(int _nByte, uint64_t _nPercent) const;
    int Spread(int _nByte, int _nMedian) const;

    uint64_t m_nPixels = 0;
    uint32_t m_arrCounts[3][256] = {};
};

/// Widens the colour half-widths of a key to what suits its space.
void KeyStats_Widen(CKUtils::CALC_KEY* _pKey, eCK_Type _eSpace);
