#pragma once

#include <charconv>
#include <string_view>
#include <system_error>
#include <type_traits>

/// Numbers from text, the same in every locale: '-' and digits; floating-point types also take a decimal point and an
/// exponent, "inf" and "nan". No blanks, no '+'. A number that the type cannot hold is refused, never cut. Nothing is
/// allocated; on false the arguments stay what they were.

/// Takes a number off the front of a text. _nBase: of whole numbers, 2 to 36.
template <class T> bool ZNumber_Take(std::string_view* _psvText, T* _pValue, int _nBase = 10)
{
    const char* const pBegin = _psvText->data();
    const char* const pEnd = pBegin + _psvText->size();
    T value{};
    std::from_chars_result result;
    if constexpr (std::is_floating_point_v<T>)
        result = std::from_chars(pBegin, pEnd, value);
    else
        result = std::from_chars(pBegin, pEnd, value, _nBase);
    if (result.ec != std::errc())
        return false;
    _psvText->remove_prefix(static_cast<size_t>(result.ptr - pBegin));
    *_pValue = value;
    return true;
}

/// Reads a text that is a number and nothing else.
template <class T> bool ZNumber_Read(std::string_view _svText, T* _pValue, int _nBase = 10)
{
    T value{};
    if (!ZNumber_Take(&_svText, &value, _nBase) || !_svText.empty())
        return false;
    *_pValue = value;
    return true;
}
