// Calls on one plug-in object from two threads, through the module's class factory: frames and calls from one, edits,
// options and documents from both. What happens in the end depends on their timing; that nothing breaks does not.

#include "Support/ExactPicture.h"

#include "Base/ZLog.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZKey.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"
#include "Video/ZFrame.h"
#include "ZChromaKey/Objects/Module.h"

#include <thread>
#include <vector>

namespace
{

constexpr int c_nMostCalls = 24;
constexpr size_t c_nFrames = 3;

constexpr const wchar_t* c_arrOptions[] = {L"process.threads", L"output.thread", L"output.argb",       L"gpu_mode",
                                           L"keying.borders",  L"any.name",      L"debug.time_overlay"};
constexpr const wchar_t* c_arrValues[] = {L"0", L"1", L"2", L"true", L"false", L"8,1,8,1", L"", L"x"};
constexpr const wchar_t* c_arrDetect[] = {
    nullptr, L"", L"type=rgb", L"detect.blocks=4 borders=0", L"show_blocks=1 blocks=2", L"max_keys=1 threshold=99",
    L"a="};

/// One object and the frames that are sent through it.
struct SESSION
{
    CZPtr<IZChromaKey> cpKeyer;
    CZPtr<IZKey> cpKey;
    std::vector<CZPtr<IZFFrame>> vecFrames;

