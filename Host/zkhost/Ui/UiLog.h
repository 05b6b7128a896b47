#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Warnings and errors of this program and the module, for standard error and for the page.

/// Begins to keep them; the newest of them stay.
void UiLog_Begin();
std::vector<std::string> UiLog_Lines();
/// How many there have been.
int64_t UiLog_Count();
