#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Texts to values and back, the same in every locale.
///
/// Readers take the whole text, blanks around it aside, and allocate nothing. They answer false and leave the result
/// alone when the text is anything else.

/// Four whole numbers: a rectangle, or the widths of four borders.
struct PROP_RECT
{
    int32_t nLeft;
    int32_t nTop;
    int32_t nRight;
    int32_t nBottom;
    bool operator==(const PROP_RECT&) const = default;
};

/// The text without the blanks (space, tab, line ends) around it.
std::string_view PropText_Trim(std::string_view _svText);

/// A text in quotes for a message; a long one is cut, between two characters.
std::string PropText_Quote(std::string_view _svText);

/// A decimal whole number with an optional sign. One that does not fit is refused, never cut.
bool PropText_ReadInt(std::string_view _svText, int64_t* _pnValue);
bool PropText_ReadInt32(std::string_view _svText, int32_t* _pnValue);
/// A decimal number, "-12", "0.5", "1e-3"; a comma, "inf" and "nan" are refused, and so is what a double cannot hold.
bool PropText_ReadDouble(std::string_view _svText, double* _pdblValue);
/// true, yes, on, false, no, off in any case; or a whole number, of which 0 is false.
bool PropText_ReadBool(std::string_view _svText, bool* _pbValue);
/// Left, top, right, bottom as four whole numbers, with a comma, blanks or both between them: "10,20,10,20".
bool PropText_ReadRect(std::string_view _svText, PROP_RECT* _pRect);

std::string PropText_FromInt(int64_t _nValue);
std::string PropText_FromUInt(uint64_t _nValue);
/// The shortest text that reads back as the same double. Infinity and "nan" come out as such and do not read back.
std::string PropText_FromDouble(double _dblValue);
/// "true" or "false".
const char* PropText_FromBool(bool _bValue);
