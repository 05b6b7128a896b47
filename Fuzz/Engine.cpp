// The keying engine: any key set, every format, small pictures. The kernels of every instruction set are held against
// the plain ones, whole frames against a literal restatement, and no byte outside the planes may be touched.

#include "Support/ExactPicture.h"

#include "Base/ZCpu.h"
#include "Base/ZLog.h"
#include "Video/ZFrame.h"
#include "ZChromaKey/ChromaKey.h"
#include "ZChromaKey/EngineReference.h"
#include "ZChromaKey/FrameKeyer.h"
#include "Props/PropStore.h"

#include <algorithm>

namespace
{

/// A key set of any content, or one near what hosts make.
CHROMA_KEY_RAW TakeKeys(CByteReader& _in)
{
    if (_in.Byte() % 4 == 0)
        return _in.Take<CHROMA_KEY_RAW>();
    CHROMA_KEY_RAW key = {};
    key.eType = _in.Range(eCKT_RGB, eCKT_YUV);
    key.nKeysUsed = _in.Range(0, 6);
    key.nMinTransparent = _in.Number();
    key.nMaxTransparent = _in.Flag() ? 255 : _in.Number();
    key.nEdgesSmooth = _in.Range(0, 11);
    key.bColorCancel = _in.Flag();
    key.nInterlacedVideo = _in.Flag();
    key.nInverseKey = _in.Flag();
    for (int i = 0; i < key.nKeysUsed; ++i)
    {
        SINGLE_KEY& single = key.arrKeys[i];
        single.nValue = _in.Take<uint32_t>();
        single.nDelta = _in.Take<uint32_t>();
        single.nSmoothRange = _in.Number();
        single.nAlpha = _in.Number();
        single.nReverseKey = _in.Number() % 3 == 0;
        single.nCancelLuma = _in.Number();
    }
    return key;
}

KEY_KERNELS KernelsOf(int _nLevel)
{
    KEY_KERNELS kernels;
    KeyKernels_Init(&kernels, static_cast<eSIMD_Level>(_nLevel));
    return kernels;
}

/// Rows of any length by every instruction set.
void CheckKernels(CByteReader& _in)
{
    const KEY_PLAN plan = KeyPlan_Make(TakeKeys(_in));
    const auto nPixels = static_cast<size_t>(_in.Range(0, 200));
    const auto nMerged = static_cast<size_t>(_in.Range(0, static_cast<int>(nPixels)));
    const uint8_t nMin = _in.Byte(), nMax = _in.Byte();
    CExactBytes pixels(4 * nPixels, _in);
    CExactBytes above(nPixels, _in), middle(nPixels, _in), below(nPixels, _in);
    std::vector<std::unique_ptr<CExactBytes>> vecExpected;
    for (int nLevel = eSIMD_None; nLevel <= ZCpu_Detected(); ++nLevel)
    {
        const KEY_KERNELS kernels = KernelsOf(nLevel);
        std::vector<std::unique_ptr<CExactBytes>> vecResults;
        const auto fnRow = [&](CExactBytes& _from) {
            vecResults.push_back(std::make_unique<CExactBytes>(_from.Size()));
            std::memcpy(vecResults.back()->Data(), _from.Data(), _from.Size());
            return vecResults.back()->Data();
        };
        const KEY_SET set = {plan.arrKeying, plan.nKeying, plan.arrExclude, plan.nExclude};
        if (plan.nKeying > 0)
            kernels.pfnKeySet(fnRow(middle), pixels.Data(), nPixels, nMerged, set);
        kernels.pfnThreshold(fnRow(middle), nPixels, nMin, nMax);
        kernels.pfnInvert(fnRow(middle), nPixels);
        if (nPixels > 0)
            kernels.pfnSmooth(fnRow(middle), above.Data(), middle.Data(), below.Data(), nPixels);
        kernels.pfnAlphaSet(fnRow(pixels), middle.Data(), nPixels);
        for (size_t n = 0; n < vecExpected.size(); ++n)
            FUZZ_REQUIRE(*vecResults[n] == *vecExpected[n]);
        if (nLevel == eSIMD_None)
            vecExpected = std::move(vecResults);
    }
}

/// A frame in a mask without a byte to spare.
void CheckFrame(CByteReader& _in)
{
    CExactPicture picture(FuzzProps_Take(_in, 70, 12), _in);
    const CHROMA_KEY_RAW key = TakeKeys(_in);
    CChromaKey engine;
    engine.ThreadsSet(static_cast<uint32_t>(_in.Range(0, 5)));
    engine.FillSet(_in.Flag());
    if (_in.Flag())
        engine.MatrixSet(eZYM_709);
    const ZF_VID_PROPS vidMask = VidProps_Mask(&picture.m_vidProps);
    const int nRows = std::abs(picture.m_vidProps.nHeight);
    CExactBytes mask(static_cast<size_t>(vidMask.nRowBytes) * static_cast<size_t>(nRows - 1) +
                     static_cast<size_t>(picture.m_vidProps.nWidth));
    for (int nFrame = 0; nFrame < 2; ++nFrame)
    {
        const HRESULT hr = engine.ProcessFrame(&picture.m_vidPtr, mask.Data(), &picture.m_vidProps, &key);
        FUZZ_REQUIRE(hr == S_OK || hr == S_FALSE || hr == E_INVALIDARG);
    }
}

/// A frame against the literal restatement.
void CheckReference(CByteReader& _in)
{
    constexpr uint32_t c_arrFormats[] = {eZFCC_RGB32, eZFCC_ARGB32, eZFCC_RGB24, eZFCC_UYVY, eZFCC_I420};
    const uint32_t fccType = _in.OneOf(c_arrFormats);
    const bool bEven = fccType == eZFCC_UYVY || fccType == eZFCC_I420;
    const int nWidth = _in.Range(1, 40) * (bEven ? 2 : 1);
    const int nHeight = _in.Range(1, 8) * (bEven ? 2 : 1);
    const int nPad = _in.Range(0, 3) * 4;
    CTestPicture picture(fccType, nWidth, nHeight, nPad, _in.Flag());
    for (const auto& upPlane : picture.arrPlanes)
        for (int nRow = 0; upPlane && nRow < upPlane->Rows(); ++nRow)
            _in.Fill(upPlane->Row(nRow), upPlane->RowBytes());
    picture.vidProps.eInterlace = _in.Range(0, 3);
    CHROMA_KEY_RAW key = TakeKeys(_in);
    key.eType = eCKT_RGB + static_cast<int>(static_cast<uint32_t>(key.eType) % 3);
    for (SINGLE_KEY& single : key.arrKeys)
        single.nAlpha = std::clamp(single.nAlpha, 0, 255);
    const int nThreads = _in.Range(1, 4);

    const CEngineReference reference(picture, key, nThreads, 77);
    const ZF_VID_PROPS vidMask = VidProps_Mask(&picture.vidProps);
    CGuardedPlane mask(static_cast<size_t>(nWidth), nHeight, vidMask.nRowBytes);
    mask.Fill(77);
    CChromaKey engine;
    engine.ThreadsSet(static_cast<uint32_t>(nThreads));
    const HRESULT hr = engine.ProcessFrame(&picture.vidPtr, mask.Row(0), &picture.vidProps, &key);
    FUZZ_REQUIRE(hr == reference.hrResult || nHeight < nThreads);
    MASK_REFERENCE expected = reference.mask;
    for (int nRow = 0; nRow < nHeight; ++nRow)
        FUZZ_REQUIRE(std::memcmp(mask.Row(nRow), &expected.At(0, nRow), static_cast<size_t>(nWidth)) == 0);
    FUZZ_REQUIRE(mask.Intact() && picture.Intact());
}

/// The whole step from frame to frame, with borders.
void CheckKeyer(CByteReader& _in)
{
    CPropStore store;
    store.Set("process.threads", ZFormat("%d", _in.Range(1, 3)));
    store.Set("gpu_mode", ZFormat("%d", _in.Range(-1, 1)));
    store.Set("output.argb", _in.Flag() ? "true" : "false");
    if (_in.Flag())
        store.Set("keying.borders", ZFormat("%d,%d,%d,%d", _in.Number(), _in.Number(), _in.Number(), _in.Number()));
    CFrameKeyer keyer(&store, GPUKeyer_Create());
    const CHROMA_KEY_RAW key = TakeKeys(_in);
    for (int nFrame = 0; nFrame < 2; ++nFrame)
    {
        CExactPicture picture(FuzzProps_Take(_in, 70, 12), _in);
        CZPtr<CZFrame> cpFrame;
        if (FAILED(ZFrame_WrapPlanes(picture.m_vidProps, picture.m_vidPtr, {}, cpFrame.Put())))
            continue;
        CZPtr<IZFFrame> cpRes;
        const HRESULT hr = keyer.Process(cpFrame.Get(), key, cpRes.Put());
        FUZZ_REQUIRE((hr == S_OK) == static_cast<bool>(cpRes));
        ZF_VID_PROPS vidProps = {};
        CZPtr<IUnknown> cpMask;
        if (cpRes && cpRes->AttachmentGet(L"mask", cpMask.Put()) == S_OK)
        {
            ZF_VID_PROPS vidMask = {};
            FUZZ_REQUIRE(cpRes->VideoPropsGet(&vidProps) == S_OK);
            FUZZ_REQUIRE(ZQuery<IZFFrame>(cpMask)->VideoPropsGet(&vidMask) == S_OK);
            FUZZ_REQUIRE(vidMask.nWidth == vidProps.nWidth);
            FUZZ_REQUIRE(std::abs(vidMask.nHeight) == std::abs(vidProps.nHeight));
        }
        keyer.Close(); // lets the picture's memory go
    }
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    switch (_in.Byte() % 8)
    {
    case 0:
        return CheckFrame(_in);
    case 1:
        return CheckReference(_in);
    case 2:
        return CheckKeyer(_in);
    default:
        return CheckKernels(_in);
    }
}
