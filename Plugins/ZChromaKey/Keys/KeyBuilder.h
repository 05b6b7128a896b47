#pragma once

#include "Helpers/CKDetect.h"
#include "Helpers/CKUtils.h"
#include "Helpers/FrameSampler.h"
#include "ZChromaKey/Keys/KeyScreen.h"

#include <cstdint>
#include <vector>

/// Builds a key set out of samples of frames: points, rectangles, or the backdrop that detection finds.
///
/// Holds two calculators, for ordinary and for exclusion keys, and the switches of the set. A value: a copy is a
/// snapshot. Samples come through an open sampler: no method of a frame is called here. Not thread safe. A call that
/// fails, or runs out of memory, changes nothing.
class CKeyBuilder
{
public:
    CKeyBuilder();

    /// Key type; keys are dropped when they are of another one. Auto keeps them. Returns E_INVALIDARG for a type that
    /// is not RGB, HLS, YUV or Auto.
    HRESULT TypeSet(eCK_Type _eType);
    eCK_Type TypeGet() const
    {
        return m_eType;
    }
    /// Removes all keys; type, limits and switches stay.
    void Reset();
    /// Most keys of a kind, clamped to 1 to 16.
    void MaxKeysSet(int32_t _nMaxKeys, bool _bExclude);
    int32_t KeysCount(bool _bExclude) const
    {
        return Calc(_bExclude).nKeys;
    }

    /// Samples the 7 x 7 pixels around a point, as far as they lie in the frame; a colourful backdrop becomes the few
    /// keys that the light on it asks for, with soft edges that leave the rest of the frame opaque (KeyFinder.h).
    /// E_INVALIDARG: outside the frame.
    HRESULT AddPoint(CFrameSampler* _pSampler, int32_t _nX, int32_t _nY, bool _bExclude);
    /// Samples a rectangle, its corners in any order, clipped to the frame. A large one is cut into up to 4 x 4 parts,
    /// each of which is offered as a key unless it is unlike the whole. E_INVALIDARG: nothing is left of it.
    HRESULT AddRect(CFrameSampler* _pSampler, int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2, bool _bExclude);
    /// Takes a colour, 0xRRGGBB, as a sample without a picture. S_FALSE: the keys stay as they are, for it is among
    /// them as such a sample already.
    HRESULT AddColor(uint32_t _nRGB, eZYMatrix _eMatrix, bool _bExclude);
    /// Replaces the ordinary keys by those of the backdrop; S_FALSE when there is none. Type Auto takes the first of
    /// YUV, HLS and RGB in which one is found; with exclusion keys, theirs. A type among the options is set as by
    /// TypeSet. _pBlocks: null, or the examined blocks. KeyFinder.h says what the keys are like; "max_keys" limits
    /// those of this detection, not those of the object.
    HRESULT Detect(CFrameSampler* _pSampler, const CKUtils::CK_DETECT_OPTIONS& _options,
                   std::vector<CKUtils::CK_BLOCK>* _pBlocks = nullptr);

    /// Takes keys and switches of a key set over. It is handed out unchanged until a key changes.
    void RawSet(const CHROMA_KEY_RAW& _raw);
    /// The key set: ordinary keys first, then exclusion keys, at most sixteen. Keys that were taken over keep their
    /// smooth range and so on; new ones have a soft edge and key completely.
    const CHROMA_KEY_RAW& RawGet();

private:
    struct KEYS
    {
        CKUtils::CKeyCalc calc;
        SINGLE_KEY arrExtras[Z_MAX_KEYS]; // what a key has besides its colour
    };

    const CKUtils::CKeyCalc& Calc(bool _bExclude) const
    {
        return m_arrKeys[_bExclude ? 1 : 0].calc;
    }
    CKUtils::CKeyCalc& Calc(bool _bExclude)
    {
        return m_arrKeys[_bExclude ? 1 : 0].calc;
    }
    bool HasKeys() const
    {
        return Calc(false).nKeys > 0 || Calc(true).nKeys > 0;
    }
    eCK_Type SampleSpace() const;
    void SpaceSet(eCK_Type _eSpace);
    void Append(const CKUtils::CALC_KEY& _key, int32_t _nSmoothRange);
    void Offer(const std::vector<CKUtils::CALC_KEY>& _vecSamples, const KEY_SCREEN& _screen, bool _bExclude);
    void FitIntoSet();
    bool IsSmoothDerived(const SINGLE_KEY& _extras) const;
    void ForgetExtras();

    eCK_Type m_eType = eCKT_Auto;
    eCK_Type m_eSpace = eCKT_YUV; // of the keys there are
    KEYS m_arrKeys[2];
    CHROMA_KEY_RAW m_raw = {}; // as last handed out or taken over; its switches are those of the set
};
