#pragma once

#include <span>
#include <string_view>
#include <utility>
#include <vector>

/// A set of parameters of the second generation for a kind of scene: those that are not named are at their defaults.
struct PRESET
{
    const char* pszName;
    const char* pszHelp;
    std::vector<std::pair<const char*, double>> vecParams;
};

std::span<const PRESET> Presets_All();
/// Null: there is none of that name.
const PRESET* Presets_Find(std::string_view _svName);
/// Whether a preset sets a parameter. The others say how the present is looked at, or what the picture itself is.
bool Presets_HasParam(std::string_view _svParam);
