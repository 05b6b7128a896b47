#pragma once

#include "Interfaces/ChromaKey2Types.h"
#include "Interfaces/ZPlatform.h"

#include <string>
#include <string_view>

/// Changes to a key set of the second generation, for the plug-in object and for key sets that travel on their own.
///
/// What they refuse is logged with what would be right, and leaves the set as it was.

/// A colour: R, G, B from 0 to 255.
struct KEY2_COLOR
{
    double dblRed;
    double dblGreen;
    double dblBlue;
};
/// The colour of a number 0xRRGGBB; the highest byte is left aside.
KEY2_COLOR KeySet2_Color(uint32_t _nRGB);

/// Whether a colour, 0xRRGGBB, is among the keys or the protected colours; these rounded to whole levels.
bool KeySet2_HasColor(const CHROMA_KEY2_RAW& _key, uint32_t _nRGB, bool _bProtected);
/// Whether a colour is far enough from grey to be keyed.
bool KeySet2_HasHue(const KEY2_COLOR& _color);

/// A key, and a protected colour, with the default ranges.
SINGLE_KEY2 KeySet2_Key(const KEY2_COLOR& _color);
PROTECTED_KEY2 KeySet2_Protected(const KEY2_COLOR& _color);

/// A set without keys, its parameters at their defaults.
CHROMA_KEY2_RAW KeySet2_Empty();

/// "" when all numbers of a set are in their ranges and its keys have a hue; else which do not, and what is right.
std::string KeySet2_Check(const CHROMA_KEY2_RAW& _key);
/// Makes sets that mean the same the same bytes: what is not used becomes 0, and so does -0.
void KeySet2_Clean(CHROMA_KEY2_RAW* _pKey);

/// Adds a backdrop colour with the default ranges. Keys that were found make room for the first one that is chosen.
/// S_FALSE: it is there already. E_INVALIDARG: a colour without a hue. E_UNEXPECTED: all sixteen are in use.
HRESULT KeySet2_KeyAdd(const KEY2_COLOR& _color, CHROMA_KEY2_RAW* _pKey);
/// Adds a protected colour with the default range. S_FALSE and E_UNEXPECTED as above.
HRESULT KeySet2_ProtectAdd(const KEY2_COLOR& _color, CHROMA_KEY2_RAW* _pKey);
/// E_INVALIDARG: there is none with that number. The first key left is one that was chosen.
HRESULT KeySet2_Remove(int32_t _nIndex, bool _bProtected, CHROMA_KEY2_RAW* _pKey);
/// A range of a key or of a protected colour, borrowed; null where there is no such one.
KEY2_RANGE* KeySet2_Range(int32_t _nIndex, eRange _eRange, CHROMA_KEY2_RAW* _pKey);

/// S_FALSE: the parameter has that value already. E_INVALIDARG: no such parameter, or a value outside its range.
HRESULT KeySet2_ParamSet(std::string_view _svName, double _dblValue, CHROMA_KEY2_RAW* _pKey);
/// E_INVALIDARG: no such parameter.
HRESULT KeySet2_ParamGet(const CHROMA_KEY2_RAW& _key, std::string_view _svName, double* _pdblValue);
