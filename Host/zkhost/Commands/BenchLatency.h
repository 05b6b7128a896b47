#pragma once

#include "zkhost/Commands/BenchKeyer.h"

/// Prints how long it takes from a frame's being handed in to its result's being handed out: median, the time that 99 %
/// kept to, and the worst, for the generation that the command names or for both; with the output thread off and on;
/// alone, and beside a process that keeps all cores busy but one. Frames are handed in one after the other, as fast as
/// the module takes them.
void BenchLatency_Run(const BENCH_COMMAND& _command);

/// What that process does: spins on so many threads until standard input ends, which it does with the process that
/// started it, whatever becomes of that.
void BenchLatency_Spin(int _nThreads);
