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
    /// The mask that Next makes of the ring's first frame, rows without padding. Empty where there is none.
    virtual std::vector<uint8_t> Mask()
    {
        return {};
    }
};

/// What a case measures. The ring is borrowed. Throws CZHostError. Null: of another program.
std::unique_ptr<CBenchSubject> BenchSubject_Make(const BENCH_CASE& _case, const BENCH_RING& _ring);
/// What it is measured against; null: only the streaming pass.
std::unique_ptr<CBenchSubject> BenchSubject_MakeReference(const BENCH_CASE& _case, const BENCH_RING& _ring);
/// The keys of a case.
CHROMA_KEY_RAW BenchSubject_Keys(const BENCH_CASE& _case, const BENCH_RING& _ring);
