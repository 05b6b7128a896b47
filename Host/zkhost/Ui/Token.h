#pragma once

#include <string>
#include <string_view>

/// 32 hexadecimal digits from the system's source of random numbers for secrets. Throws CZHostError where there is
/// none.
std::string Token_Make();

/// Whether two texts are the same; how long it takes says nothing about where they differ.
bool Token_IsSame(std::string_view _svA, std::string_view _svB);
