#include "Host/TempFolder.h"
#include "Base/ZBstr.h"
#include "ZChromaKey/Objects/FaultRuns.h"
#include "ZChromaKey/Objects/TestKeyer.h"

// Memory runs out in the calls of the first generation.

namespace
{

/// A plug-in object, and the frames that a call may need, made while there is memory.
struct SUBJECT
{
    void Option(const wchar_t* _pwszName, const wchar_t* _pwszValue) const
    {
        EXPECT_EQ(cpKey->PropsSet(_pwszName, _pwszValue), S_OK);
    }
    HRESULT KeySet(eCK_Type _eType) const
    {
        const CHROMA_KEY_RAW key = TestKey(_eType);
        return cpKey->KeyRawSet(&key, nullptr);
    }
    HRESULT Receive(IZFFrame* _pFrameOrNull)
    {
        return cpKey->OnMediaReceive(_pFrameOrNull, cpResult.Put());
    }
    std::string Document() const
    {
        return ZText_FromWide(DocumentOf(cpKey.Get()));
    }
    bool HasOutput() const
    {
        return cpResult || bsText || cpKeyObject;
    }
    void Release()
    {
        SysFreeString(bsText);
        cpResult.Reset();
        cpKeyObject.Reset();
        cpKey.Reset();
    }

