#include "Soak/Soaker.h"

#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "Kit/Tables.h"
#include "Sample/KeyScene.h"
#include "zkhost/Files/OutFile.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Base/ZPixelNames.h"

#include <algorithm>
#include <cstdlib>

namespace
{

constexpr int c_nSceneKeys = 4;
constexpr size_t c_nMostFrames = 40; // pictures: more than a pool keeps, and than are under way at a time

struct SOAK_SIZE
{
    int nWidth;
    int nHeight;
};
constexpr SOAK_SIZE c_arrSizes[] = {{1920, 1080}, {1280, 720}, {720, 576}, {640, 270}, {88, 144}};
constexpr uint32_t c_arrFormats[] = {
    eZFCC_RGB24, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_r210, eZFCC_v210, eZFCC_YUY2, eZFCC_UYVY, eZFCC_HDYC,
    eZFCC_YVYU,  eZFCC_I420,  eZFCC_YV12,   eZFCC_NV12, eZFCC_I422, eZFCC_YV16, eZFCC_Y422, eZFCC_Y444,
};
/// Of the formats with whole pixels: edges of rows that no group of pixels fits.
constexpr SOAK_SIZE c_szOdd = {1001, 563};

PICTURE MaskOf(IZFFrame* _pFrame)
{
    PICTURE mask;
    Picture_FromMask(_pFrame, mask);
    return mask;
}

/// Where two pictures differ first, as text; empty where they do not.
std::string Difference(const PICTURE& _a, const PICTURE& _b, bool _bSizesOnly)
{
    if (_a.nWidth != _b.nWidth || _a.nHeight != _b.nHeight || _a.nChannels != _b.nChannels)
        return ZFormat("is %dx%d instead of %dx%d", _a.nWidth, _a.nHeight, _b.nWidth, _b.nHeight);
    if (_bSizesOnly)
        return {};
    const auto [itA, itB] = std::mismatch(_a.vecPixels.begin(), _a.vecPixels.end(), _b.vecPixels.begin());
    if (itA == _a.vecPixels.end())
        return {};
    const auto nPixel = (itA - _a.vecPixels.begin()) / _a.nChannels;
    return ZFormat("is %d instead of %d at %d,%d", *itA, *itB, nPixel % _a.nWidth, nPixel / _a.nWidth);
}

} // namespace

CZSoaker::CZSoaker(uint64_t _nSeed, int _nThreadsMax, bool _bGPU, CZModule& _modulePlain)
    : m_random(_nSeed)
    , m_nThreadsMax(_nThreadsMax)
    , m_bGPU(_bGPU)
    , m_vecAdjusts(Tables_Read(CZModule::Own(), eZTable_Adjusts))
    , m_keyerPlain(_modulePlain)
{
    SourcesMake();
    ObjectMake();
}

int CZSoaker::Pick(int _nFrom, int _nTo)
{
    return _nFrom + static_cast<int>(m_random() % static_cast<uint64_t>(_nTo - _nFrom + 1));
}

bool CZSoaker::OneIn(int _nTimes)
{
    return Pick(1, _nTimes) == 1;
}

const CZSoaker::SOURCE& CZSoaker::SourceAny()
{
    return m_vecSources[static_cast<size_t>(Pick(0, static_cast<int>(m_vecSources.size()) - 1))];
}

/// Every format in the largest size and in one other, all in one pool.
void CZSoaker::SourcesMake()
{
    const auto cpPool = CZFramePool::Create();
    const auto fnAdd = [&](uint32_t _fccType, const SOAK_SIZE& _size) {
        const PICTURE picture =
            KeyScene_Picture(_size.nWidth, _size.nHeight, c_nSceneKeys, OneIn(3) ? eKS_Random : eKS_Screen);
        m_vecSources.push_back({ZFormat("%dx%d %s", _size.nWidth, _size.nHeight, FCC_Name(_fccType)),
                                ZQuery<IZFFrame2>(KeyScene_Frame(picture, _fccType, cpPool.Get()))});
    };
    for (size_t i = 0; i < std::size(c_arrFormats); ++i)
    {
        fnAdd(c_arrFormats[i], c_arrSizes[0]);
        fnAdd(c_arrFormats[i], c_arrSizes[1 + i % (std::size(c_arrSizes) - 1)]);
    }
    fnAdd(eZFCC_RGB24, c_szOdd);
    fnAdd(eZFCC_ARGB32, c_szOdd);
}

