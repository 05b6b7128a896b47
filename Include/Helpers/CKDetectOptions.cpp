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

using PAIRS = std::vector<PROP_PAIR>;

bool IsShare(double _dblValue)
{
    return _dblValue >= 0 && _dblValue <= 1;
}

/// Looks an option up, long name first, and hands it to a reader. False: named, but not to be read.
template <class T, class Reader>
bool ReadOption(const PAIRS& _vecPairs, const char* _pszShort, const char* _pszRight, Reader&& _reader, T* _pValue)
{
    const PROP_PAIR* pPair = PropPairs_Find(_vecPairs, std::string("detect.") + _pszShort);
    if (!pPair)
        pPair = PropPairs_Find(_vecPairs, _pszShort);
    if (!pPair || _reader(pPair->svValue, _pValue))
        return true;
    ZLog(eZLog_Error, "Detection option \"%hs\" is \"%hs\"; it takes %hs\n", pPair->svName, pPair->svValue, _pszRight);
    return false;
}

bool ReadOptions(const PAIRS& _vecPairs, CK_DETECT_OPTIONS* _pOptions)
{
    constexpr char c_szWhole[] = "a whole number";
    constexpr char c_szNumber[] = "a number";
    const auto ReadShare = [](std::string_view _svValue, double* _pdblValue) {
        return PropText_ReadDouble(_svValue, _pdblValue) && IsShare(*_pdblValue);
    };
    return ReadOption(_vecPairs, "type", "rgb, hls, yuv or auto", KeyType_FromText, &_pOptions->eType) &&
           ReadOption(_vecPairs, "max_keys", c_szWhole, PropText_ReadInt32, &_pOptions->nMaxKeys) &&
           ReadOption(_vecPairs, "blocks", c_szWhole, PropText_ReadInt32, &_pOptions->nBlocks) &&
           ReadOption(_vecPairs, "threshold", c_szWhole, PropText_ReadInt32, &_pOptions->nThreshold) &&
           ReadOption(_vecPairs, "key_diff", c_szNumber, PropText_ReadDouble, &_pOptions->dblKeyDiff) &&
           ReadOption(_vecPairs, "similarity", "a number from 0 to 1", ReadShare, &_pOptions->dblSimilarity) &&
           ReadOption(_vecPairs, "borders", c_szNumber, PropText_ReadDouble, &_pOptions->dblBorders) &&
           ReadOption(_vecPairs, "show_blocks", "true or false", PropText_ReadBool, &_pOptions->bShowBlocks);
}

char ToLower(char _ch)
{
    return _ch >= 'A' && _ch <= 'Z' ? static_cast<char>(_ch - 'A' + 'a') : _ch;
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
    std::string strLower(PropText_Trim(_svText));
    for (char& ch : strLower)
        ch = ToLower(ch);
    for (const NAME& name : c_arrNames)
        if (strLower == name.svName)
        {
            *_peType = name.eType;
            return true;
        }
    return false;
}

HRESULT DetectOptions_Read(std::string_view _svProps, CK_DETECT_OPTIONS* _pOptions)
{
    PAIRS vecPairs;
    PROP_PAIRS_ERROR error;
    if (!PropPairs_Read(_svProps, &vecPairs, &error))
    {
        ZLog(eZLog_Error, "Detection options \"%hs\", at %d: %hs\n", _svProps, error.nPosition, error.strReason);
        return E_INVALIDARG;
    }
    CK_DETECT_OPTIONS options = *_pOptions;
    if (!ReadOptions(vecPairs, &options))
        return E_INVALIDARG;
    *_pOptions = options;
    return S_OK;
}

} // namespace CKUtils
