#pragma once

#include <string>

/// What can be said about frames of "WxH@RATE FCC [i|iT|iB|p] [format=NAME]", a line each: name, tab, value. Parts may
/// be left out where a named format gives them. Throws CZUsageError.
std::string Describe_Text(const std::string& _strProps);
