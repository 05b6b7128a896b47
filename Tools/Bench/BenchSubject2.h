#pragma once

#include "Bench/BenchSubject.h"

/// What a case of the second generation measures. The ring is borrowed. Throws CZHostError.
std::unique_ptr<CBenchSubject> BenchSubject2_Make(const BENCH_CASE& _case, const BENCH_RING& _ring);
/// What Answer of these has to be: the same with the plain kernels, on one thread.
std::vector<uint8_t> BenchSubject2_PlainAnswer(const BENCH_CASE& _case, const BENCH_RING& _ring);
