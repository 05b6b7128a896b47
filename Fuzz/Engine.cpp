// The keying engine: any key set, every format, small pictures. Frames are held against a literal restatement, and no
// byte outside the planes may be touched.

#include "Support/ExactPicture.h"

#include "Base/ZLog.h"
#include "Video/ZFrame.h"
#include "ZChromaKey/Engine1/ChromaKey.h"
#include "ZChromaKey/Engine1/EngineReference.h"
#include "ZChromaKey/Engine1/KeyEngine.h"
#include "ZChromaKey/Frame/FrameKeyer.h"
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
    CFrameKeyer keyer("CCoZChromaKey", &store, std::make_unique<CKeyEngine>(GPUKeyer_Create()));
    const CHROMA_KEY_RAW key = TakeKeys(_in);
    for (int nFrame = 0; nFrame < 2; ++nFrame)
    {
        CExactPicture picture(FuzzProps_Take(_in, 70, 12), _in);
        CZPtr<CZFrame> cpFrame;
        if (FAILED(ZFrame_WrapPlanes(picture.m_vidProps, picture.m_vidPtr, {}, cpFrame.Put())))
            continue;
        CZPtr<IZFFrame> cpRes;
        const HRESULT hr = keyer.Process(cpFrame.Get(), EngineSettings_Of(key), cpRes.Put());
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
    if (_in.Byte() % 2 != 0)
        CheckReference(_in);
    else
        CheckKeyer(_in);
}