    CZPtr<CZFrame> cpFrame = TestFrame_Make(eZFCC_RGB32, 64, -48);
    CZPtr<CZFrame> cpFrameLarge = TestFrame_Make(eZFCC_UYVY, 128, 96);
    CZPtr<CCoZChromaKey> cpKey;
    CZPtr<IZFFrame> cpResult;
    CZPtr<IZKey> cpKeyObject;
    BSTR bsText = nullptr;
};

/// A mask is there, and is that of the test picture.
bool IsKeyed(IZFFrame* _pFrame)
{
    const auto cpMask = MaskOf(_pFrame);
    if (!cpMask)
        return false;
    const ZF_VID_PROPS vidMask = PropsOf(cpMask.Get());
    const uint8_t* const pRow = RowOf(cpMask.Get(), -vidMask.nHeight - 1);
    return pRow[vidMask.nWidth / 2 - 3] == 0 && pRow[vidMask.nWidth / 2 + 2] == 255;
}

using Faults = CFaultRuns<SUBJECT>;

void MakeDirect(SUBJECT& _subject)
{
    _subject.cpKey = TestKeyer_Make();
}

void MakeThreaded(SUBJECT& _subject)
{
    MakeDirect(_subject);
    _subject.Option(L"output.thread", L"true");
}

void MakeRepeated(SUBJECT& _subject)
{
    MakeDirect(_subject);
    CZPtr<IZFFrame> cpResult;
    EXPECT_EQ(_subject.cpKey->OnMediaReceive(_subject.cpFrame.Get(), cpResult.Put()), S_OK);
}

/// Followed by another frame, in another format, for more threads, with more to do.
void MakeWarm(SUBJECT& _subject)
{
    MakeRepeated(_subject);
    _subject.Option(L"output.argb", L"true");
    _subject.Option(L"keying.borders", L"8,0,8,0");
    _subject.Option(L"process.threads", L"4");
    CHROMA_KEY_RAW key = TestKey(eCKT_HLS);
    key.nEdgesSmooth = 1;
    EXPECT_EQ(_subject.cpKey->KeyRawSet(&key, nullptr), S_OK);
}

void MakeForEditing(SUBJECT& _subject)
{
    MakeDirect(_subject);
    EXPECT_EQ(_subject.cpKey->KeyFrameSet(_subject.cpFrame.Get(), nullptr), S_OK);
}

bool KeyedResult(SUBJECT& _subject)
{
    return IsKeyed(_subject.cpResult.Get());
}

bool Keys(SUBJECT& _subject)
{
    CZPtr<IZFFrame> cpResult;
    _subject.Option(L"output.thread", L"false");
    return SUCCEEDED(_subject.cpKey->OnMediaReceive(_subject.cpFrame.Get(), cpResult.Put())) && IsKeyed(cpResult.Get());
}

HRESULT CreateThroughFactory(SUBJECT& _subject)
{
    CZPtr<IClassFactory> cpFactory;
    CZPtr<IZChromaKey> cpKey;
    HRESULT hr = ZModule_GetClassObject(CLSID_ZChromaKey, CZIidOf<IClassFactory>::Value, cpFactory.PutVoid());
    if (SUCCEEDED(hr))
        hr = cpFactory->CreateInstance(nullptr, IID_IZChromaKey, cpKey.PutVoid());
    _subject.cpKey = CZPtr<CCoZChromaKey>(static_cast<CCoZChromaKey*>(cpKey.Get()));
    return hr;
}

HRESULT ReceiveThreaded(SUBJECT& _subject)
{
    const HRESULT hr = _subject.Receive(_subject.cpFrame.Get());
    return FAILED(hr) ? hr : _subject.Receive(nullptr);
}

TEST_F(Faults, MemoryRunsOutInEveryCall)
{
    SUBJECT warm; // what a program keeps from its first object on is no loss
    ASSERT_TRUE(SUCCEEDED(CreateThroughFactory(warm)) && SUCCEEDED(warm.KeySet(eCKT_RGB)) && Keys(warm));
    warm.cpKey.Reset();
    const OPERATION arrOperations[] = {
        {"create", [](SUBJECT&) {}, CreateThroughFactory,
         [](SUBJECT& _s) { return SUCCEEDED(_s.KeySet(eCKT_RGB)) && Keys(_s); }},
        {"set keys", MakeDirect, [](SUBJECT& _s) { return _s.KeySet(eCKT_YUV); },
         [](SUBJECT& _s) {
             CHROMA_KEY_RAW key = {};
             return SUCCEEDED(_s.cpKey->KeyRawGet(&key, nullptr)) && key.eType == eCKT_YUV;
         }},
        {"set option", MakeDirect,
         [](SUBJECT& _s) { return _s.cpKey->PropsSet(L"keying.borders", L"8, 0, 8, 0                       "); },
         [](SUBJECT& _s) { return _s.Document().find("keying.borders") != std::string::npos; }},
#if !defined(_WIN32) // the texts come from the system there, which is not refused anything
        {"get option", MakeDirect, [](SUBJECT& _s) { return _s.cpKey->PropsGet(L"output.thread", &_s.bsText); },
         [](SUBJECT& _s) { return SysStringLen(_s.bsText) == 5; }},
        {"plugin info", MakeDirect,
         [](SUBJECT& _s) {
             CZBStr bsVersion;
             return _s.cpKey->PluginInfoGet(&_s.bsText, bsVersion.Put());
         },
         [](SUBJECT& _s) { return SysStringLen(_s.bsText) == 10; }},
#endif
        {"first frame", MakeDirect, [](SUBJECT& _s) { return _s.Receive(_s.cpFrame.Get()); }, KeyedResult},
        {"second frame", MakeWarm, [](SUBJECT& _s) { return _s.Receive(_s.cpFrameLarge.Get()); }, KeyedResult},
        {"repeated frame", MakeRepeated, [](SUBJECT& _s) { return _s.Receive(_s.cpFrame.Get()); }, KeyedResult},
        {"first frame, output thread", MakeThreaded, ReceiveThreaded, KeyedResult},
    };
    RunAll(arrOperations);
}

TEST_F(Faults, MemoryRunsOutWhileKeysAreEdited)
{
    static wchar_t s_wszBlocks[] = L"show_blocks=true";
    const OPERATION arrOperations[] = {
        {"detect", MakeForEditing, [](SUBJECT& _s) { return _s.cpKey->KeyDetect(s_wszBlocks); }, Keys},
        {"pick a point", MakeForEditing, [](SUBJECT& _s) { return _s.cpKey->KeyAddPoint(5, 40); }, Keys},
        {"add a rectangle", MakeForEditing, [](SUBJECT& _s) { return _s.cpKey->KeyAddRect(2, 20, 25, 44); }, Keys},
        {"adjust", MakeForEditing, [](SUBJECT& _s) { return _s.cpKey->KeyAdjustSet(eCKA_KeyType, eCKT_YUV); }, Keys},
        {"get key object", MakeForEditing, [](SUBJECT& _s) { return _s.cpKey->KeyGet(nullptr, _s.cpKeyObject.Put()); },
         [](SUBJECT& _s) { return static_cast<bool>(_s.cpKeyObject); }},
    };
    RunAll(arrOperations);
}

TEST_F(Faults, MemoryRunsOutWhileSavingAndLoading)
{
    const CTempFolder folder;
    const std::wstring wstrFile = ZText_ToWide(folder.Path("keys.xml"));
    const std::wstring wstrOther = ZText_ToWide(folder.Path("other.xml"));
    const auto fnMake = [](SUBJECT& _s, const wchar_t* _pwszDocument, eCK_Type _eType) {
        MakeDirect(_s);
        EXPECT_EQ(_s.cpKey->PersistLoad(_pwszDocument), S_OK);
        EXPECT_EQ(_s.KeySet(_eType), S_OK);
    };
    const auto fnPrepare = [&](SUBJECT& _s) {
        folder.Write("keys.xml", "as it was");
        fnMake(_s, L"<zl-root><guest b=\"of the first document\"/><ZChromaKey/></zl-root>", eCKT_RGB);
    };
    SUBJECT other;
    fnMake(other, L"<zl-root><guest a=\"of another program\"/><ZChromaKey/></zl-root>", eCKT_YUV);
    other.Option(L"process.threads", L"3");
    ASSERT_EQ(other.cpKey->PersistSaveToFile(wstrOther.c_str()), S_OK);
    other.cpKey.Reset();
    const auto fnLoaded = [](SUBJECT& _s) { return _s.Document().find("of another program") != std::string::npos; };
    const OPERATION arrOperations[] = {
        {"save to a string", fnPrepare, [](SUBJECT& _s) { return _s.cpKey->PersistSaveToString(&_s.bsText); },
         [](SUBJECT& _s) {
             return ZText_FromWide({_s.bsText, SysStringLen(_s.bsText)}) == _s.Document();
         }},
        {"save to a file", fnPrepare, [&](SUBJECT& _s) { return _s.cpKey->PersistSaveToFile(wstrFile.c_str()); },
         [&](SUBJECT& _s) { return folder.Read("keys.xml") == _s.Document(); },
         [&] { return folder.Files() == 2 && folder.Read("keys.xml") == "as it was"; }},
        {"load a file", fnPrepare, [&](SUBJECT& _s) { return _s.cpKey->PersistLoad(wstrOther.c_str()); }, fnLoaded},
    };
    RunAll(arrOperations);
}

} // namespace
