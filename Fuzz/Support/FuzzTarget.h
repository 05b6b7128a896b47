#pragma once

#include "Support/ByteReader.h"

#include <cstddef>
#include <cstdint>

/// What a fuzz target defines, once per program: the work on one input. Log lines are formatted as usual and dropped.
void FuzzTarget_Run(CByteReader& _in);

/// Says what does not hold, and ends the program, so that the input is kept as a finding.
[[noreturn]] void FuzzTarget_Fail(const char* _pszFile, int _nLine, const char* _pszText);

/// What has to hold for every input.
#define FUZZ_REQUIRE(expr) ((expr) ? static_cast<void>(0) : FuzzTarget_Fail(__FILE__, __LINE__, #expr))

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* _pBytes, size_t _cbBytes);
