#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Bytes as text: base64 of RFC 4648, section 4, padded, in one piece.

std::string Base64_Write(std::span<const uint8_t> _spanBytes);

/// Takes no text but what Base64_Write makes: false for blanks, other characters, missing padding, and bits that are
/// left over and not 0.
bool Base64_Read(std::string_view _svText, std::vector<uint8_t>* _pvecBytes);
