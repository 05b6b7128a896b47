#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The name of a pixel-format code: its four characters where all are printable ("UYVY"), else a name ("ARGB32",
/// "BI_RGB" for 0), else the number ("0x4").
std::string FCC_Name(uint32_t _fccType);

/// The code that a text (UTF-8) names, whatever its case: the usual names ("RGB32", "uyvy", "BI_RGB"), else any four
/// characters of one byte each, case as typed. 0 for anything else. Blanks count. Fewer names are known than
/// FCC_Name prints: "RGB565", "RGB555" and "ARGB1555" give 0.
uint32_t FCC_Parse(std::string_view _svName);
