#pragma once

#include <string>

/// What "--set" takes: the options of the plug-in object and those of detection, out of the module's tables.

/// True for an option of detection, which counts only where a backdrop is searched for.
bool PluginOptions_IsDetection(const std::string& _strName);
/// Throws CZUsageError when there is no such option, or the value is wrong for it.
void PluginOptions_Check(const std::string& _strName, const std::string& _strValue);
