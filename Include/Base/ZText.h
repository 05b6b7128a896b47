#pragma once

#include "Interfaces/ZPlatform.h"

#include <string>
#include <string_view>

/// \name Text, UTF-8 unless it is wide
///@{

/// Conversion between UTF-8 and wide text; what is not valid becomes U+FFFD.
std::string ZText_FromWide(std::wstring_view _wsvText);
std::wstring ZText_ToWide(std::string_view _svText);
/// Hands a text out as a string that the caller frees; E_OUTOFMEMORY and null where there is no memory for it.
HRESULT ZText_HandOut(std::string_view _svText, BSTR* _pbsText);

/// Appends a character: U+0 to U+10FFFF, no surrogate.
void ZText_Append(std::string* _pstrText, char32_t _ch);

/// Whether two texts are the same when A to Z count as a to z.
bool ZText_IsSame(std::string_view _svA, std::string_view _svB);

///@}