void CZSoaker::ObjectMake()
{
    m_cpProcess.Reset();
    m_upKeyer.reset(); // before the next one is made, as memory is counted
    m_upKeyer = std::make_unique<CZKeyer>();
    m_upKeyer->OnWait(OutFile_CheckInterrupt);
    m_bPictureIn = false;
    m_cpProcess = ZQuery<IZFProcess>(m_upKeyer->Key());
    Set("gpu_mode", m_bGPU ? "-1" : "0");
    Set("process.threads", std::to_string(m_nThreadsMax));
    ++m_counts.nObjects;
    KeysChange();
}

void CZSoaker::Set(const std::string& _strName, const std::string& _strValue)
{
    m_upKeyer->OptionSet(_strName, _strValue);
}

void CZSoaker::Fill()
{
    std::vector<CZPtr<IZFFrame>> vecFrames(c_nMostFrames);
    for (CZPtr<IZFFrame>& cpFrame : vecFrames)
        Result_Check(m_vecSources[0].cpFrame->FrameConvert(eZFC_Converted, eZFCC_ARGB32, cpFrame.Put()),
                     "making frames to be kept");
    vecFrames.clear();
    Set("output.argb", "true");
    for (const SOURCE& source : m_vecSources)
    {
        m_pSource = &source;
        FrameNext();
        Receive(m_cpFrame.Get());
    }
    Check();
}

void CZSoaker::Step()
{
    Change();
    Receive(m_cpFrame.Get());
}

void CZSoaker::StepChecked()
{
    Change();
    Check();
}

/// Keys the frame and compares the result.
void CZSoaker::Check()
{
    while (Receive(nullptr)) // what is still under way was handed in before the last changes
    {
    }
    CZPtr<IZFFrame> cpResult = Receive(m_cpFrame.Get());
    if (!cpResult)
        cpResult = Receive(nullptr);
    m_keyerPlain.LoadDocument(m_upKeyer->Document());
    const CZPtr<IZFFrame> cpExpected = KeyPlain();
    if (!cpResult || !cpExpected)
        throw CZHostError(ZFormat("frame %d (%s) did not come back", m_counts.nFrames, m_pSource->strName));
    Compare(cpResult.Get(), cpExpected.Get());
    ++m_counts.nChecks;
    m_counts.nCleaned += IsCleaned(cpExpected.Get());
}

/// Keys the frame with the plain copy, whose keys and options have just been loaded.
CZPtr<IZFFrame> CZSoaker::KeyPlain()
{
    m_keyerPlain.OptionSet("output.thread", "false");
    m_keyerPlain.OptionSet("gpu_mode", "0");
    return m_keyerPlain.Push(m_cpFrame.Get());
}

void CZSoaker::Compare(IZFFrame* _pResult, IZFFrame* _pExpected) const
{
    PICTURE picture, expected;
    Picture_FromFrame(_pResult, picture);
    Picture_FromFrame(_pExpected, expected);
    const std::string strPicture = Difference(picture, expected, m_bGPU);
    const std::string strMask = Difference(MaskOf(_pResult), MaskOf(_pExpected), m_bGPU);
    for (const auto& [pszWhat, strDifference] : {std::pair("picture", strPicture), std::pair("mask", strMask)})
        if (!strDifference.empty())
            throw CZHostError(ZFormat("the %s of frame %d (%s) is not that of the plain path: it %s; the keys were\n%s",
                                      pszWhat, m_counts.nFrames, m_pSource->strName, strDifference,
                                      m_upKeyer->Document()));
}

