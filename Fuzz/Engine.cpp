// The keying engines: any key set, every format, small pictures. Frames of the first generation are held against a
// literal restatement, streams of the second against the plain kernels with the rows in another order, and no byte
// outside the planes may be touched.

#include "Support/ExactPicture.h"

#include "Base/ZLog.h"
#include "Video/ZFrame.h"
#include "ZChromaKey/Config/Params2.h"
#include "ZChromaKey/Engine1/ChromaKey.h"
#include "ZChromaKey/Engine1/EngineReference.h"
#include "ZChromaKey/Engine1/KeyEngine.h"
#include "ZChromaKey/Engine2/UnmixEngine.h"
#include "ZChromaKey/Frame/FrameKeyer.h"
#include "ZChromaKey/Keys2/KeySet2.h"
#include "Props/PropStore.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace
{

constexpr int c_nMostWidth = 70, c_nMostHeight = 40;
constexpr int c_nMostFrames = 8;

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

    const CEngineReference reference(picture, key, nThreads, 77, false);
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

void TakeOptions(CByteReader& _in, CPropStore* _pStore)
{
    _pStore->Set("process.threads", ZFormat("%d", _in.Range(1, 3)));
    _pStore->Set("gpu_mode", ZFormat("%d", _in.Range(-1, 1)));
    _pStore->Set("output.argb", _in.Flag() ? "true" : "false");
    if (_in.Flag())
        _pStore->Set("keying.borders", ZFormat("%d,%d,%d,%d", _in.Number(), _in.Number(), _in.Number(), _in.Number()));
}

/// Keys a picture; its mask, where there is one, is as large as the result.
void CheckFrame(CFrameKeyer* _pKeyer, const CExactPicture& _picture, ENGINE_SETTINGS _settings)
{
    CZPtr<CZFrame> cpFrame;
    if (FAILED(ZFrame_WrapPlanes(_picture.m_vidProps, _picture.m_vidPtr, {}, cpFrame.Put())))
        return;
    CZPtr<IZFFrame> cpRes;
    const HRESULT hr = _pKeyer->Process(cpFrame.Get(), _settings, cpRes.Put());
    FUZZ_REQUIRE((hr == S_OK) == static_cast<bool>(cpRes));
    CZPtr<IUnknown> cpMask;
    if (!cpRes || cpRes->AttachmentGet(L"mask", cpMask.Put()) != S_OK)
        return;
    ZF_VID_PROPS vidProps = {}, vidMask = {};
    FUZZ_REQUIRE(cpRes->VideoPropsGet(&vidProps) == S_OK);
    FUZZ_REQUIRE(ZQuery<IZFFrame>(cpMask)->VideoPropsGet(&vidMask) == S_OK);
    FUZZ_REQUIRE(vidMask.nWidth == vidProps.nWidth);
    FUZZ_REQUIRE(std::abs(vidMask.nHeight) == std::abs(vidProps.nHeight));
}

/// The whole step from frame to frame, with borders.
void CheckKeyer(CByteReader& _in)
{
    CPropStore store;
    TakeOptions(_in, &store);
    CFrameKeyer keyer("CCoZChromaKey", &store, std::make_unique<CKeyEngine>(GPUKeyer_Create()));
    const CHROMA_KEY_RAW key = TakeKeys(_in);
    for (int nFrame = 0; nFrame < 2; ++nFrame)
    {
        const CExactPicture picture(FuzzProps_Take(_in, 70, 12), _in);
        CheckFrame(&keyer, picture, EngineSettings_Of(key));
        keyer.Close(); // lets the picture's memory go
    }
}

/// A key set of the second generation with all numbers in their ranges, as the objects hold them.
CHROMA_KEY2_RAW TakeKeys2(CByteReader& _in)
{
    CHROMA_KEY2_RAW key = KeySet2_Empty();
    for (int n = _in.Range(0, 3); n > 0; --n)
        KeySet2_KeyAdd(KeySet2_Color(_in.Take<uint32_t>()), &key);
    for (int n = _in.Range(0, 2); n > 0; --n)
        KeySet2_ProtectAdd(KeySet2_Color(_in.Take<uint32_t>()), &key);
    for (int n = _in.Range(0, 4); n > 0; --n)
    {
        const KEY2_PARAM& param = Params2_Table()[_in.Byte() % Params2_Table().size()];
        const double dblValue = param.dblLeast + _in.Byte() / 255.0 * (param.dblMost - param.dblLeast);
        KeySet2_ParamSet(param.pszName, param.pszChoices ? std::round(dblValue) : dblValue, &key);
    }
    if (KEY2_RANGE* const pRange = KeySet2_Range(0, static_cast<eRange>(_in.Range(0, 2)), &key))
        *pRange = {_in.Byte() / 255.0 * 180, _in.Byte() / 255.0, _in.Byte() / 255.0};
    FUZZ_REQUIRE(KeySet2_Check(key).empty());
    return key;
}

/// What a scene is painted with: a backdrop, and a body from a place on to the right and down.
struct SCENE_PAINT
{
    uint32_t arrColours[2];
    uint8_t nNoise;
    int nLeft;
    int nTop;
};

void PaintRow(const SCENE_PAINT& _paint, int _nPlane, int _nRow, int64_t _cbRow, int64_t _cbPixel, uint8_t* _pRow)
{
    for (int64_t n = 0; n < _cbRow; ++n)
    {
        const bool bBody = _nRow >= _paint.nTop && n / _cbPixel >= _paint.nLeft;
        const uint32_t nColour = _paint.arrColours[bBody] >> (8 * ((_nPlane + n % (_cbPixel == 3 ? 3 : 4)) % 4));
        const uint32_t nStray = static_cast<uint32_t>(n * 40503 + _nRow * int64_t{2654435761}) >> 13;
        _pRow[n] = static_cast<uint8_t>(nColour + (nStray & _paint.nNoise));
    }
}

/// A small picture of flat colours and some noise, in any format.
std::unique_ptr<CExactPicture> TakeScene(CByteReader& _in)
{
    ZF_VID_PROPS vidProps = FuzzProps_Take(_in, c_nMostWidth, c_nMostHeight);
    if (_in.Flag())
        vidProps.fccType = eZFCC_RGB32;
    const auto nShape = _in.Take<uint64_t>(); // of its memory; what is left of it would fill the planes
    CByteReader inShape(reinterpret_cast<const uint8_t*>(&nShape), sizeof(nShape));
    auto upPicture = std::make_unique<CExactPicture>(vidProps, inShape);
    const SCENE_PAINT paint = {{_in.Take<uint32_t>(), _in.Take<uint32_t>()},
                               static_cast<uint8_t>(_in.Byte() & 0x1F),
                               _in.Range(0, c_nMostWidth),
                               _in.Range(0, c_nMostHeight)};
    const ZF_VID_PTR& vidPtr = upPicture->m_vidPtr;
    for (int nPlane = 0; nPlane < 3; ++nPlane)
        for (int y = 0; vidPtr.lpVideoPlanes[nPlane] != 0 && y < vidPtr.szVideoPlanes[nPlane].cy; ++y)
        {
            const bool bFirst = nPlane == 0;
            const int64_t cbRow = bFirst ? Img_RowBytesUsed(vidProps.fccType, vidProps.nWidth)
                                         : int64_t{vidPtr.szVideoPlanes[nPlane].cx} * FCC_SampleBytes(vidProps.fccType);
            const int64_t cbPixel = bFirst ? std::max<int64_t>(Img_RowBytesUsed(vidProps.fccType, 12) / 12, 1) : 1;
            PaintRow(paint, nPlane, y, cbRow, cbPixel, Img_RowOf(vidPtr, nPlane, y));
        }
    return upPicture;
}

/// Another mask, of any size, for one of the regions, or another plate.
void TakePart(CByteReader& _in, UNMIX_SETTINGS* _pSettings, UNMIX_PARTS* _pParts)
{
    const auto nWhich = static_cast<size_t>(_in.Range(0, Z_REGIONS));
    IMG_MASK mask = {_in.Range(1, 90), _in.Range(1, 50), {}};
    mask.vecBytes.resize(static_cast<size_t>(mask.nWidth) * static_cast<size_t>(mask.nHeight), _in.Byte());
    if (nWhich == Z_REGIONS)
    {
        IMG_PICTURE plate = {mask.nWidth, mask.nHeight, std::vector<uint8_t>(4 * mask.vecBytes.size())};
        const auto nColour = _in.Take<uint32_t>();
        for (size_t n = 0; n < plate.vecBGRA.size(); ++n)
            plate.vecBGRA[n] = static_cast<uint8_t>(nColour >> (8 * (n % 4)));
        ++_pSettings->nPlate;
        _pParts->spPlate = std::make_shared<const IMG_PICTURE>(std::move(plate));
        return;
    }
    ++_pSettings->arrRegions[nWhich];
    _pParts->arrMasks[nWhich] = std::make_shared<const IMG_MASK>(std::move(mask));
}

/// The second generation's step from frame to frame: what a stream keeps meets other sizes, formats and settings.
void CheckKeyer2(CByteReader& _in)
{
    CPropStore store;
    TakeOptions(_in, &store);
    std::vector<std::unique_ptr<CExactPicture>> vecPictures; // the keyer may hold the last frame
    UNMIX_SETTINGS settings = {TakeKeys2(_in), 0, 0, {}};
    UNMIX_PARTS parts;
    CFrameKeyer keyer("CCoZChromaKey2", &store, std::make_unique<CUnmixEngine>());
    for (int nFrame = 0; nFrame < c_nMostFrames && !_in.AtEnd(); ++nFrame)
    {
        const uint8_t nChanges = _in.Byte();
        if (nChanges % 8 == 0)
            settings.key = TakeKeys2(_in);
        if (nChanges % 8 == 1)
            TakePart(_in, &settings, &parts);
        settings.nRestarts += nChanges / 8 % 8 == 0;
        if (nChanges / 64 == 0)
            keyer.Flush();
        vecPictures.push_back(TakeScene(_in));
        CheckFrame(&keyer, *vecPictures.back(), EngineSettings_Of(settings, &parts));
    }
}

/// The least parts of a pass, the last one first.
class CBackwardRunner final : public IRowRunner
{
public:
    void Run(int _nRows, int _nLeast, const CRowPass& _pass) override
    {
        for (int n = (_nRows + _nLeast - 1) / _nLeast - 1; n >= 0; --n)
            _pass(n * _nLeast, std::min(_nLeast, _nRows - n * _nLeast));
    }
};

/// What a stream is keyed with, and the masks and plates that its setups point into: each at a place of its own.
struct STREAM_SETUP
{
    UNMIX_SETUP setup;
    std::vector<std::vector<uint8_t>> vecMasks;
};

/// A plate of any size, or the one there was, or none.
void TakePlate(CByteReader& _in, const UNMIX_PLATE& _plateBefore, STREAM_SETUP* _pStream)
{
    const uint8_t nKind = _in.Byte();
    if (nKind < 0xC0)
        _pStream->setup.plate = nKind % 2 ? _plateBefore : UNMIX_PLATE();
    if (nKind < 0xC0)
        return;
    const int nWidth = _in.Range(1, 90), nHeight = _in.Range(1, 50);
    const SCENE_PAINT paint = {{_in.Take<uint32_t>(), _in.Take<uint32_t>()}, static_cast<uint8_t>(nKind & 0x1F), 9, 9};
    std::vector<uint8_t>& vecPlate = _pStream->vecMasks.emplace_back(size_t{4} * static_cast<size_t>(nWidth * nHeight));
    for (int y = 0; y < nHeight; ++y)
        PaintRow(paint, 0, y, int64_t{4} * nWidth, 4, &vecPlate[size_t{4} * static_cast<size_t>(y * nWidth)]);
    _pStream->setup.plate = {vecPlate.data(), nWidth, nHeight};
}

UNMIX_REGION TakeMask(CByteReader& _in, const CExactPicture& _picture, STREAM_SETUP* _pStream)
{
    if (_in.Byte() % 4 != 0)
        return {};
    const auto nWidth = static_cast<size_t>(_picture.m_vidProps.nWidth);
    const auto nHeight = static_cast<size_t>(std::abs(_picture.m_vidProps.nHeight));
    std::vector<uint8_t>& vecMask = _pStream->vecMasks.emplace_back(nWidth * nHeight);
    const size_t nInside = _in.Byte() * vecMask.size() / 255;
    std::fill_n(vecMask.begin(), nInside, _in.Byte());
    return {vecMask.data(), static_cast<int64_t>(nWidth)};
}

void TakeSetup(CByteReader& _in, const CExactPicture& _picture, STREAM_SETUP* _pStream)
{
    const CHROMA_KEY2_RAW key = TakeKeys2(_in);
    UNMIX_SETUP& setup = _pStream->setup;
    const UNMIX_PLATE plateBefore = setup.plate;
    setup = {};
    setup.params = UnmixParams_Of(key.params);
    setup.nKeys = key.nKeysUsed;
    setup.nProtected = key.nProtectedUsed;
    for (int n = 0; n < setup.nKeys; ++n)
        setup.arrKeys[n] = {{static_cast<float>(key.arrKeys[n].dblBlue), static_cast<float>(key.arrKeys[n].dblGreen),
                             static_cast<float>(key.arrKeys[n].dblRed)},
                            static_cast<float>(key.arrKeys[n].rangeBackdrop.dblHue),
                            static_cast<float>(key.arrKeys[n].rangeBackdrop.dblSaturation),
                            static_cast<float>(key.arrKeys[n].rangeBackdrop.dblValue)};
    for (int n = 0; n < setup.nProtected; ++n)
        setup.arrProtected[n].arrBGR[1] = static_cast<float>(key.arrProtected[n].dblGreen);
    for (UNMIX_REGION* const pRegion : {&setup.garbage, &setup.holdOut, &setup.backdrop})
        *pRegion = TakeMask(_in, _picture, _pStream);
    TakePlate(_in, plateBefore, _pStream);
}

/// Has a stream keyed by the readable kernels, the reference of all others.
void MakePlain(UNMIX_STATE* _pState)
{
    static const auto s_kernels = [] {
        UNMIX_KERNELS kernels = {};
        UnmixKernels_Init(&kernels, eSIMD_None);
        return kernels;
    }();
    static const auto s_chroma = [] {
        CHROMA_KERNELS kernels = {};
        ChromaKernels_Init(&kernels, eSIMD_None);
        return kernels;
    }();
    _pState->pKernels = &s_kernels;
    _pState->pChroma = &s_chroma;
}

/// One frame of two streams that have to agree; the bytes of the result, none where it was refused.
std::vector<uint8_t> KeyBoth(const CExactPicture& _picture, const UNMIX_SETUP& _setup, bool _bWords,
                             UNMIX_STATE (&_arrStates)[2])
{
    const UNMIX_INPUT input = {_picture.m_vidProps, _picture.m_vidPtr};
    const ptrdiff_t nStride = ptrdiff_t{_bWords ? 8 : 4} * _picture.m_vidProps.nWidth;
    const std::vector<uint8_t> vecBefore(
        static_cast<size_t>(nStride) * static_cast<size_t>(std::abs(_picture.m_vidProps.nHeight)), 77);
    std::vector<uint8_t> arrOut[2] = {vecBefore, vecBefore};
    CSerialRunner runner;
    CBackwardRunner runnerBackward;
    const HRESULT hr = Unmix_Frame(_arrStates[0], _setup, input, {arrOut[0].data(), nStride, _bWords}, runner);
    const HRESULT hrOther =
        Unmix_Frame(_arrStates[1], _setup, input, {arrOut[1].data(), nStride, _bWords}, runnerBackward);
    FUZZ_REQUIRE(hr == hrOther && arrOut[0] == arrOut[1] && UnmixState_Same(_arrStates[0], _arrStates[1]));
    FUZZ_REQUIRE(SUCCEEDED(hr) || hr == E_NOTIMPL || hr == E_INVALIDARG);
    FUZZ_REQUIRE(SUCCEEDED(hr) || arrOut[0] == vecBefore);
    for (const float flt : UnmixState_Floats(_arrStates[0]))
        FUZZ_REQUIRE(std::isfinite(flt));
    return SUCCEEDED(hr) ? arrOut[0] : std::vector<uint8_t>();
}

/// A stream of the second generation: pictures, settings and regions change, streams begin anew. Every number stays
/// one, and the same picture again with the same settings gives the same bytes.
void CheckStream(CByteReader& _in)
{
    UNMIX_STATE arrStates[2];
    MakePlain(&arrStates[1]);
    STREAM_SETUP stream;
    std::unique_ptr<CExactPicture> upPicture = TakeScene(_in);
    TakeSetup(_in, *upPicture, &stream);
    std::vector<uint8_t> vecLast;
    const bool bWords = _in.Flag();
    for (int nFrame = 0; nFrame < c_nMostFrames && !_in.AtEnd(); ++nFrame)
    {
        const uint8_t nChanges = _in.Byte();
        if (nChanges & 1)
            upPicture = TakeScene(_in);
        if (nChanges & 3) // masks have the picture's size
            TakeSetup(_in, *upPicture, &stream);
        for (UNMIX_STATE& state : arrStates)
            if ((nChanges & 12) == 12)
                Unmix_Restart(state);
        std::vector<uint8_t> vecOut = KeyBoth(*upPicture, stream.setup, bWords, arrStates);
        const bool bRepeat = nFrame > 0 && nChanges % 4 == 0 && (nChanges & 12) != 12;
        FUZZ_REQUIRE(!bRepeat || vecOut == vecLast);
        vecLast = std::move(vecOut);
    }
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    switch (_in.Byte() % 4)
    {
    case 0:
        return CheckKeyer(_in);
    case 1:
        return CheckReference(_in);
    case 2:
        return CheckKeyer2(_in);
    default:
        return CheckStream(_in);
    }
}
