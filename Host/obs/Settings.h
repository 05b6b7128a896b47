#pragma once

#include <string>

/// Names in the filter's settings, which the scene collection keeps.
inline constexpr const char* c_szSetFrom = "key_from"; ///< where the keys come from: one of the three below
inline constexpr const char* c_szFromAuto = "auto";
inline constexpr const char* c_szFromColor = "color";
inline constexpr const char* c_szFromPicks = "picks";

inline constexpr const char* c_szSetColor = "key_color"; ///< 0xAABBGGRR, as colour properties have it
inline constexpr const char* c_szSetX = "pick_x";        ///< per cent of the width
inline constexpr const char* c_szSetY = "pick_y";        ///< per cent of the height
inline constexpr const char* c_szSetFile = "keys_file";
inline constexpr const char* c_szSetDocument = "document"; ///< keys and protected colours, as the keyer writes them

/// A parameter of the keyer.
inline std::string Settings_Param(const char* _pszName)
{
    return std::string("param_") + _pszName;
}
