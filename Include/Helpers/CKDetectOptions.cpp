#include "Helpers/CKDetectOptions.h"

#include "Base/ZLog.h"
#include "Props/PropPairs.h"
#include "Props/PropText.h"

#include <string>
#include <vector>

namespace CKUtils
{

namespace
{

constexpr char c_szWhole[] = "a whole number of 32 bits";
constexpr char c_szNumber[] = "a number";

bool ReadShare(std::string_view _svValue, double* _pdblValue)
{
    double dblValue = 0;
    if (!PropText_ReadDouble(_svValue, &dblValue) || !(dblValue >= 0 && dblValue <= 1))
        return false;
    *_pdblValue = dblValue;
    return true;
}

constexpr CK_DETECT_OPTION c_arrOptions[] = {
    {"type", "auto", "rgb, hls, yuv or auto", "The key type to detect for; auto: that of the key set.",
     [](auto _sv, auto* _p) { return KeyType_FromText(_sv, &_p->eType); }},
    {"max_keys", "0", c_szWhole,
     "Keys allowed, at most 16; below 1: one, or with detect.fit as many as the light on the backdrop asks for.",
     [](auto _sv, auto* _p) { return PropText_ReadInt32(_sv, &_p->nMaxKeys); }},
    {"blocks", "48", c_szWhole, "The picture is cut into so many blocks along each side.",
     [](auto _sv, auto* _p) { return PropText_ReadInt32(_sv, &_p->nBlocks); }},
    {"threshold", "16", c_szWhole, "How even a block has to be to count, in levels.",
     [](auto _sv, auto* _p) { return PropText_ReadInt32(_sv, &_p->nThreshold); }},
    {"key_diff", "1", c_szNumber, "How far a key may grow to take in a block; 0: without limit.",
     [](auto _sv, auto* _p) { return PropText_ReadDouble(_sv, &_p->dblKeyDiff); }},
    {"similarity", "0.8", "a number from 0 to 1",
     "How far found keys are pulled toward pure green or blue (YUV, without detect.fit).",
     [](auto _sv, auto* _p) { return ReadShare(_sv, &_p->dblSimilarity); }},
    {"borders", "0.1", c_szNumber, "Share of the picture left out along every side.",
     [](auto _sv, auto* _p) { return PropText_ReadDouble(_sv, &_p->dblBorders); }},
    {"show_blocks", "false", "true or false", "Mark the blocks that were examined in the keying frame.",
     [](auto _sv, auto* _p) { return PropText_ReadBool(_sv, &_p->bShowBlocks); }},
    {"fit", "false", "true or false",
     "Fit keys and their soft edges to the light on the backdrop and to the foreground in the picture, and find "
     "nothing "
     "where no screen reaches along its upper border.",
     [](auto _sv, auto* _p) { return PropText_ReadBool(_sv, &_p->bFit); }},
};

/// Whether a name is that of an option, long or short.
bool CheckName(std::string_view _svName)
{
    const std::string_view svShort =
        _svName.starts_with(c_szDetectPrefix) ? _svName.substr(std::size(c_szDetectPrefix) - 1) : _svName;
    std::string strNames;
    for (const CK_DETECT_OPTION& option : c_arrOptions)
    {
        if (svShort == option.pszName)
            return true;
        strNames += ZFormat("%hs%hs", strNames.empty() ? "" : ", ", option.pszName);
    }
    ZLog(eZLog_Error, "There is no detection option \"%hs\"; there are %hs\n", _svName, strNames);
    return false;
}

/// Looks an option up, long name first, and reads it. False: named, but not to be read.
bool ReadOption(const std::vector<PROP_PAIR>& _vecPairs, const CK_DETECT_OPTION& _option, CK_DETECT_OPTIONS* _pOptions)
{
    const PROP_PAIR* pPair = PropPairs_Find(_vecPairs, std::string(c_szDetectPrefix) + _option.pszName);
    if (!pPair)
        pPair = PropPairs_Find(_vecPairs, _option.pszName);
    if (!pPair || _option.pfnRead(pPair->svValue, _pOptions))
        return true;
    ZLog(eZLog_Error, "Detection option \"%hs\" is \"%hs\"; it takes %hs\n", pPair->svName, pPair->svValue,
         _option.pszRight);
    return false;
}

} // namespace

bool KeyType_FromText(std::string_view _svText, eCK_Type* _peType)
{
    struct NAME
    {
        std::string_view svName;
        eCK_Type eType;
    };
    constexpr NAME c_arrNames[] = {{"rgb", eCKT_RGB}, {"hls", eCKT_HLS}, {"yuv", eCKT_YUV}, {"auto", eCKT_Auto},
                                   {"2", eCKT_RGB},   {"3", eCKT_HLS},   {"4", eCKT_YUV},   {"5", eCKT_Auto}};
    for (const NAME& name : c_arrNames)
        if (ZText_IsSame(PropText_Trim(_svText), name.svName))
        {
            *_peType = name.eType;
            return true;
        }
    return false;
}

std::span<const CK_DETECT_OPTION> DetectOptions_Table()
{
    return c_arrOptions;
}

HRESULT DetectOptions_Read(std::string_view _svProps, CK_DETECT_OPTIONS* _pOptions)
{
    std::vector<PROP_PAIR> vecPairs;
    PROP_PAIRS_ERROR error;
    if (!PropPairs_Read(_svProps, &vecPairs, &error))
    {
        ZLog(eZLog_Error, "Detection options \"%hs\", at %d: %hs\n", _svProps, error.nPosition, error.strReason);
        return E_INVALIDARG;
    }
    CK_DETECT_OPTIONS options = *_pOptions;
    for (const PROP_PAIR& pair : vecPairs)
        if (!CheckName(pair.svName))
            return E_INVALIDARG;
    for (const CK_DETECT_OPTION& option : c_arrOptions)
        if (!ReadOption(vecPairs, option, &options))
            return E_INVALIDARG;
    *_pOptions = options;
    return S_OK;
}

} // namespace CKUtils
