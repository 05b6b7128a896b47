#include "Bench/BenchSubject.h"

#include "Bench/BenchSubject2.h"
#include "Bench/LibYuv.h"
#include "Bench/RingPlanes.h"
#include "Interfaces/ZOptionNames.h"
#include "Kit/Keyer.h"
#include "Kit/Result.h"

#include "Base/ZHelpers.h"
#include "Video/ZConverter.h"
#include "ZChromaKey/Engine1/ChromaKey.h"

#include <cstdlib>

namespace
{

constexpr uint32_t c_nFigure = 0x3C32C8; // what exclusion keys protect: the red of the right half, R lowest

class CEngineSubject : public CBenchSubject
{
public:
    CEngineSubject(const BENCH_CASE& _case, const BENCH_RING& _ring)
        : m_planes(_ring)
        , m_rawKey(BenchSubject_Keys(_case, _ring))
        , m_nPixels(static_cast<size_t>(_case.nWidth) * static_cast<size_t>(_case.nHeight))
        , m_ringMasks(BenchRing_Make(eZFCC_RGB8, m_planes.vidProps.nWidth, std::abs(m_planes.vidProps.nHeight)))
    {
        m_planes.vidProps.nWidth = _case.nWidth; // of a hand-over: a corner of the picture
        m_planes.vidProps.nHeight = m_planes.vidProps.nHeight < 0 ? -_case.nHeight : _case.nHeight;
        m_engine.ThreadsSet(static_cast<uint32_t>(_case.nThreads));
    }
    void Next() override
    {
        Key(m_planes.Next());
    }
    std::vector<uint8_t> Answer() override
    {
        Key(0);
        const uint8_t* const pMask = BenchRing_Bytes(m_ringMasks[0].Get());
        return {pMask, pMask + m_nPixels}; // rows have no padding: widths are multiples of 16
    }

private:
    void Key(size_t _nFrame)
    {
        Result_Check(m_engine.ProcessFrame(&m_planes.vecPtr[_nFrame], BenchRing_Bytes(m_ringMasks[_nFrame].Get()),
                                           &m_planes.vidProps, &m_rawKey),
                     "keying a frame");
    }
    RING_PLANES m_planes;
    CHROMA_KEY_RAW m_rawKey;
    size_t m_nPixels;
    BENCH_RING m_ringMasks;
    CChromaKey m_engine;
};

class CPlugInSubject : public CBenchSubject
{
public:
    CPlugInSubject(const BENCH_CASE& _case, const BENCH_RING& _ring)
        : m_ring(_ring)
    {
        m_keyer.OptionSet(c_szOptionThread, "false");
        m_keyer.OptionSet(c_szOptionGPUMode, "0");
        m_keyer.OptionSet(c_szOptionThreads, std::to_string(_case.nThreads));
        CHROMA_KEY_RAW rawKey = BenchSubject_Keys(_case, _ring);
        Result_Check(m_keyer.Key()->KeyRawSet(&rawKey, nullptr), "setting the keys");
    }
    void Next() override
    {
        m_nNext = (m_nNext + 1) % m_ring.size();
        m_keyer.Process(m_ring[m_nNext].Get(), m_fnIgnore);
    }
    std::vector<uint8_t> Answer() override
    {
        PICTURE mask;
        m_keyer.Process(m_ring[0].Get(), [&](IZFFrame* _pResult) { Picture_FromMask(_pResult, mask); });
        return mask.vecPixels;
    }

private:
    const BENCH_RING& m_ring;
    CZKeyer m_keyer;
    size_t m_nNext = 0;
    const std::function<void(IZFFrame*)> m_fnIgnore = [](IZFFrame*) {};
};

/// Converts every frame of the ring into a picture of its own.
class CConvertSubject : public CBenchSubject
{
public:
    using PFN_CONVERT = HRESULT (*)(const ZF_VID_PROPS&, const ZF_VID_PTR&, const ZF_VID_PROPS&, const ZF_VID_PTR&);

    CConvertSubject(const BENCH_CASE& _case, const BENCH_RING& _ring, PFN_CONVERT _pfnConvert)
        : m_planes(_ring)
        , m_ringResult(BenchRing_Make(eZFCC_RGB32, _case.nWidth, _case.nHeight))
        , m_results(m_ringResult)
        , m_pfnConvert(_pfnConvert)
    {
    }
    void Next() override
    {
        const size_t nFrame = m_planes.Next();
        Result_Check(
            m_pfnConvert(m_planes.vidProps, m_planes.vecPtr[nFrame], m_results.vidProps, m_results.vecPtr[nFrame]),
            "converting a frame");
    }

private:
    RING_PLANES m_planes;
    BENCH_RING m_ringResult;
    RING_PLANES m_results;
    PFN_CONVERT m_pfnConvert;
};

} // namespace

CHROMA_KEY_RAW BenchSubject_Keys(const BENCH_CASE& _case, const BENCH_RING& _ring)
{
    ZF_VID_PROPS vidProps = {};
    Result_Check(_ring[0]->VideoPropsGet(&vidProps), "looking at a frame");
    CHROMA_KEY_RAW rawKey = KeyScene_Keys(vidProps, _case.eType, _case.nKeys);
    rawKey.nEdgesSmooth = _case.nSmooth;
    rawKey.bColorCancel = _case.bClean;
    for (int i = 0; _case.bClean && i < _case.nKeys; ++i)
    {
        rawKey.arrKeys[i].nCancelPower = 64;
        rawKey.arrKeys[i].nCancelAlpha = -64; // ends about where the push does
    }
    for (int i = _case.nKeys - _case.nExclude; i < _case.nKeys; ++i)
    {
        rawKey.arrKeys[i].nReverseKey = 1;
        rawKey.arrKeys[i].nValue = c_nFigure;
    }
    return rawKey;
}

std::unique_ptr<CBenchSubject> BenchSubject_Make(const BENCH_CASE& _case, const BENCH_RING& _ring)
{
    if (_case.nGeneration == 2)
        return BenchSubject2_Make(_case, _ring);
    switch (_case.eSubject)
    {
    case eBSub_Convert:
        return std::make_unique<CConvertSubject>(_case, _ring, ZConvert_Frame);
    case eBSub_PlugIn:
        return std::make_unique<CPlugInSubject>(_case, _ring);
    default:
        return std::make_unique<CEngineSubject>(_case, _ring);
    }
}

std::unique_ptr<CBenchSubject> BenchSubject_MakeReference(const BENCH_CASE& _case, const BENCH_RING& _ring)
{
    if (_case.eSubject == eBSub_Convert)
        return std::make_unique<CConvertSubject>(_case, _ring, LibYuv_ToBGRA);
    BENCH_CASE other = _case;
    other.eSubject = eBSub_Engine;
    switch (_case.eAsk)
    {
    case eBA_PerKey:
        other.nKeys = 1;
        break;
    case eBA_Faster:
        other.nThreads = 1;
        break;
    case eBA_Over:
    case eBA_Times:
        break;
    default:
        return nullptr;
    }
    if (_case.nGeneration == 2)
        return BenchSubject2_Make(other, _ring);
    return std::make_unique<CEngineSubject>(other, _ring);
}