    IZFFrame* Frame(CByteReader& _in) const
    {
        const auto nFrame = static_cast<size_t>(_in.Range(0, static_cast<int>(c_nFrames)));
        return nFrame < vecFrames.size() ? vecFrames[nFrame].Get() : nullptr;
    }
};

template <class I> CZPtr<I> Make(REFCLSID _clsid)
{
    CZPtr<IClassFactory> cpFactory;
    CZPtr<I> cpObject;
    FUZZ_REQUIRE(ZModule_GetClassObject(_clsid, CZIidOf<IClassFactory>::Value, cpFactory.PutVoid()) == S_OK);
    FUZZ_REQUIRE(cpFactory->CreateInstance(nullptr, CZIidOf<I>::Value, cpObject.PutVoid()) == S_OK);
    return cpObject;
}

CZPtr<IZFFrame> TakeFrame(CByteReader& _in)
{
    ZF_VID_PROPS vidProps = FuzzProps_Take(_in, 64, 24);
    vidProps.nWidth += vidProps.nWidth % 2;
    vidProps.nHeight *= 2;
    CZPtr<CZFrame> cpFrame;
    FUZZ_REQUIRE(ZFrame_Create(vidProps, cpFrame.Put()) == S_OK);
    ZF_VID_PTR vidPtr = {};
    FUZZ_REQUIRE(cpFrame->VideoPropsGet(&vidProps) == S_OK && cpFrame->VideoPtrGet(eZFP_Write, &vidPtr) == S_OK);
    const auto nColour = _in.Take<uint32_t>();
    const auto cbImage = static_cast<size_t>(VidProps_ImageSize(&vidProps));
    uint8_t* const pMemory = Img_RowOf(vidPtr, 0, 0);
    for (size_t n = 0; n < cbImage; ++n)
        pMemory[n] = static_cast<uint8_t>(nColour >> (8 * (n % 4)));
    return CZPtr<IZFFrame>(cpFrame.Get());
}

CHROMA_KEY_RAW TakeKey(CByteReader& _in)
{
    CHROMA_KEY_RAW key = {};
    if (_in.Byte() % 8 == 0)
        key = _in.Take<CHROMA_KEY_RAW>();
    key.eType = _in.Range(0, 5);
    key.nKeysUsed = _in.Range(0, 3);
    for (int i = 0; i < key.nKeysUsed; ++i)
    {
        key.arrKeys[i].nValue = _in.Take<uint32_t>();
        key.arrKeys[i].nDelta = 0x202020;
    }
    return key;
}

void CallProcess(CByteReader& _in, const SESSION& _session)
{
    const auto cpProcess = ZQuery<IZFProcess>(_session.cpKeyer);
    CZPtr<IZFFrame> cpRes;
    const HRESULT hr = cpProcess->OnMediaReceive(_session.Frame(_in), cpRes.Put());
    FUZZ_REQUIRE((hr == S_OK) == static_cast<bool>(cpRes));
}

void CallKeys(CByteReader& _in, const SESSION& _session)
{
    IZChromaKey& keyer = *_session.cpKeyer.Get();
    const int32_t nX = _in.Number(), nY = _in.Number();
    switch (_in.Byte() % 10)
    {
    case 0:
        keyer.KeyAddPoint(nX, nY);
        return;
    case 1:
        keyer.KeyExcludePoint(nX, nY);
        return;
    case 2:
        keyer.KeyAddRect(nX, nY, _in.Number(), 20);
        return;
    case 3: {
        const BSTR bsProps = SysAllocString(_in.OneOf(c_arrDetect));
        keyer.KeyDetect(bsProps);
        SysFreeString(bsProps);
        return;
    }
    case 4:
        keyer.KeyAdjustSet(static_cast<eCK_Adjust>(nX), _in.Double());
        return;
    case 5:
        keyer.KeyStepBack(nX);
        keyer.KeyStepFwd(nY);
        return;
    case 6: {
        const CHROMA_KEY_RAW key = TakeKey(_in);
        keyer.KeyRawSet(&key, nullptr);
        return;
    }
    case 7: {
        CHROMA_KEY_RAW key = {};
        CK_ADJUST adjust = {};
        FUZZ_REQUIRE(keyer.KeyRawGet(&key, &adjust) == S_OK);
        return;
    }
    case 8: {
        CZPtr<IZKey> cpKey;
        FUZZ_REQUIRE(keyer.KeyGet(_session.Frame(_in), cpKey.Put()) == S_OK);
        keyer.KeySet(nX % 2 ? cpKey.Get() : _session.cpKey.Get());
        return;
    }
    default:
        keyer.KeyReset();
    }
}

void CallOthers(CByteReader& _in, const SESSION& _session)
{
    switch (_in.Byte() % 8)
    {
    case 0:
        ZQuery<IZProps>(_session.cpKeyer)->PropsSet(_in.OneOf(c_arrOptions), _in.OneOf(c_arrValues));
        return;
    case 1: {
        BSTR bsText = nullptr;
        ZQuery<IZProps>(_session.cpKeyer)->PropsNameGet(_in.Byte(), &bsText);
        SysFreeString(bsText);
        return;
    }
    case 2: {
        BSTR bsDocument = nullptr;
        const auto cpPersist = ZQuery<IZFPersist>(_session.cpKeyer);
        if (cpPersist->PersistSaveToString(&bsDocument) == S_OK)
            FUZZ_REQUIRE(cpPersist->PersistLoad(bsDocument) == S_OK);
        SysFreeString(bsDocument);
        return;
    }
    case 3:
        ZQuery<IZFPersist>(_session.cpKeyer)->PersistLoad((L"<" + ZText_ToWide(_in.Line())).c_str());
        return;
    case 4: {
        CZPtr<IZFFrame> cpKeying, cpBackground;
        IZFFrame* const pFrame = _session.Frame(_in);
        _session.cpKeyer->KeyFrameSet(pFrame, _session.Frame(_in));
        _session.cpKeyer->KeyFrameGet(cpKeying.Put(), cpBackground.Put());
        return;
    }
    case 5:
        ZQuery<IZPlugin>(_session.cpKeyer)->Close();
        return;
    case 6:
        ZQuery<IZFProcess>(_session.cpKeyer)->OnMediaFlush();
        return;
    default: {
        const CHROMA_KEY_RAW key = TakeKey(_in);
        _session.cpKey->RawSet(&key);
        const bool bExclude = _in.Flag();
        _session.cpKey->AddPoint(_session.Frame(_in), _in.Number(), 2, bExclude);
        _session.cpKey->MaxKeysSet(_in.Number(), bExclude);
    }
    }
}

/// _bFrames: this is the thread that frames come from.
void Call(CByteReader _in, const SESSION& _session, bool _bFrames)
{
    for (int nCalls = 0; !_in.AtEnd() && nCalls < c_nMostCalls; ++nCalls)
    {
        const int nKind = _in.Byte() % 4;
        if (nKind == 0 || (_bFrames && nKind == 1))
            CallOthers(_in, _session);
        else if (nKind == 3 && _bFrames)
            CallProcess(_in, _session);
        else
            CallKeys(_in, _session);
    }
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    {
        SESSION session = {Make<IZChromaKey>(CLSID_ZChromaKey), Make<IZKey>(CLSID_ZKey), {}};
        for (size_t n = 0; n < c_nFrames; ++n)
            session.vecFrames.push_back(TakeFrame(_in));
        const size_t nSplit = _in.Byte();
        const std::string_view svCalls = _in.Rest();
        const CByteReader inFrames(svCalls.substr(0, nSplit));
        const CByteReader inOther(svCalls.substr(std::min(nSplit, svCalls.size())));
        std::thread thread([&] { Call(inOther, session, false); });
        Call(inFrames, session, true);
        thread.join();
    }
    FUZZ_REQUIRE(ZModule_IsIdle());
}
