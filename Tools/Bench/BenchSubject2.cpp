#include "Bench/BenchSubject2.h"

#include "Bench/BenchTimes.h"
#include "Bench/MixedScene.h"
#include "Bench/RingPlanes.h"
#include "Interfaces/ZOptionNames.h"
#include "Kit/Keyer.h"
#include "Kit/Result.h"

#include "Image/ImgPlane.h"
#include "ZChromaKey/Engine2/Unmix.h"
#include "ZChromaKey/Engine2/UnmixEngine.h"
#include "ZChromaKey/Keys2/KeySet2.h"

#include <array>
#include <cstdlib>

namespace
{

using CLOCK = std::chrono::steady_clock;

constexpr double c_dblShadows = 60;

static_assert(std::size(c_arrBenchSteps) == eUS_Count);

CHROMA_KEY2_RAW KeyOf(const BENCH_CASE& _case)
{
    CHROMA_KEY2_RAW key = KeySet2_Empty();
    const auto& [nRed, nGreen, nBlue] = c_arrMixedScreen;
    Result_Check(KeySet2_KeyAdd({double{nRed}, double{nGreen}, double{nBlue}}, &key), "making the key");
    key.params.dblShadows = _case.bShadows ? c_dblShadows : 0;
    return key;
}

UNMIX_SETUP SetupOf(const BENCH_CASE& _case)
{
    UNMIX_SETUP setup;
    setup.params = UnmixParams_Of(KeyOf(_case).params);
    for (int c = 0; c < 3; ++c)
        setup.arrKeys[0].arrBGR[c] = static_cast<float>(c_arrMixedScreen[2 - c]);
    setup.nKeys = 1;
    return setup;
}

/// The pixels of an ARGB32 picture.
std::vector<uint8_t> BytesOf(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr)
{
    std::vector<uint8_t> vecBytes;
    for (int y = 0; y < std::abs(_vidProps.nHeight); ++y)
    {
        const uint8_t* const pRow = Img_RowOf(_vidPtr, 0, y);
        vecBytes.insert(vecBytes.end(), pRow, pRow + ptrdiff_t{4} * _vidProps.nWidth);
    }
    return vecBytes;
}

/// The engine as the frame path calls it.
class CUnmixSubject final : public CBenchSubject
{
public:
    CUnmixSubject(const BENCH_CASE& _case, const BENCH_RING& _ring)
        : m_planes(_ring)
        , m_ringResults(BenchRing_Make(eZFCC_ARGB32, _case.nWidth, _case.nHeight))
        , m_ringMasks(BenchRing_Make(eZFCC_RGB8, _case.nWidth, _case.nHeight))
        , m_results(m_ringResults)
        , m_nThreads(static_cast<uint32_t>(_case.nThreads))
    {
        m_settings.key = KeyOf(_case);
    }
    void Next() override
    {
        Key(m_planes.Next());
    }
    std::vector<uint8_t> Answer() override
    {
        Key(0);
        Key(1);
        return BytesOf(m_results.vidProps, m_results.vecPtr[1]);
    }
    double Mixed() override
    {
        CHROMA_KEY2_STATS stats = {};
        m_engine.StatsGet(&stats);
        return stats.dblMixed;
    }

private:
    void Key(size_t _nFrame)
    {
        ENGINE_JOB job = {};
        job.source = {m_planes.vidProps, m_planes.vecPtr[_nFrame]};
        job.result = {m_results.vidProps, m_results.vecPtr[_nFrame]};
        job.bWrite = true;
        job.pbMask = BenchRing_Bytes(m_ringMasks[_nFrame].Get());
        job.eMatrix = Img_MatrixOf(m_planes.vidProps);
        job.nThreads = m_nThreads;
        Result_Check(m_engine.Process(job, EngineSettings_Of(m_settings)), "keying a frame");
    }
    RING_PLANES m_planes;
    BENCH_RING m_ringResults;
    BENCH_RING m_ringMasks;
    RING_PLANES m_results;
    uint32_t m_nThreads;
    UNMIX_SETTINGS m_settings = {};
    CUnmixEngine m_engine;
};

/// Runs passes on the calling thread, in the parts that one worker of a pool takes, and knows how long steps take.
class CStepRunner final : public IRowRunner
{
public:
    void Run(int _nRows, int _nLeast, const CRowPass& _pass) override
    {
        for (int nFirst = 0; nFirst < _nRows; nFirst += _nLeast)
            _pass(nFirst, std::min(_nLeast, _nRows - nFirst));
    }
    void Step(eUnmixStep _eStep) override
    {
        const auto timeNow = CLOCK::now();
        m_arrSeconds[m_eStep] += std::chrono::duration<double>(timeNow - m_timeBegin).count();
        m_timeBegin = timeNow;
        m_eStep = _eStep;
    }
    /// Before a frame; what comes before its first step counts as of it.
    void Begin()
    {
        m_arrSeconds = {};
        m_eStep = eUS_Cells;
        m_timeBegin = CLOCK::now();
    }
    /// After it: seconds by step.
    const std::array<double, eUS_Count>& End()
    {
        Step(eUS_Cells);
        return m_arrSeconds;
    }

private:
    std::array<double, eUS_Count> m_arrSeconds = {};
    eUnmixStep m_eStep = eUS_Cells;
    CLOCK::time_point m_timeBegin;
};

/// The engine's steps alone, without the mask that the frame path asks for besides.
class CStepsSubject final : public CBenchSubject
{
public:
    CStepsSubject(const BENCH_CASE& _case, const BENCH_RING& _ring)
        : m_planes(_ring)
        , m_ringResults(BenchRing_Make(eZFCC_ARGB32, _case.nWidth, _case.nHeight))
        , m_results(m_ringResults)
        , m_setup(SetupOf(_case))
    {
    }
    void KernelsSet(const UNMIX_KERNELS* _pKernels)
    {
        m_state.pKernels = _pKernels;
    }
    void Next() override
    {
        Key(m_planes.Next());
    }
    std::vector<uint8_t> Answer() override
    {
        Key(0);
        Key(1);
        m_arrTimes = {};
        return BytesOf(m_results.vidProps, m_results.vecPtr[1]);
    }
    double Mixed() override
    {
        return Unmix_Stats(m_state).fltMixed;
    }
    std::vector<double> StepSeconds() override
    {
        std::vector<double> vecSeconds;
        for (CZBenchTimes& times : m_arrTimes)
            vecSeconds.push_back(times.Typical());
        return vecSeconds;
    }

private:
    void Key(size_t _nFrame)
    {
        const ZF_VID_PTR& vidPtr = m_results.vecPtr[_nFrame];
        m_runner.Begin();
        Result_Check(Unmix_Frame(m_state, m_setup, {m_planes.vidProps, m_planes.vecPtr[_nFrame]},
                                 {Img_RowOf(vidPtr, 0, 0), vidPtr.cbVideoRowBytes[0]}, m_runner),
                     "keying a frame");
        const auto& arrSeconds = m_runner.End();
        for (size_t n = 0; n < eUS_Count; ++n)
            m_arrTimes[n].Add(arrSeconds[n]);
    }
    RING_PLANES m_planes;
    BENCH_RING m_ringResults;
    RING_PLANES m_results;
    UNMIX_SETUP m_setup;
    UNMIX_STATE m_state;
    CStepRunner m_runner;
    std::array<CZBenchTimes, eUS_Count> m_arrTimes;
};

class CPlugIn2Subject final : public CBenchSubject
{
public:
    CPlugIn2Subject(const BENCH_CASE& _case, const BENCH_RING& _ring)
        : m_ring(_ring)
        , m_keyer(CZModule::Own(), CLSID_ZChromaKey2)
    {
        m_keyer.OptionSet(c_szOptionThread, "false");
        m_keyer.OptionSet(c_szOptionGPUMode, "0");
        m_keyer.OptionSet(c_szOptionARGB, "true");
        m_keyer.OptionSet(c_szOptionThreads, std::to_string(_case.nThreads));
        const CHROMA_KEY2_RAW key = KeyOf(_case);
        Result_Check(m_keyer.Key2()->KeyRawSet(&key), "setting the key");
    }
    void Next() override
    {
        m_nNext = (m_nNext + 1) % m_ring.size();
        m_keyer.Push(m_ring[m_nNext].Get());
    }
    std::vector<uint8_t> Answer() override
    {
        m_keyer.Push(m_ring[0].Get());
        const CZPtr<IZFFrame> cpResult = m_keyer.Push(m_ring[1].Get());
        ZF_VID_PROPS vidProps = {};
        ZF_VID_PTR vidPtr = {};
        Result_Check(cpResult->VideoPropsGet(&vidProps), "looking at the result");
        Result_Check(cpResult->VideoPtrGet(eZFP_Flip, &vidPtr), "reading the result");
        return BytesOf(vidProps, vidPtr);
    }
    double Mixed() override
    {
        CHROMA_KEY2_STATS stats = {};
        Result_Check(m_keyer.Key2()->StatsGet(&stats), "asking for statistics");
        return stats.dblMixed;
    }

private:
    const BENCH_RING& m_ring;
    CZKeyer m_keyer;
    size_t m_nNext = 0;
};

} // namespace

std::unique_ptr<CBenchSubject> BenchSubject2_Make(const BENCH_CASE& _case, const BENCH_RING& _ring)
{
    if (_case.eSubject == eBSub_Steps)
        return std::make_unique<CStepsSubject>(_case, _ring);
    if (_case.eSubject == eBSub_PlugIn)
        return std::make_unique<CPlugIn2Subject>(_case, _ring);
    return std::make_unique<CUnmixSubject>(_case, _ring);
}

std::vector<uint8_t> BenchSubject2_PlainAnswer(const BENCH_CASE& _case, const BENCH_RING& _ring)
{
    UNMIX_KERNELS kernels;
    UnmixKernels_Init(&kernels, eSIMD_None);
    CStepsSubject subject(_case, _ring);
    subject.KernelsSet(&kernels);
    return subject.Answer();
}
