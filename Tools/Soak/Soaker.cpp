#include "Soak/Soaker.h"

#include "Bench/BenchScene.h"
#include "Kit/HostError.h"
#include "zkhost/Files/OutFile.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Base/ZPixelNames.h"
#include "ZChromaKey/Engine1/CancelPlane.h"
#include "ZChromaKey/Objects/CoZChromaKey.h"
#include "ZChromaKey/Keys/KeyAdjust.h"
#include "ZChromaKey/Engine1/KeyPlan.h"

#include <algorithm>
#include <cstdlib>

namespace
{

/// How often a frame that finds the one before still being keyed is handed in again; each try waits a second.
constexpr int c_nMaxTries = 60;
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

CZSoaker::CZSoaker(uint64_t _nSeed, int _nThreadsMax, bool _bGPU)
    : m_random(_nSeed)
    , m_nThreadsMax(_nThreadsMax)
    , m_bGPU(_bGPU)
{
    SourcesMake();
    ObjectMake();
    CZKeyer::Check(CCoZChromaKey::Create(IID_IZChromaKey, m_cpPlain.PutVoid()), "making an object to compare with");
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
            BenchScene_Picture(_size.nWidth, _size.nHeight, c_nSceneKeys, OneIn(3) ? eBS_Random : eBS_Screen);
        m_vecSources.push_back({ZFormat("%dx%d %s", _size.nWidth, _size.nHeight, FCC_Name(_fccType)),
                                ZQuery<IZFFrame2>(BenchScene_Frame(picture, _fccType, cpPool.Get()))});
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
    m_upKeyer.reset(); // first: it takes the module's log along
    m_upKeyer = std::make_unique<CZKeyer>();
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
        CZKeyer::Check(m_vecSources[0].cpFrame->FrameConvert(eZFC_Converted, eZFCC_ARGB32, cpFrame.Put()),
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
    const auto cpPersist = ZQuery<IZFPersist>(m_cpPlain);
    CZKeyer::Check(cpPersist->PersistLoad(ZText_ToWide(m_upKeyer->Document()).c_str()), "loading keys to compare with");
    CZKeyer::Check(ZQuery<IZProps>(m_cpPlain)->PropsSet(L"output.thread", L"false"), "setting output.thread");
    CZKeyer::Check(ZQuery<IZProps>(m_cpPlain)->PropsSet(L"gpu_mode", L"0"), "setting gpu_mode");
    CZPtr<IZFFrame> cpExpected;
    CZKeyer::Check(ZQuery<IZFProcess>(m_cpPlain)->OnMediaReceive(m_cpFrame.Get(), cpExpected.Put()),
                   "keying a frame to compare with");
    if (!cpResult || !cpExpected)
        throw CZHostError(ZFormat("frame %d (%s) did not come back", m_counts.nFrames, m_pSource->strName));
    Compare(cpResult.Get(), cpExpected.Get());
    ++m_counts.nChecks;
    m_counts.nCleaned += IsCleaned(cpResult.Get());
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
        CZKeyer::Check(m_cpProcess->OnMediaFlush(), "flushing");
    if (!m_cpFrame || !OneIn(16)) // now and then the same frame once more
    {
        m_pSource = &SourceAny();
        FrameNext();
    }
}

void CZSoaker::FrameNext()
{
    CZKeyer::Check(m_pSource->cpFrame->FrameClone(eZFC_SharePicture, m_cpFrame.Put()), "cloning a frame");
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
    CZKeyer::Check(SourceAny().cpFrame->VideoPropsGet(&vidProps), "looking at a frame");
    CHROMA_KEY_RAW keys = BenchScene_Keys(vidProps, BenchScene_Type(vidProps.fccType), Pick(1, c_nSceneKeys));
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
    CZKeyer::Check(m_upKeyer->Key()->KeyRawSet(&keys, OneIn(4) ? nullptr : &adjust), "setting the keys");
    ++m_counts.nEdits;
}

/// Half of the time at rest, else each adjustment moved by one chance in four.
CK_ADJUST CZSoaker::AdjustAny()
{
    CK_ADJUST adjust = {};
    if (OneIn(2))
        return adjust;
    for (const CK_ADJUST_INFO& info : KeyAdjust_Table())
        if (double* const pdblField = KeyAdjust_Field(&adjust, info.eAdjust); pdblField && OneIn(4))
            *pdblField = AdjustValue(info);
    return adjust;
}

double CZSoaker::AdjustValue(const CK_ADJUST_INFO& _info)
{
    return _info.dblMin + (_info.dblMax - _info.dblMin) * Pick(0, 8) / 8;
}

/// Whether the colours of a result have been cleaned.
bool CZSoaker::IsCleaned(IZFFrame* _pResult) const
{
    CHROMA_KEY_RAW key = {};
    CK_ADJUST adjust = {};
    ZF_VID_PROPS vidProps = {};
    CZKeyer::Check(m_upKeyer->Key()->KeyRawGet(&key, &adjust), "looking at the keys");
    CZKeyer::Check(_pResult->VideoPropsGet(&vidProps), "looking at a result");
    return key.eType >= eCKT_RGB && key.eType <= eCKT_YUV && CancelPlane_IsKnown(vidProps.fccType) &&
           KeyPlan_HasColorCancel(KeyAdjust_Apply(key, adjust));
}

void CZSoaker::KeysEdit()
{
    IZChromaKey* const pKey = m_upKeyer->Key();
    const SOURCE& source = SourceAny();
    ZF_VID_PROPS vidProps = {};
    CZKeyer::Check(source.cpFrame->VideoPropsGet(&vidProps), "looking at a frame");
    CZKeyer::Check(pKey->KeyFrameSet(source.cpFrame.Get(), nullptr), "setting the frame to edit on");
    const int nX = Pick(0, vidProps.nWidth - 1), nY = Pick(0, std::abs(vidProps.nHeight) - 1);
    const auto& adjust = KeyAdjust_Table()[static_cast<size_t>(Pick(1, eCKA_Colors_Alpha))];
    CZKeyer::Check(pKey->KeyAddPoint(nX, nY), ZFormat("picking %d,%d", nX, nY));
    CZKeyer::Check(pKey->KeyExcludePoint(vidProps.nWidth - 1, nY), "excluding a point");
    CZKeyer::Check(pKey->KeyAddRect(0, 0, 16, 16), "adding a rectangle");
    CZKeyer::Check(pKey->KeyAdjustSet(adjust.eAdjust, AdjustValue(adjust)), ZFormat("adjusting %s", adjust.pszName));
    CZKeyer::Check(pKey->KeyStepBack(Pick(0, 4)), "stepping back");
    CZKeyer::Check(pKey->KeyStepFwd(Pick(0, 2)), "stepping forward");
    m_counts.nEdits += 6;
}

void CZSoaker::Detect()
{
    CZKeyer::Check(m_upKeyer->Key()->KeyDetect(nullptr), "detecting");
    ++m_counts.nEdits;
}

void CZSoaker::SaveAndLoad()
{
    const auto cpPersist = ZQuery<IZFPersist>(m_upKeyer->Key());
    CZKeyer::Check(cpPersist->PersistLoad(ZText_ToWide(m_upKeyer->Document()).c_str()), "loading what was saved");
    ++m_counts.nDocuments;
}

CZPtr<IZFFrame> CZSoaker::Receive(IZFFrame* _pFrameOrNull)
{
    CZPtr<IZFFrame> cpResult;
    HRESULT hr = Z_E_TIMEOUT;
    for (int i = 0; hr == Z_E_TIMEOUT && i < c_nMaxTries; ++i)
    {
        OutFile_CheckInterrupt();
        hr = m_cpProcess->OnMediaReceive(_pFrameOrNull, cpResult.Put());
    }
    CZKeyer::Check(hr, ZFormat("keying frame %d (%s)", m_counts.nFrames, m_pSource ? m_pSource->strName : ""));
    m_counts.nFrames += _pFrameOrNull != nullptr;
    m_bPictureIn |= _pFrameOrNull != nullptr;
    m_counts.nResults += static_cast<bool>(cpResult);
    return cpResult;
}
