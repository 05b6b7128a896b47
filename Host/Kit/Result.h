#pragma once

#include "Interfaces/ZPlatform.h"

#include <string>

/// A result code in words, with its number: "out of memory (hr=8007000E)"; the number alone where there are no words.
std::string Result_Text(HRESULT _hr);

/// Throws CZHostError where a call failed, with the reason that was logged, else with the result code in words.
/// _strWhat: what was tried and with what.
void Result_Check(HRESULT _hr, const std::string& _strWhat);
