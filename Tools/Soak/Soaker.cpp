#include "Soak/Soaker1.h"
#include "Soak/Soaker2.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "Sample/KeyScene.h"
#include "zkhost/Files/OutFile.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Base/ZPixelNames.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace
{

constexpr size_t c_nMostFrames = 40; // pictures: more than a pool keeps, and than are under way at a time

/// One source in so many is checked at the start: each way to read a frame is among them.
constexpr size_t c_nCheckedSources = 8;
constexpr uint32_t c_arrFormats[] = {
    eZFCC_RGB24, eZFCC_RGB32, eZFCC_ARGB32, eZFCC_r210, eZFCC_v210, eZFCC_YUY2, eZFCC_UYVY,
    eZFCC_HDYC,  eZFCC_YVYU,  eZFCC_I420,   eZFCC_YV12, eZFCC_NV12, eZFCC_I422, eZFCC_YV16,
    eZFCC_Y422,  eZFCC_Y444,  eZFCC_RGBA32, eZFCC_P010, eZFCC_P210,
};

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

CZSoaker::CZSoaker(const SOAK_KIND& _kind, const SOAK_SETUP& _setup, CZModule& _modulePlain)
    : m_kind(_kind)
    , m_setup(_setup)
    , m_random(_setup.nSeed)
    , m_upTextures(_setup.bGPU && _kind.bGPUAgrees ? TextureHost_Make() : nullptr)
    , m_keyerPlain(_modulePlain, _kind.clsid)
{
    m_counts.nDevices += m_upTextures != nullptr;
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

/// All in one pool. They do not depend on the seed: two runs take as much memory.
void CZSoaker::SourcesMake()
{
    constexpr SOAK_SIZE c_szOdd = {1001, 563}; // of the formats with whole pixels: no group of them fits a row
    const auto cpPool = CZFramePool::Create();
    const std::vector<SOAK_SIZE>& vecSizes = m_kind.vecSizes;
    for (size_t i = 0; i < std::size(c_arrFormats); ++i)
    {
        SourceAdd(c_arrFormats[i], vecSizes[0], cpPool.Get());
        SourceAdd(c_arrFormats[i], vecSizes[1 + i % (vecSizes.size() - 1)], cpPool.Get());
    }
    SourceAdd(eZFCC_RGB24, c_szOdd, cpPool.Get());
    SourceAdd(eZFCC_ARGB32, c_szOdd, cpPool.Get());
}

void CZSoaker::SourceAdd(uint32_t _fccType, const SOAK_SIZE& _size, CZFramePool* _pPool)
{
    constexpr size_t c_nRandom = 3; // one source in so many
    SOURCE source = {
        ZFormat("%dx%d %s", _size.nWidth, _size.nHeight, FCC_Name(_fccType)), {}, m_vecSources.size() % c_nRandom != 0};
    for (const PICTURE& picture : Pictures(_size.nWidth, _size.nHeight, source.bScene))
        source.vecFrames.push_back(ZQuery<IZFFrame2>(KeyScene_Frame(picture, _fccType, _pPool)));
    m_vecSources.push_back(std::move(source));
}

void CZSoaker::ObjectMake()
{
    m_cpProcess.Reset();
    m_upKeyer.reset(); // before the next one is made, as memory is counted
    m_upKeyer = std::make_unique<CZKeyer>(CZModule::Own(), m_kind.clsid);
    m_upKeyer->OnWait(OutFile_CheckInterrupt);
    m_bPictureIn = false;
    m_cpProcess = m_upKeyer->Key2() ? ZQuery<IZFProcess>(m_upKeyer->Key2()) : ZQuery<IZFProcess>(m_upKeyer->Key());
    Set(c_szOptionGPUMode, !m_setup.bGPU ? "0" : m_kind.bGPUAgrees ? "1" : "-1");
    Set(c_szOptionThreads, std::to_string(m_setup.nThreadsMax));
    ++m_counts.nObjects;
    KeysChange();
}

void CZSoaker::Set(const std::string& _strName, const std::string& _strValue)
{
    m_upKeyer->OptionSet(_strName, _strValue);
}

void CZSoaker::Fill()
{
    SourcesMake();
    ObjectMake();
    std::vector<CZPtr<IZFFrame>> vecFrames(c_nMostFrames);
    for (CZPtr<IZFFrame>& cpFrame : vecFrames)
        Result_Check(m_vecSources[0].vecFrames[0]->FrameConvert(eZFC_Converted, eZFCC_ARGB32, cpFrame.Put()),
                     "making frames to be kept");
    vecFrames.clear();
    Set(c_szOptionARGB, "true");
    FillKeys();
    FillSources();
    m_bTextures = true;
    if (m_upTextures)
        FillSources();
    for (size_t i = 0; i < m_vecSources.size(); i += c_nCheckedSources) // the plain copy takes memory as well
    {
        Set(c_szOptionARGB, i / c_nCheckedSources % 2 ? "false" : "true");
        m_pSource = &m_vecSources[i];
        m_bTextures = m_upTextures != nullptr;
        FrameNext();
        Check();
    }
}

void CZSoaker::FillSources()
{
    for (const SOURCE& source : m_vecSources)
    {
        m_pSource = &source;
        FrameNext();
        Receive(FrameIn());
    }
}

void CZSoaker::Step()
{
    Change();
    Receive(FrameIn());
    if (m_upTextures && OneIn(8)) // in the middle of a stream, too
        m_bTextures = !m_bTextures;
}

void CZSoaker::StepChecked()
{
    Change();
    Check();
}

/// Keys frames one after the other and compares the results.
void CZSoaker::Check()
{
    while (Receive(nullptr)) // what is still under way was handed in before the last changes
    {
    }
    m_keyerPlain.LoadDocument(m_upKeyer->Document());
    PlainComplete();
    m_bTextures = static_cast<bool>(m_cpFrameInTexture); // between the two the filter over time begins anew
    for (int i = 0; i < m_kind.nFramesChecked; ++i)
    {
        if (i > 0)
            FrameNext();
        CheckFrame();
    }
}

void CZSoaker::CheckFrame()
{
    CZPtr<IZFFrame> cpResult = Receive(FrameIn());
    if (!cpResult)
        cpResult = Receive(nullptr);
    const CZPtr<IZFFrame> cpExpected = KeyPlain();
    if (!cpResult || !cpExpected)
        throw CZHostError(ZFormat("frame %d (%s) did not come back", m_counts.nFrames, m_pSource->strName));
    if (m_setup.bGPU && m_kind.bGPUAgrees)
        CheckGPU();
    Compare(cpResult.Get(), cpExpected.Get());
    ++m_counts.nChecks;
    m_counts.nTexChecks += static_cast<bool>(m_cpFrameInTexture);
    m_counts.nTelling += IsTelling(cpExpected.Get());
}

CZPtr<IZFFrame> CZSoaker::KeyPlain()
{
    m_keyerPlain.OptionSet(c_szOptionThread, "false");
    m_keyerPlain.OptionSet(c_szOptionGPUMode, "0");
    if (m_cpFrameInTexture) // what a result in a texture is
    {
        m_keyerPlain.OptionSet(c_szOptionARGB, "true");
        m_keyerPlain.OptionSet(c_szOptionBorders, "");
    }
    return m_keyerPlain.Push(m_cpFrame.Get());
}

void CZSoaker::Read(IZFFrame* _pResult, PICTURE& _picture)
{
    try
    {
        m_upTextures->Read(_pResult, _picture);
    }
    catch (const CZHostError& error)
    {
        throw CZHostError(ZFormat("at frame %d (%s): %hs", m_counts.nFrames, m_pSource->strName, error.what()));
    }
}

void CZSoaker::Compare(IZFFrame* _pResult, IZFFrame* _pExpected)
{
    PICTURE picture, expected;
    if (m_cpFrameInTexture)
        Read(_pResult, picture);
    else
        Picture_FromFrame(_pResult, picture);
    Picture_FromFrame(_pExpected, expected);
    const PICTURE mask = MaskOf(_pResult); // none with a texture
    const PICTURE maskExpected = m_cpFrameInTexture ? PICTURE() : MaskOf(_pExpected);
    std::string strPicture = Difference(picture, expected, m_setup.bGPU);
    std::string strMask = Difference(mask, maskExpected, m_setup.bGPU);
    if (m_setup.bGPU && m_kind.bGPUAgrees && strPicture.empty() && strMask.empty())
    {
        strPicture = Disagreement(picture, expected);
        strMask = Disagreement(mask, maskExpected);
    }
    for (const auto& [pszWhat, strDifference] : {std::pair("picture", strPicture), std::pair("mask", strMask)})
        if (!strDifference.empty())
            throw CZHostError(ZFormat("the %s of frame %d (%s) is not that of the plain path: it %s; the keys were\n%s",
                                      pszWhat, m_counts.nFrames, m_pSource->strName, strDifference,
                                      m_upKeyer->Document()));
}

/// As the tests hold the two: 99.9 % of the pixels within a level of alpha and two of colour.
std::string CZSoaker::Disagreement(const PICTURE& _picture, const PICTURE& _expected)
{
    constexpr size_t c_nMostShare = 1000; // one pixel in so many
    const auto nChannels = static_cast<size_t>(_picture.nChannels);
    size_t nOff = 0;
    for (size_t i = 0; i < _picture.vecPixels.size(); i += nChannels)
    {
        bool bOff = false;
        for (size_t c = 0; c < nChannels; ++c)
        {
            const int nLevels = std::abs(_picture.vecPixels[i + c] - _expected.vecPixels[i + c]);
            bOff |= nLevels > (c + 1 < nChannels ? 2 : 1); // alpha, or a mask, is the last
            m_counts.nMostOff = std::max(m_counts.nMostOff, nLevels);
        }
        nOff += bOff;
    }
    const size_t nPixels = _picture.vecPixels.size() / std::max(nChannels, size_t{1});
    m_counts.nPixels += static_cast<int64_t>(nPixels);
    m_counts.nPixelsOff += static_cast<int64_t>(nOff);
    return nOff * c_nMostShare > nPixels
               ? ZFormat("is off in %d of %d pixels", static_cast<int>(nOff), static_cast<int>(nPixels))
               : std::string();
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
        if (!m_pSource || OneIn(m_kind.nChangeSource))
            SourceChange();
        FrameNext();
    }
}

void CZSoaker::SourceChange()
{
    m_pSource = &SourceAny();
    if (!m_upTextures)
        return;
    m_bTextures = OneIn(2);
    if (!OneIn(16))
        return;
    m_upTextures->DeviceReplace();
    ++m_counts.nDevices;
}

void CZSoaker::FrameNext()
{
    const auto& vecFrames = m_pSource->vecFrames;
    const auto nFrame = static_cast<size_t>(Pick(0, static_cast<int>(vecFrames.size()) - 1));
    Result_Check(vecFrames[nFrame]->FrameClone(eZFC_SharePicture, m_cpFrame.Put()), "cloning a frame");
    m_cpFrameInTexture.Reset();
    if (m_upTextures && m_bTextures)
        FrameToTexture(vecFrames[nFrame].Get());
}

void CZSoaker::FrameToTexture(IZFFrame2* _pFrame)
{
    const bool bMutex = OneIn(2);
    m_cpFrameInTexture = m_upTextures->FrameMake(_pFrame, bMutex);
    m_counts.nTextures += static_cast<bool>(m_cpFrameInTexture);
    m_counts.nMutexes += m_cpFrameInTexture && bMutex;
}

void CZSoaker::OptionChange()
{
    switch (Pick(0, 3))
    {
    case 0:
        return Set(c_szOptionThreads, std::to_string(Pick(1, m_setup.nThreadsMax)));
    case 1:
        return Set(c_szOptionThread, OneIn(2) ? "true" : "false");
    case 2:
        return Set(c_szOptionARGB, OneIn(2) ? "true" : "false");
    default:
        return Set(c_szOptionBorders,
                   OneIn(2) ? "" : ZFormat("%d,%d,%d,%d", Pick(0, 24), Pick(0, 24), Pick(0, 24), Pick(0, 24)));
    }
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
    if (_pFrameOrNull)
        m_bPictureIn = !m_cpFrameInTexture; // keys are taken from memory alone
    m_counts.nResults += static_cast<bool>(cpResult);
    return cpResult;
}

std::unique_ptr<CZSoaker> Soaker_Make(int _nKeyer, const SOAK_SETUP& _setup, CZModule& _modulePlain)
{
    if (_nKeyer == 1)
        return std::make_unique<CZSoaker1>(_setup, _modulePlain);
    return std::make_unique<CZSoaker2>(_setup, _modulePlain);
}
