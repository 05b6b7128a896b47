#include "Host/TempFolder.h"
#include "ZChromaKey/Objects/FaultRuns.h"
#include "Interfaces/IZKey2.h"
#include "ZChromaKey/Objects/CoZChromaKey2.h"
#include "ZChromaKey/Objects/TestKeyer.h"

#if !defined(_WIN32)
#include "Support/Refuse.h"
#endif

// Memory runs out in the calls of the second generation.

namespace
{

constexpr const wchar_t* c_pwszPolygon = L"0,0 16,0 16,16 0,16";

struct SUBJECT2
{
    void Option(const wchar_t* _pwszName, const wchar_t* _pwszValue) const
    {
        EXPECT_EQ(cpKey->PropsSet(_pwszName, _pwszValue), S_OK);
    }
    HRESULT Param(const wchar_t* _pwszName, double _dblValue) const
    {
        const BSTR bsName = SysAllocString(_pwszName); // none where memory is short
        const HRESULT hr = bsName ? cpKey->ParamSet(bsName, _dblValue) : E_OUTOFMEMORY;
        SysFreeString(bsName);
        return hr;
    }
    HRESULT Region(eRegion _eRegion) const
    {
        const BSTR bsPolygon = SysAllocString(c_pwszPolygon);
        const HRESULT hr = bsPolygon ? cpKey->RegionSet(_eRegion, nullptr, bsPolygon) : E_OUTOFMEMORY;
        SysFreeString(bsPolygon);
        return hr;
    }
    HRESULT Receive(IZFFrame* _pFrameOrNull)
    {
        return cpKey->OnMediaReceive(_pFrameOrNull, cpResult.Put());
    }
    CHROMA_KEY2_RAW Raw() const
    {
        CHROMA_KEY2_RAW key = {};
        EXPECT_EQ(cpKey->KeyRawGet(&key), S_OK);
        return key;
    }
    int32_t StepsBack() const
    {
        int32_t nSteps = -1;
        EXPECT_EQ(cpKey->StepsBack(&nSteps), S_OK);
        return nSteps;
    }
    std::string Document() const
    {
        return ZFormat("%d steps %hs", StepsBack(), ZText_FromWide(DocumentOf(cpKey.Get())));
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

    CZPtr<CZFrame> cpFrame = TestFrame_Body(eZFCC_RGB32, 96, 64);
    CZPtr<CZFrame> cpFrameLarge = TestFrame_Body(eZFCC_NV12, 160, 96);
    CZPtr<CCoZChromaKey2> cpKey;
    CZPtr<IZFFrame> cpResult;
    CZPtr<IZKey2> cpKeyObject;
    BSTR bsText = nullptr;
};
using Faults2 = CFaultRuns<SUBJECT2>;

HRESULT Create2(SUBJECT2& _subject)
{
    CZPtr<IClassFactory> cpFactory;
    CZPtr<IZChromaKey2> cpKey;
    HRESULT hr = ZModule_GetClassObject(CLSID_ZChromaKey2, CZIidOf<IClassFactory>::Value, cpFactory.PutVoid());
    if (SUCCEEDED(hr))
        hr = cpFactory->CreateInstance(nullptr, IID_IZChromaKey2, cpKey.PutVoid());
    _subject.cpKey = CZPtr<CCoZChromaKey2>(static_cast<CCoZChromaKey2*>(cpKey.Get()));
    return hr;
}

/// Keys on the calling thread, with a green key.
void MakeDirect2(SUBJECT2& _subject)
{
    EXPECT_EQ(Create2(_subject), S_OK);
    _subject.Option(L"output.thread", L"false");
    _subject.Option(L"gpu_mode", L"0");
    EXPECT_EQ(_subject.cpKey->KeyAddColor(0x00B400), S_OK);
    EXPECT_EQ(_subject.cpKey->FrameSet(_subject.cpFrame.Get()), S_OK);
}

void MakeKeyed2(SUBJECT2& _subject)
{
    MakeDirect2(_subject);
    CZPtr<IZFFrame> cpResult;
    EXPECT_EQ(_subject.cpKey->OnMediaReceive(_subject.cpFrame.Get(), cpResult.Put()), S_OK);
}

/// Followed by another frame, of another size and format, for more threads, with more to do.
void MakeWarm2(SUBJECT2& _subject)
{
    MakeKeyed2(_subject);
    _subject.Option(L"process.threads", L"3");
    EXPECT_EQ(_subject.Param(L"shadows", 50), S_OK);
    EXPECT_EQ(_subject.Region(eRegion_Backdrop), S_OK);
    EXPECT_EQ(_subject.cpKey->RegionSet(eRegion_HoldOut, _subject.cpFrameLarge.Get(), nullptr), S_OK);
    EXPECT_EQ(_subject.cpKey->RegionSet(eRegion_HoldOut, nullptr, nullptr), S_OK);
}

/// Transparent where the backdrop is, opaque in the body.
bool IsKeyed2(IZFFrame* _pFrame)
{
    const auto cpMask = MaskOf(_pFrame);
    if (!cpMask)
        return false;
    const ZF_VID_PROPS vidMask = PropsOf(cpMask.Get());
    const uint8_t* const pRow = RowOf(cpMask.Get(), -vidMask.nHeight * 3 / 4);
    return pRow[vidMask.nWidth / 4] == 0 && pRow[vidMask.nWidth * 3 / 4] == 255;
}

bool KeyedResult2(SUBJECT2& _subject)
{
    return IsKeyed2(_subject.cpResult.Get());
}

bool Keys2(SUBJECT2& _subject)
{
    CZPtr<IZFFrame> cpResult;
    _subject.Option(L"output.thread", L"false");
    return SUCCEEDED(_subject.cpKey->OnMediaReceive(_subject.cpFrame.Get(), cpResult.Put())) &&
           IsKeyed2(cpResult.Get());
}

TEST_F(Faults2, MemoryRunsOutWhileFramesAreKeyed)
{
    SUBJECT2 warm; // what a program keeps from its first object on is no loss
    MakeKeyed2(warm);
    warm.Release();
    const OPERATION arrOperations[] = {
        {"create", [](SUBJECT2&) {}, Create2,
         [](SUBJECT2& _s) { return SUCCEEDED(_s.cpKey->KeyAddColor(0x00B400)) && Keys2(_s); }},
        {"first frame", MakeDirect2, [](SUBJECT2& _s) { return _s.Receive(_s.cpFrame.Get()); }, KeyedResult2},
        {"another size, format and threads", MakeWarm2, [](SUBJECT2& _s) { return _s.Receive(_s.cpFrameLarge.Get()); },
         KeyedResult2},
        {"repeated frame", MakeKeyed2, [](SUBJECT2& _s) { return _s.Receive(_s.cpFrame.Get()); }, KeyedResult2},
        {"first frame, output thread",
         [](SUBJECT2& _s) {
             MakeDirect2(_s);
             _s.Option(L"output.thread", L"true");
         },
         [](SUBJECT2& _s) {
             const HRESULT hr = _s.Receive(_s.cpFrame.Get());
             return FAILED(hr) ? hr : _s.Receive(nullptr);
         },
         KeyedResult2},
        {"get the plate", MakeKeyed2, [](SUBJECT2& _s) { return _s.cpKey->PlateGet(_s.cpResult.Put()); },
         [](SUBJECT2& _s) { return RowOf(_s.cpResult.Get(), 50)[4 * 70 + 1] > 150; }},
    };
    RunAll(arrOperations);
}

/// Shows what the engine knows instead of its result.
void MakeView2(SUBJECT2& _subject, eView _eView)
{
    MakeKeyed2(_subject);
    EXPECT_EQ(_subject.cpKey->ViewSet(_eView), S_OK);
}

TEST_F(Faults2, MemoryRunsOutWhileViewsAreMade)
{
    std::vector<OPERATION> vecOperations;
    for (const auto& [pszName, eShown] : {std::pair("view of the status", eView_Status),
                                          {"of the plate", eView_Plate},
                                          {"of the foreground", eView_Foreground}})
        vecOperations.push_back({pszName, [eWhich = eShown](SUBJECT2& _s) { MakeView2(_s, eWhich); },
                                 [](SUBJECT2& _s) { return _s.Receive(_s.cpFrame.Get()); },
                                 [](SUBJECT2& _s) { return static_cast<bool>(_s.cpResult); }});
    RunAll(vecOperations);
}

/// Two steps, in a group that is not at its end yet.
[[maybe_unused]] void MakeGroup2(SUBJECT2& _subject)
{
    MakeDirect2(_subject);
    EXPECT_EQ(_subject.cpKey->GroupBegin(), S_OK);
    EXPECT_EQ(_subject.Param(L"choke", 3), S_OK);
    EXPECT_EQ(_subject.Region(eRegion_Garbage), S_OK);
}

TEST_F(Faults2, MemoryRunsOutInGroupsAndWithPlates)
{
    const OPERATION arrOperations[] = {
#if !defined(_WIN32) // there it takes no memory
        {"edit in a group", MakeGroup2, [](SUBJECT2& _s) { return _s.Param(L"soften", 2); },
         [](SUBJECT2& _s) { return _s.cpKey->GroupEnd() == S_OK && _s.StepsBack() == 2; }},
#endif
        {"frame after the plate was forgotten",
         [](SUBJECT2& _s) {
             MakeWarm2(_s);
             EXPECT_EQ(_s.cpKey->PlateLearn(eLearn_Restart), S_OK);
         },
         [](SUBJECT2& _s) { return _s.Receive(_s.cpFrame.Get()); }, KeyedResult2},
        {"frame with a plate",
         [](SUBJECT2& _s) {
             MakeKeyed2(_s);
             EXPECT_EQ(_s.cpKey->PlateSet(_s.cpFrameLarge.Get()), S_OK);
         },
         [](SUBJECT2& _s) { return _s.Receive(_s.cpFrame.Get()); },
         [](SUBJECT2& _s) { return static_cast<bool>(_s.cpResult); }},
    };
    RunAll(arrOperations);
}

#if !defined(_WIN32)

TEST_F(Faults2, ThreadsThatCannotBeStarted)
{
    for (const wchar_t* const pwszOutputThread : {L"false", L"true"})
    {
        int nPoints = 0;
        for (bool bRefused = true; bRefused; nPoints += bRefused)
        {
            ASSERT_LT(nPoints, 100);
            SUBJECT2 subject;
            MakeDirect2(subject);
            subject.Option(L"output.thread", pwszOutputThread);
            subject.Option(L"process.threads", L"5");
            const auto fnKey = [&] {
                const HRESULT hr = subject.Receive(subject.cpFrame.Get());
                return hr == S_FALSE ? subject.Receive(nullptr) : hr;
            };
            Refuse_Thread(nPoints + 1);
            const HRESULT hr = fnKey();
            bRefused = Refuse_End();
            EXPECT_EQ(hr, bRefused ? E_OUTOFMEMORY : S_OK);
            EXPECT_EQ(fnKey(), S_OK) << "there are threads again";
            EXPECT_TRUE(KeyedResult2(subject));
            subject.Release();
        }
        EXPECT_EQ(nPoints, *pwszOutputThread == L't' ? 6 : 5);
        std::printf("second generation, output.thread %ls: %d threads refused\n", pwszOutputThread, nPoints);
    }
    EXPECT_TRUE(ZModule_IsIdle());
}

#endif

TEST_F(Faults2, MemoryRunsOutWhileKeysAreEdited)
{
    const OPERATION arrOperations[] = {
        {"find the key", MakeDirect2, [](SUBJECT2& _s) { return _s.cpKey->KeyAuto(); }, Keys2},
        {"pick a point", MakeDirect2, [](SUBJECT2& _s) { return _s.cpKey->KeyAddPoint(5, 40); },
         [](SUBJECT2& _s) { return _s.Raw().nKeysUsed == 1; }},
        {"protect a rectangle", MakeDirect2, [](SUBJECT2& _s) { return _s.cpKey->KeyProtectRect(60, 40, 90, 60); },
         [](SUBJECT2& _s) { return _s.Raw().nProtectedUsed == 1; }},
        {"set a structure", MakeDirect2,
         [](SUBJECT2& _s) {
             CHROMA_KEY2_RAW key = KeySet2_Empty();
             key.params.dblChoke = 2;
             return _s.cpKey->KeyRawSet(&key);
         },
         [](SUBJECT2& _s) { return _s.Raw().params.dblChoke == 2; }},
        {"set a parameter", MakeDirect2, [](SUBJECT2& _s) { return _s.Param(L"choke", 3); },
         [](SUBJECT2& _s) { return _s.Raw().params.dblChoke == 3; }},
        {"set a polygon", MakeDirect2, [](SUBJECT2& _s) { return _s.Region(eRegion_Garbage); },
         [](SUBJECT2& _s) { return _s.Document().find("garbage") != std::string::npos; }},
        {"set a mask", MakeWarm2,
         [](SUBJECT2& _s) { return _s.cpKey->RegionSet(eRegion_HoldOut, _s.cpFrame.Get(), nullptr); },
         [](SUBJECT2& _s) { return _s.cpKey->RegionGet(eRegion_HoldOut, _s.cpResult.Put()) == S_OK; }},
        {"get a mask", MakeWarm2, [](SUBJECT2& _s) { return _s.cpKey->RegionGet(eRegion_Backdrop, _s.cpResult.Put()); },
         [](SUBJECT2& _s) { return RowOf(_s.cpResult.Get(), 0)[0] == 255; }},
        {"set a plate", MakeWarm2, [](SUBJECT2& _s) { return _s.cpKey->PlateSet(_s.cpFrameLarge.Get()); }, Keys2},
        {"get a key object", MakeDirect2, [](SUBJECT2& _s) { return _s.cpKey->KeyGet(_s.cpKeyObject.Put()); },
         [](SUBJECT2& _s) { return static_cast<bool>(_s.cpKeyObject); }},
    };
    RunAll(arrOperations);
}

TEST_F(Faults2, MemoryRunsOutWhileSavingAndLoading)
{
    const CTempFolder folder;
    const std::wstring wstrFile = ZText_ToWide(folder.Path("keys.xml"));
    SUBJECT2 other;
    MakeDirect2(other);
    EXPECT_EQ(other.Region(eRegion_Garbage), S_OK);
    EXPECT_EQ(other.Param(L"choke", 4), S_OK);
    other.Option(L"process.threads", L"3");
    const std::wstring wstrOther = DocumentOf(other.cpKey.Get());
    other.Release();
    const auto fnPrepare = [&](SUBJECT2& _s) {
        folder.Write("keys.xml", "as it was");
        MakeWarm2(_s);
    };
    const OPERATION arrOperations[] = {
        {"save to a string", fnPrepare, [](SUBJECT2& _s) { return _s.cpKey->PersistSaveToString(&_s.bsText); },
         [](SUBJECT2& _s) {
             return _s.Document().ends_with(ZText_FromWide({_s.bsText, SysStringLen(_s.bsText)}));
         }},
        {"save to a file", fnPrepare, [&](SUBJECT2& _s) { return _s.cpKey->PersistSaveToFile(wstrFile.c_str()); },
         [&](SUBJECT2& _s) { return _s.Document().ends_with(folder.Read("keys.xml")); },
         [&] { return folder.Files() == 1 && folder.Read("keys.xml") == "as it was"; }},
        {"load", fnPrepare, [&](SUBJECT2& _s) { return _s.cpKey->PersistLoad(wstrOther.c_str()); },
         [](SUBJECT2& _s) {
             return _s.Raw().params.dblChoke == 4 && OptionOf(_s.cpKey.Get(), L"process.threads") == L"3" &&
                    _s.Document().find("garbage") != std::string::npos;
         }},
    };
    RunAll(arrOperations);
}

} // namespace