void CZSoaker::Change()
{
    if (OneIn(256))
        ObjectMake();
    if (OneIn(8))
        KeysChange();
    if (OneIn(8))
        OptionChange();
    if (OneIn(32))
        KeysEdit();
    if (m_bPictureIn && OneIn(64))
        Detect();
    if (OneIn(64))
        SaveAndLoad();
    if (OneIn(64))
        Result_Check(m_cpProcess->OnMediaFlush(), "flushing");
    if (!m_cpFrame || !OneIn(16)) // now and then the same frame once more
    {
        m_pSource = &SourceAny();
        FrameNext();
    }
}

void CZSoaker::FrameNext()
{
    Result_Check(m_pSource->cpFrame->FrameClone(eZFC_SharePicture, m_cpFrame.Put()), "cloning a frame");
}

void CZSoaker::OptionChange()
{
    switch (Pick(0, 3))
    {
    case 0:
        return Set("process.threads", std::to_string(Pick(1, m_nThreadsMax)));
    case 1:
        return Set("output.thread", OneIn(2) ? "true" : "false");
    case 2:
        return Set("output.argb", OneIn(2) ? "true" : "false");
    default:
        return Set("keying.borders",
                   OneIn(2) ? "" : ZFormat("%d,%d,%d,%d", Pick(0, 24), Pick(0, 24), Pick(0, 24), Pick(0, 24)));
    }
}

/// The keys of the source, or any.
void CZSoaker::KeysChange()
{
    ZF_VID_PROPS vidProps = {};
    Result_Check(SourceAny().cpFrame->VideoPropsGet(&vidProps), "looking at a frame");
    CHROMA_KEY_RAW keys = KeyScene_Keys(vidProps, KeyScene_Type(vidProps.fccType), Pick(1, c_nSceneKeys));
    if (OneIn(2))
    {
        keys.eType = OneIn(16) ? Pick(eCKT_Alpha, eCKT_Auto) : Pick(eCKT_RGB, eCKT_YUV);
        keys.nKeysUsed = Pick(1, Z_MAX_KEYS);
        for (int i = 0; i < keys.nKeysUsed; ++i)
        {
            const int arrDelta[] = {Pick(0, 80), Pick(0, 80), Pick(0, 80)};
            keys.arrKeys[i].nValue = static_cast<uint32_t>(m_random());
            keys.arrKeys[i].nDelta = static_cast<uint32_t>(arrDelta[0] | arrDelta[1] << 8 | arrDelta[2] << 16);
            keys.arrKeys[i].nSmoothRange = Pick(0, 60);
            keys.arrKeys[i].nAlpha = OneIn(4) ? Pick(0, 255) : 0;
            keys.arrKeys[i].nReverseKey = OneIn(8);
            if (OneIn(4))
                continue; // a key that cleans nothing
            for (int32_t* const pnCancel :
                 {&keys.arrKeys[i].nCancelRange, &keys.arrKeys[i].nCancelPower, &keys.arrKeys[i].nCancelChroma,
                  &keys.arrKeys[i].nCancelLuma, &keys.arrKeys[i].nCancelAlpha})
                *pnCancel = Pick(-255, 255);
        }
        keys.bColorCancel = OneIn(2);
    }
    keys.nEdgesSmooth = OneIn(4) ? Pick(0, 10) : 0;
    keys.nMinTransparent = OneIn(4) ? Pick(0, 100) : 0;
    keys.nMaxTransparent = OneIn(4) ? Pick(150, 255) : 255;
    keys.nInterlacedVideo = OneIn(8);
    keys.nInverseKey = OneIn(8);
    const CK_ADJUST adjust = AdjustAny();
    Result_Check(m_upKeyer->Key()->KeyRawSet(&keys, OneIn(4) ? nullptr : &adjust), "setting the keys");
    ++m_counts.nEdits;
}

/// Half of the time at rest, else each adjustment moved by one chance in four.
CK_ADJUST CZSoaker::AdjustAny()
{
    CK_ADJUST adjust = {};
    if (OneIn(2))
        return adjust;
    IZChromaKey* const pKey = m_upKeyer->Key();
    for (size_t i = eCKA_KeyType + 1; i < m_vecAdjusts.size(); ++i)
        Result_Check(pKey->KeyAdjustSet(static_cast<eCK_Adjust>(i), OneIn(4) ? AdjustValue(i) : 0),
                     ZFormat("adjusting %hs", m_vecAdjusts[i].pszName));
    Result_Check(pKey->KeyRawGet(nullptr, &adjust), "looking at the adjustments");
    return adjust;
}

