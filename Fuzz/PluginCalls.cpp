// Calls on one plug-in object of either generation from two threads, through the module's class factory: frames and
// calls from one, edits, options and documents from both. What happens in the end depends on their timing; that nothing
// breaks does not.

#include "Support/ExactPicture.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZChromaKey2.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZKey.h"
#include "Interfaces/IZKey2.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"
#include "Video/ZFrame.h"
#include "ZChromaKey/Config/Params2.h"
#include "ZChromaKey/Keys2/KeySet2.h"
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

constexpr const wchar_t* c_arrPolygons[] = {nullptr, L"", L"0,0 20,0 20,20 0,20", L"-5,3 9,9 30,1;2,2", L"1,2 3"};
constexpr const wchar_t* c_arrStats[] = {L"mixed", L"cuts", L"", nullptr};

/// One object of either generation, and the frames that are sent through it.
struct SESSION
{
    CZPtr<IZPlugin> cpPlugin; ///< the object, whichever it is
    CZPtr<IZChromaKey> cpKeyer;
    CZPtr<IZKey> cpKey;
    CZPtr<IZChromaKey2> cpKeyer2; ///< null for the first generation
    CZPtr<IZKey2> cpKey2;
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
    const auto cpProcess = ZQuery<IZFProcess>(_session.cpPlugin);
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

CHROMA_KEY2_RAW TakeKey2(CByteReader& _in)
{
    if (_in.Byte() % 8 == 0)
        return _in.Take<CHROMA_KEY2_RAW>();
    CHROMA_KEY2_RAW key = KeySet2_Empty();
    key.nKeysUsed = _in.Range(0, 2);
    for (int n = 0; n < key.nKeysUsed; ++n)
        key.arrKeys[n] = KeySet2_Key(KeySet2_Color(_in.Take<uint32_t>()));
    key.params.eViewValue = _in.Range(0, 7);
    return key;
}

void CallKeys2(CByteReader& _in, const SESSION& _session)
{
    IZChromaKey2& keyer = *_session.cpKeyer2.Get();
    const int32_t nX = _in.Number(), nY = _in.Number();
    switch (_in.Byte() % 8)
    {
    case 0:
        keyer.KeyAuto();
        return;
    case 1:
        keyer.KeyAddPoint(nX, nY);
        return;
    case 2:
        keyer.KeyProtectRect(nX, nY, _in.Number(), 20);
        return;
    case 3:
        keyer.KeyAddColor(_in.Take<uint32_t>());
        return;
    case 4:
        keyer.KeyRemove(nX, nY % 2);
        return;
    case 5: {
        const CHROMA_KEY2_RAW key = TakeKey2(_in);
        const HRESULT hr = keyer.KeyRawSet(&key);
        FUZZ_REQUIRE((hr == S_OK) == KeySet2_Check(key).empty());
        return;
    }
    case 6: {
        CZPtr<IZKey2> cpKey;
        FUZZ_REQUIRE(keyer.KeyGet(cpKey.Put()) == S_OK);
        FUZZ_REQUIRE(keyer.KeySet(nX % 2 ? cpKey.Get() : _session.cpKey2.Get()) == S_OK);
        return;
    }
    default:
        keyer.KeyReset();
    }
}

void CallSteps2(CByteReader& _in, const SESSION& _session)
{
    IZChromaKey2& keyer = *_session.cpKeyer2.Get();
    int32_t nDone = 0;
    switch (_in.Byte() % 4)
    {
    case 0:
        keyer.StepBack(_in.Number(), &nDone);
        keyer.StepFwd(_in.Number(), &nDone);
        return;
    case 1:
        keyer.GroupBegin();
        return;
    case 2:
        keyer.GroupEnd();
        return;
    default: {
        const auto arrParams = Params2_Table();
        const KEY2_PARAM& param = arrParams[_in.Byte() % arrParams.size()];
        CZBStr bsName(param.pszName);
        keyer.ParamSet(bsName.Get(), _in.Double());
        double dblValue = -1000;
        FUZZ_REQUIRE(keyer.ParamGet(bsName.Get(), &dblValue) == S_OK && Params2_Check(param, dblValue).empty());
    }
    }
}

void CallPictures2(CByteReader& _in, const SESSION& _session)
{
    IZChromaKey2& keyer = *_session.cpKeyer2.Get();
    CZPtr<IZFFrame> cpFrame;
    switch (_in.Byte() % 8)
    {
    case 0:
        keyer.PlateLearn(static_cast<eLearn>(_in.Range(0, 3)));
        return;
    case 1:
        keyer.PlateSet(_session.Frame(_in));
        return;
    case 2:
        FUZZ_REQUIRE((keyer.PlateGet(cpFrame.Put()) == S_OK) == static_cast<bool>(cpFrame));
        return;
    case 3:
        keyer.RegionSet(static_cast<eRegion>(_in.Range(0, 3)), _session.Frame(_in), nullptr);
        return;
    case 4: {
        const BSTR bsPolygon = SysAllocString(_in.OneOf(c_arrPolygons));
        keyer.RegionSet(static_cast<eRegion>(_in.Range(0, 2)), nullptr, bsPolygon);
        SysFreeString(bsPolygon);
        return;
    }
    case 5:
        FUZZ_REQUIRE((keyer.RegionGet(static_cast<eRegion>(_in.Range(0, 3)), cpFrame.Put()) == S_OK) ==
                     static_cast<bool>(cpFrame));
        return;
    case 6: {
        const BSTR bsName = SysAllocString(_in.OneOf(c_arrStats));
        double dblValue = 0;
        keyer.StatGet(bsName, &dblValue);
        SysFreeString(bsName);
        return;
    }
    default:
        keyer.FrameSet(_session.Frame(_in));
    }
}

void CallEdits(CByteReader& _in, const SESSION& _session)
{
    if (!_session.cpKeyer2)
        return CallKeys(_in, _session);
    switch (_in.Byte() % 3)
    {
    case 0:
        return CallKeys2(_in, _session);
    case 1:
        return CallSteps2(_in, _session);
    default:
        return CallPictures2(_in, _session);
    }
}

void CallKeyObject(CByteReader& _in, const SESSION& _session)
{
    const CHROMA_KEY_RAW key = TakeKey(_in);
    _session.cpKey->RawSet(&key);
    const bool bExclude = _in.Flag();
    _session.cpKey->AddPoint(_session.Frame(_in), _in.Number(), 2, bExclude);
    _session.cpKey->MaxKeysSet(_in.Number(), bExclude);
}

void CallKeyObject2(CByteReader& _in, const SESSION& _session)
{
    const CHROMA_KEY2_RAW key = TakeKey2(_in);
    _session.cpKey2->RawSet(&key);
    const bool bProtect = _in.Flag();
    _session.cpKey2->AddPoint(_session.Frame(_in), _in.Number(), 2, bProtect);
    _session.cpKey2->RangeSet(_in.Number(), static_cast<eRange>(_in.Range(0, 3)), _in.Double(), 0.5, 0.5);
    _session.cpKey2->Remove(_in.Number(), bProtect);
}

void CallOthers(CByteReader& _in, const SESSION& _session)
{
    switch (_in.Byte() % 8)
    {
    case 0:
        ZQuery<IZProps>(_session.cpPlugin)->PropsSet(_in.OneOf(c_arrOptions), _in.OneOf(c_arrValues));
        return;
    case 1: {
        BSTR bsText = nullptr;
        ZQuery<IZProps>(_session.cpPlugin)->PropsNameGet(_in.Byte(), &bsText);
        SysFreeString(bsText);
        return;
    }
    case 2: {
        BSTR bsDocument = nullptr;
        const auto cpPersist = ZQuery<IZFPersist>(_session.cpPlugin);
        if (cpPersist->PersistSaveToString(&bsDocument) == S_OK)
            FUZZ_REQUIRE(cpPersist->PersistLoad(bsDocument) == S_OK);
        SysFreeString(bsDocument);
        return;
    }
    case 3:
        ZQuery<IZFPersist>(_session.cpPlugin)->PersistLoad((L"<" + ZText_ToWide(_in.Line())).c_str());
        return;
    case 4: {
        if (_session.cpKeyer2)
            return CallPictures2(_in, _session);
        CZPtr<IZFFrame> cpKeying, cpBackground;
        IZFFrame* const pFrame = _session.Frame(_in);
        _session.cpKeyer->KeyFrameSet(pFrame, _session.Frame(_in));
        _session.cpKeyer->KeyFrameGet(cpKeying.Put(), cpBackground.Put());
        return;
    }
    case 5:
        _session.cpPlugin->Close();
        return;
    case 6:
        ZQuery<IZFProcess>(_session.cpPlugin)->OnMediaFlush();
        return;
    default:
        _session.cpKeyer2 ? CallKeyObject2(_in, _session) : CallKeyObject(_in, _session);
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
            CallEdits(_in, _session);
    }
}

SESSION MakeSession(bool _bSecond)
{
    SESSION session;
    if (_bSecond)
    {
        session.cpKeyer2 = Make<IZChromaKey2>(CLSID_ZChromaKey2);
        session.cpKey2 = Make<IZKey2>(CLSID_ZKey2);
        session.cpPlugin = ZQuery<IZPlugin>(session.cpKeyer2);
        return session;
    }
    session.cpKeyer = Make<IZChromaKey>(CLSID_ZChromaKey);
    session.cpKey = Make<IZKey>(CLSID_ZKey);
    session.cpPlugin = ZQuery<IZPlugin>(session.cpKeyer);
    return session;
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    {
        SESSION session = MakeSession(_in.Flag());
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
