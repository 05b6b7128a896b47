#pragma once

#include "Bench/BenchCase.h"
#include "Bench/BenchRing.h"

#include <memory>

/// Something that is done to one frame after the other.
class CBenchSubject
{
public:
    CBenchSubject() = default;
    virtual ~CBenchSubject() = default;
    CBenchSubject(const CBenchSubject&) = delete;
    CBenchSubject& operator=(const CBenchSubject&) = delete;

    /// Does it to the next frame of the ring.
    virtual void Next() = 0;
    /// What the plain path makes, too, rows without padding: the first generation's mask of the ring's first frame, or
    /// the second's pixels of the second frame, where nothing was keyed before. Empty where there is no such thing.
    virtual std::vector<uint8_t> Answer()
    {
        return {};
    }
    /// Second generation: the share of the last frame that was mixed, 0 to 1.
    virtual double Mixed()
    {
        return 0;
    }
    /// Typical seconds of the steps, as c_arrBenchSteps names them. Empty where it has none.
    virtual std::vector<double> StepSeconds()
    {
        return {};
    }
};

/// What a case measures. The ring is borrowed. Throws CZHostError.
std::unique_ptr<CBenchSubject> BenchSubject_Make(const BENCH_CASE& _case, const BENCH_RING& _ring);
/// What it is measured against; null: only the streaming pass.
std::unique_ptr<CBenchSubject> BenchSubject_MakeReference(const BENCH_CASE& _case, const BENCH_RING& _ring);
/// The keys of a case.
CHROMA_KEY_RAW BenchSubject_Keys(const BENCH_CASE& _case, const BENCH_RING& _ring);
