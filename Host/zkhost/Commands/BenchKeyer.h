#pragma once

#include "Bench/BenchRing.h"
#include "Kit/Keyer.h"

#include <memory>
#include <string>

/// What "zkhost bench" was told to measure.
struct BENCH_COMMAND
{
    std::string strSize = "1920x1080";
    std::string strFormat = "RGB32";
    int nKeyer = 0; ///< 0: not said
    int nKeys = 1;
    int nThreads = 1;
    bool bGPU = false;
    int nWidth = 0;
    int nHeight = 0;
    bool bLatency = false;
    int nFrames = 10000; ///< of which the latency is measured
    int nSpin = 0;       ///< threads that only keep cores busy, and nothing else
    uint32_t fccType = 0;
};

/// Keys the frames of a scene, one after the other, through the plug-in module, as a host would.
class CZBenchKeyer
{
public:
    virtual ~CZBenchKeyer() = default;
    CZBenchKeyer(const CZBenchKeyer&) = delete;
    CZBenchKeyer& operator=(const CZBenchKeyer&) = delete;

    /// Hands the next frame in and answers a result: its own, or with the output thread that of the frame before.
    CZPtr<IZFFrame> PushNext()
    {
        return m_keyer.Push(m_arrFrames[m_nNext++ % m_arrFrames.size()].Get());
    }
    /// Switches the output thread; it is off at first.
    void ThreadSet(bool _bOn);
    /// What is measured, as lines of the report.
    virtual std::string WhatText() const = 0;
    /// Keys all frames once more and looks at their masks: lines of the report about them. Throws CZHostError where one
    /// is not what it has to be.
    virtual std::string CheckText() = 0;

protected:
    CZBenchKeyer(const BENCH_COMMAND& _command, const CLSID& _clsid);
    /// The mask of the n-th frame, keyed now.
    PICTURE MaskOf(size_t _nFrame);

    CZKeyer m_keyer;
    BENCH_RING m_arrFrames;

private:
    size_t m_nNext = 0;
};

/// The least width and height that a generation is measured with: in smaller pictures there is no backdrop without
/// something near.
int BenchKeyer_LeastSide(int _nKeyer);

/// One of the generation that the command asks for, which is 1 or 2 now.
std::unique_ptr<CZBenchKeyer> BenchKeyer_Make(const BENCH_COMMAND& _command);
