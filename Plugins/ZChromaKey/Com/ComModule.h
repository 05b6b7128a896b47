#pragma once

#include <string>

/// The path of the file that this code was loaded from; empty when the system does not say.
std::wstring ComModule_Path();