double CZSoaker::AdjustValue(size_t _nAdjust)
{
    const ZTABLE_ROW& row = m_vecAdjusts[_nAdjust];
    return row.dblLeast + (row.dblMost - row.dblLeast) * Pick(0, 8) / 8;
}

/// Whether the colours of a result of the plain copy have been cleaned: keyed without colour cancel it is another one.
bool CZSoaker::IsCleaned(IZFFrame* _pResult)
{
    CHROMA_KEY_RAW key = {};
    CK_ADJUST adjust = {};
    Result_Check(m_keyerPlain.Key()->KeyRawGet(&key, &adjust), "looking at the keys");
    if (!key.bColorCancel && adjust.dblColors == 0)
        return false;
    key.bColorCancel = 0;
    adjust.dblColors = 0;
    Result_Check(m_keyerPlain.Key()->KeyRawSet(&key, &adjust), "setting the keys without colour cancel");
    const CZPtr<IZFFrame> cpUncleaned = KeyPlain();
    if (!cpUncleaned)
        throw CZHostError(ZFormat("frame %d (%s) did not come back", m_counts.nFrames, m_pSource->strName));
    PICTURE picture, uncleaned;
    Picture_FromFrame(_pResult, picture);
    Picture_FromFrame(cpUncleaned.Get(), uncleaned);
    return picture.vecPixels != uncleaned.vecPixels;
}

void CZSoaker::KeysEdit()
{
    IZChromaKey* const pKey = m_upKeyer->Key();
    const SOURCE& source = SourceAny();
    ZF_VID_PROPS vidProps = {};
    Result_Check(source.cpFrame->VideoPropsGet(&vidProps), "looking at a frame");
    Result_Check(pKey->KeyFrameSet(source.cpFrame.Get(), nullptr), "setting the frame to edit on");
    const int nX = Pick(0, vidProps.nWidth - 1), nY = Pick(0, std::abs(vidProps.nHeight) - 1);
    const auto nAdjust = static_cast<size_t>(Pick(1, static_cast<int>(m_vecAdjusts.size()) - 1));
    Result_Check(pKey->KeyAddPoint(nX, nY), ZFormat("picking %d,%d", nX, nY));
    Result_Check(pKey->KeyExcludePoint(vidProps.nWidth - 1, nY), "excluding a point");
    Result_Check(pKey->KeyAddRect(0, 0, 16, 16), "adding a rectangle");
    Result_Check(pKey->KeyAdjustSet(static_cast<eCK_Adjust>(nAdjust), AdjustValue(nAdjust)),
                 ZFormat("adjusting %hs", m_vecAdjusts[nAdjust].pszName));
    Result_Check(pKey->KeyStepBack(Pick(0, 4)), "stepping back");
    Result_Check(pKey->KeyStepFwd(Pick(0, 2)), "stepping forward");
    m_counts.nEdits += 6;
}

void CZSoaker::Detect()
{
    Result_Check(m_upKeyer->Key()->KeyDetect(nullptr), "detecting");
    ++m_counts.nEdits;
}

void CZSoaker::SaveAndLoad()
{
    m_upKeyer->LoadDocument(m_upKeyer->Document());
    ++m_counts.nDocuments;
}

CZPtr<IZFFrame> CZSoaker::Receive(IZFFrame* _pFrameOrNull)
{
    OutFile_CheckInterrupt();
    CZPtr<IZFFrame> cpResult;
    try
    {
        cpResult = m_upKeyer->Push(_pFrameOrNull);
    }
    catch (const CZHostError& error)
    {
        throw CZHostError(
            ZFormat("at frame %d (%s): %hs", m_counts.nFrames, m_pSource ? m_pSource->strName : "", error.what()));
    }
    m_counts.nFrames += _pFrameOrNull != nullptr;
    m_bPictureIn |= _pFrameOrNull != nullptr;
    m_counts.nResults += static_cast<bool>(cpResult);
    return cpResult;
}
