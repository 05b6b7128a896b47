#pragma once

#include <cstddef>
#include <string_view>

/// Characters as XML 1.0 has them.

/// The byte where the first character stands that is not valid UTF-8 or that XML cannot hold (control characters other
/// than tab and line ends, U+FFFE, U+FFFF); npos when there is none.
size_t XmlChars_FindBad(std::string_view _svText);

/// Whether XML can hold a character at all.
bool XmlChars_IsLegal(char32_t _ch);

/// The bytes of the name that the text begins with; 0 when it begins with none. The text is valid UTF-8.
size_t XmlChars_NameLength(std::string_view _svText);

/// Whether the whole text is a name.
bool XmlChars_IsName(std::string_view _svText);

/// Space, tab, line feed or carriage return.
bool XmlChars_IsBlank(char _ch);
