#pragma once

#include "Support/FuzzTarget.h"

#include "openfx/OpenFx.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// A host of the OpenFX effect that keeps to the layouts of the interface and to nothing else: what it has, what it
/// refuses and what its records say is chosen by the input. One host at a time; renders may come from two threads.

/// A set of properties. What is asked for by a name in nRefused is not there.
struct OFX_PROPS_OF_HOST
{
    uint32_t nRefused = 0;    ///< bits, by a hash of the name
    void* pPointer = nullptr; ///< the instance, or pixels
    int nRowBytes = 0;
    std::array<int, 4> arrNumbers = {}; ///< bounds, or the window to be rendered
    double dblTime = 0;
    double dblScale = 1;
    const char* pszDepth = nullptr; ///< null: the host answers that all is well, without a text
    const char* pszComponents = nullptr;
    const char* pszMultiplied = nullptr;
};

struct OFX_PARAM_OF_HOST
{
    std::string strType;
    bool bRefused = false;
    double arrNumbers[3] = {};
    int nNumber = 0;
    std::string strText;
    bool bText = true; ///< else a null pointer stands where the text should
};

struct OFX_PARAMS_OF_HOST
{
    /// Makes parameters out of those that were described, with any values.
    void Take(CByteReader& _in);

    uint32_t nRefused = 0;
    std::map<std::string, OFX_PARAM_OF_HOST> mapParams;
};

/// An effect: its description, and its instance.
struct OFX_EFFECT_OF_HOST
{
    uint32_t nRefused = 0; ///< bits: property set, parameters, clips, their pictures
    OFX_PROPS_OF_HOST props;
    OFX_PROPS_OF_HOST propsDefined; ///< takes what is said of clips and parameters
    OFX_PARAMS_OF_HOST params;
};
using RUDE_EFFECT = OFX_EFFECT_OF_HOST;
using RUDE_EFFECTS = std::array<RUDE_EFFECT, 3>;

/// A picture whose memory ends with its last sample, and its record, which may be nonsense. Its bytes are 0xA5 at
/// first where it is no source.
struct RUDE_PICTURE
{
    RUDE_PICTURE(CByteReader& _in, bool _bSource, const char* _pszDepth);
    /// Whether nothing was written but, where it is given, in a window.
    bool IsUntouched(const std::array<int, 4>* _pWindowOrNull) const;

    bool bNonsense = false; ///< the record does not describe a picture that can be keyed
    bool bThere = true;
    OFX_PROPS_OF_HOST props;

private:
    void NonsenseMake(int _nKind, CByteReader& _in);

    int m_nWidth;
    int m_nHeight;
    int64_t m_cbPixel;
    int64_t m_cbRow; ///< from row to row
    bool m_bUp;      ///< the bottom row lies first
    int m_nX;
    int m_nY;
    std::vector<uint8_t> m_vecMemory;
};

/// A render: what goes in, what comes out, and the window.
struct RUDE_RENDER
{
    explicit RUDE_RENDER(CByteReader& _in);

    RUDE_PICTURE source;
    RUDE_PICTURE result;
    OFX_PROPS_OF_HOST propsIn;
    std::array<int, 4> arrWindow; ///< what is asked for
};

/// Chooses what the host has and what the effects refuse, and tells the plug-in of the host.
void Rude_Begin(CByteReader& _in, RUDE_EFFECTS& _effects);
/// Calls the plug-in. _pRender: what clips hold meanwhile on this thread.
OFX_STATUS Rude_Act(const char* _pszActionOrNull, OFX_EFFECT _hEffect, RUDE_RENDER* _pRender = nullptr);
/// Pictures that were not given back.
int Rude_Images();
