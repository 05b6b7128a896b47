#pragma once

#include "Interfaces/ChromaKeyTypes.h"

#include <cstdint>
#include <string>

/// The key calculator: folds sampled colours into a small key set.
namespace CKUtils
{

/// One key as a box in a space of four channels: 0 to 2 are colour, 3 is alpha.
///
/// Channel values are bytes / 255. The channels of a pixel are its bytes 2, 1, 0, 3: R, G, B, A of a B, G, R, A pixel,
/// V, U, Y, A of a Y, U, V, A pixel, S, L, H, A of an H, L, S, A pixel. The box of channel i is the closed interval
/// dValue[i] - dDelta[i] to dValue[i] + dDelta[i].
struct CALC_KEY
{
    double dValue[4]; ///< centre
    double dDelta[4]; ///< half-width
    double dWeight;   ///< how many further samples fell inside this key
};
static_assert(sizeof(CALC_KEY) == 72);

/// What AddKey and IsSimilar answer. Negative: the sample was refused.
enum eCalcResult : int32_t
{
    eCR_TooDifferent = -1, ///< refused: the least growth reaches the maximum difference
    eCR_Covered = 0,       ///< already inside a key, or it swallowed one
    eCR_Merged = 1,        ///< folded into the key that grows least
    eCR_New = 2,           ///< appended (IsSimilar: should be appended)
};

/// A half-width of one level: the least a picked colour needs, since a key whose half-widths pack to 0 is dead.
inline constexpr double c_dblMinDelta = 1.0 / 255.0;

/// Packs four channels into a key word of a key set of type _eType, and back. Byte i of an eCKT_RGB word is channel i;
/// words of other types hold channels 2, 1, 0, 3. Packing rounds half away from zero and keeps the low eight bits: it
/// wraps and does not clamp.
uint32_t PackKeyWord(const double (&_adblChannels)[4], int32_t _eType);
void UnpackKeyWord(uint32_t _nWord, int32_t _eType, double (&_adblChannels)[4]);

/// At most sixteen keys, and the rules by which further samples change them.
///
/// Sums are formed left to right in IEEE doubles, without contraction: several decisions compare nearly equal sums,
/// and every compiler has to decide them alike. Diagnostics go to the verbose log. Not thread-safe; one owner.
class CKeyCalc
{
public:
    CALC_KEY arrKeys[Z_MAX_KEYS] = {}; ///< only the first nKeys are meaningful
    int32_t nMaxKeys = Z_MAX_KEYS;     ///< allowed number of keys, 1 to 16
    int32_t nKeys = 0;                 ///< keys in use; above nMaxKeys only after FromRaw
    bool bChanged = false;             ///< raised when a key changes; the owner lowers it

    /// Offers a sample: covered, merged, appended or refused. _dblMaxDiff: largest growth of a key, 0 = no limit;
    /// the limit holds even where there is room for a new key.
    eCalcResult AddKey(const CALC_KEY& _key, double _dblMaxDiff, bool _bWeightedSize);
    /// Appends while there is room (whatever the index), else replaces key _nIndex; another index changes nothing.
    void SetKey(const CALC_KEY& _key, int32_t _nIndex);
    /// What AddKey decides by. Not a query: it counts hits, merges, and replaces a key that lies in the sample.
    eCalcResult IsSimilar(const CALC_KEY& _key, double _dblMaxDiff, bool _bWeightedSize);
    /// Merges keys until at most _nKeys (above 0) are left. Reducing to one keeps the centre of key 0.
    void ReduceKeys(int32_t _nKeys);
    /// Sets the allowed number of keys, clamped to 1 to 16, and merges what is above it.
    void SetMaxKeys(int32_t _nKeys);
    /// Clamps the colour half-widths of every key; the alpha half-width stays on purpose.
    void ClampDeltas(double _dblLower, double _dblUpper);
    /// Moves the colour centres of every key toward a colour (in channel order), by the fraction _dblFactor.
    void BlendValues(const double (&_adblColor)[3], double _dblFactor);
    /// Appends the keys to a raw set, packed for its type; what does not fit into sixteen is left out. Fields of an
    /// entry other than value, delta and reverse switch stay as they are.
    void ToRaw(CHROMA_KEY_RAW* _pRaw, bool _bReverse) const;
    /// Loads the ordinary or the exclusion keys of a raw set. An entry of the other kind counts as well and leaves the
    /// old content of its slot, which keeps indices aligned with the raw set.
    void FromRaw(const CHROMA_KEY_RAW& _raw, bool _bReverse);

    /// "[R:0.500(0.004) G:... B:... A:...]": centre and half-width per channel, labelled so whatever the key type.
    static std::string FormatKey(const CALC_KEY& _key);

private:
    double MergeCost(const CALC_KEY& _keyNew, CALC_KEY* _pKey, bool _bWeightedSize, double* _pdblNewSize);
    int32_t NearestKey(const CALC_KEY& _keyNew, int32_t _nCount);
};

} // namespace CKUtils
