#include "zkhost/Commands/BenchKeyer.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "Sample/KeyScene.h"
#include "Sample/SampleScene.h"

#include "Base/ZLog.h"

namespace
{

/// Alpha of the sample scene is off by less than half of this in every format and size that is measured; without a key
/// it would be above 500.
constexpr double c_dblMostError = 6;

/// The first generation keys the stripes of a scene whose one right mask is known.
class CZBenchKeyer1 final : public CZBenchKeyer
{
public:
    explicit CZBenchKeyer1(const BENCH_COMMAND& _command)
        : CZBenchKeyer(_command, CLSID_ZChromaKey)
        , m_nKeys(_command.nKeys)
    {
        m_arrFrames = BenchRing_OfScene(KeyScene_Picture(_command.nWidth, _command.nHeight, m_nKeys), _command.fccType);
        ZF_VID_PROPS vidProps = {};
        Result_Check(m_arrFrames[0]->VideoPropsGet(&vidProps), "looking at the first frame");
        m_keys = KeyScene_Keys(vidProps, KeyScene_Type(_command.fccType), m_nKeys);
        Result_Check(m_keyer.Key()->KeyRawSet(&m_keys, nullptr), "setting the keys");
    }
    std::string WhatText() const override
    {
        return ZFormat("keyer\t1\nkeys\t%d\ntype\t%hs\n", m_nKeys, m_keys.eType == eCKT_RGB ? "rgb" : "yuv");
    }
    std::string CheckText() override
    {
        for (size_t i = 0; i < m_arrFrames.size(); ++i)
            KeyScene_Check(MaskOf(i), m_nKeys);
        return "mask\tright\n";
    }

private:
    int m_nKeys;
    CHROMA_KEY_RAW m_keys = {};
};

/// The second generation learns from what changes: it keys a scene that moves, with hair, a veil and motion blur, whose
/// true alpha is known.
class CZBenchKeyer2 final : public CZBenchKeyer
{
public:
    explicit CZBenchKeyer2(const BENCH_COMMAND& _command)
        : CZBenchKeyer(_command, CLSID_ZChromaKey2)
    {
        SAMPLE_SCENE scene;
        scene.nWidth = _command.nWidth;
        scene.nHeight = _command.nHeight;
        const CZSampleScene painter(scene);
        m_keyer.OptionSet(c_szOptionARGB, "true");
        PICTURE picture;
        m_vecTruths.resize(BenchRing_Count(_command.nWidth, _command.nHeight));
        for (PICTURE& truth : m_vecTruths)
        {
            painter.Paint(static_cast<int64_t>(m_arrFrames.size()), picture, truth);
            m_arrFrames.push_back(KeyScene_Frame(picture, _command.fccType));
        }
        IZChromaKey2* const pKey = m_keyer.Key2();
        Result_Check(pKey->FrameSet(m_arrFrames[0].Get()), "handing over the first frame");
        if (pKey->KeyAuto() != S_OK)
            throw CZHostError(ZFormat("no backdrop was found in the scene of %d x %d; measure a larger one",
                                      _command.nWidth, _command.nHeight));
        Result_Check(pKey->FrameSet(nullptr), "taking the first frame back");
    }
    std::string WhatText() const override
    {
        return "keyer\t2\n";
    }
    std::string CheckText() override
    {
        double dblMixed = 0, dblError = 0;
        const size_t nFrames = m_arrFrames.size();
        for (size_t i = 0; i < nFrames; ++i)
        {
            CHROMA_KEY2_STATS stats = {};
            dblError += ErrorOf(MaskOf(i), m_vecTruths[i]) / static_cast<double>(nFrames);
            Result_Check(m_keyer.Key2()->StatsGet(&stats), "asking for statistics");
            dblMixed += stats.dblMixed / static_cast<double>(nFrames);
        }
        if (!(dblError <= c_dblMostError))
            throw CZHostError(ZFormat("alpha is off by %.1f, at most %.1f is right; measuring it means nothing",
                                      dblError, c_dblMostError));
        return ZFormat("mixed\t%.1f %%\nalpha error\t%.2f (mean square x 1000)\n", 100 * dblMixed, dblError);
    }

private:
    /// Mean square of the difference, opaque as 1, times 1000.
    static double ErrorOf(const PICTURE& _mask, const PICTURE& _truth)
    {
        double dblSum = 0;
        for (size_t n = 0; n < _truth.vecPixels.size(); ++n)
        {
            const double dblOff = (_mask.vecPixels.at(n) - _truth.vecPixels[n]) / 255.0;
            dblSum += dblOff * dblOff;
        }
        return 1000 * dblSum / static_cast<double>(_truth.vecPixels.size());
    }

    std::vector<PICTURE> m_vecTruths;
};

} // namespace

CZBenchKeyer::CZBenchKeyer(const BENCH_COMMAND& _command, const CLSID& _clsid)
    : m_keyer(CZModule::Own(), _clsid)
{
    ThreadSet(false);
    m_keyer.OptionSet(c_szOptionGPUMode, _command.bGPU ? "1" : "0");
    m_keyer.OptionSet(c_szOptionThreads, std::to_string(_command.nThreads));
}

void CZBenchKeyer::ThreadSet(bool _bOn)
{
    m_keyer.OptionSet(c_szOptionThread, _bOn ? "true" : "false");
}

PICTURE CZBenchKeyer::MaskOf(size_t _nFrame)
{
    PICTURE mask;
    bool bAnswer = false;
    m_keyer.Process(m_arrFrames[_nFrame].Get(),
                    [&](IZFFrame* _pResult) { bAnswer = Picture_FromMask(_pResult, mask); });
    if (!bAnswer)
        throw CZHostError("the module answers without a mask; measuring it means nothing");
    return mask;
}

int BenchKeyer_LeastSide(int _nKeyer)
{
    return _nKeyer == 1 ? c_nKeySceneMinSide : 2 * c_nKeySceneMinSide;
}

std::unique_ptr<CZBenchKeyer> BenchKeyer_Make(const BENCH_COMMAND& _command)
{
    if (_command.nKeyer == 1)
        return std::make_unique<CZBenchKeyer1>(_command);
    return std::make_unique<CZBenchKeyer2>(_command);
}
