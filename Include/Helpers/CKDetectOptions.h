#pragma once

#include "Interfaces/ChromaKeyTypes.h"
#include "Interfaces/ZPlatform.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace CKUtils
{

/// What the names of detection options begin with where those of others may stand beside them.
inline constexpr char c_szDetectPrefix[] = "detect.";

/// What automatic detection is told. Option names: those given here, with or without c_szDetectPrefix; the long name
/// goes first.
struct CK_DETECT_OPTIONS
{
    eCK_Type eType = eCKT_Auto; ///< "type": key type to detect for; Auto: the key's own
    int32_t nMaxKeys = 0;       ///< "max_keys": allowed keys; below 1 acts as 1
    int32_t nBlocks = 48;       ///< "blocks": the picture is cut into n x n blocks
    int32_t nThreshold = 16;    ///< "threshold": flatness, in levels
    double dblKeyDiff = 1.0;    ///< "key_diff": greatest growth of a key; 0 = no limit
    double dblSimilarity = 0.8; ///< "similarity": pull toward the pure backdrop colour, 0 to 1
    double dblBorders = 0.1;    ///< "borders": fraction of the grid left out on every side
    bool bShowBlocks = false;   ///< "show_blocks": mark the examined blocks in the picture
    bool bFit = false;          ///< "fit": the owner fits keys to the picture; the search itself does not read it
};

/// One detection option, as the documentation and command lines list it.
struct CK_DETECT_OPTION
{
    const char* pszName;                                                      ///< without c_szDetectPrefix
    const char* pszDefault;                                                   ///< as text
    const char* pszRight;                                                     ///< which values are right
    const char* pszHelp;                                                      ///< what it does, one sentence
    bool (*pfnRead)(std::string_view _svValue, CK_DETECT_OPTIONS* _pOptions); ///< false: a wrong value
};

/// All detection options.
std::span<const CK_DETECT_OPTION> DetectOptions_Table();

/// Reads options from "name=value" pairs (Props/PropPairs.h). Fields that are not named keep their values, so options
/// can be laid over others. E_INVALIDARG: a name that is no option, or a value that cannot be read; the log names it
/// and says what is possible, and nothing is changed.
HRESULT DetectOptions_Read(std::string_view _svProps, CK_DETECT_OPTIONS* _pOptions);

/// "rgb", "hls", "yuv", "auto" (any case), or the number of an eCK_Type that can be keyed. False: something else.
bool KeyType_FromText(std::string_view _svText, eCK_Type* _peType);

} // namespace CKUtils
