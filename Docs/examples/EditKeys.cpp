// Makes a key set for a picture: finds the backdrop, edits, looks at what comes of it, and saves.
// Usage: EditKeys MODULE WIDTH HEIGHT KEYS.xml, a raw BGRA picture on standard input
#include "HostModule.h"

#include "Base/ZPtr.h"
#include "Interfaces/IZChromaKey2.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZProps.h"
#include "Interfaces/IZTables.h"
#include "Interfaces/ZGuids.h"
#include "Sdk/HostFrame.h"

#include <cstdio>
#include <cstdlib>
#include <string>

/// A string as methods that scripts can call take it.
class CText
{
public:
    explicit CText(const wchar_t* _pwszText)
        : m_bsText(SysAllocString(_pwszText))
    {
    }
    ~CText()
    {
        SysFreeString(m_bsText);
    }
    CText(const CText&) = delete;
    CText& operator=(const CText&) = delete;
    BSTR Get() const
    {
        return m_bsText;
    }

private:
    BSTR m_bsText;
};

/// Sliders for a panel: every parameter that this module has, with its range.
static void PrintParams(IZTables* _pTables)
{
    ZTABLE_ROW row = {};
    for (UINT n = 0; _pTables->TableRowGet(eZTable_Params, n, &row) == S_OK; ++n)
        printf("%s: %g to %g %s\n", row.pszName, row.dblLeast, row.dblMost, row.pszUnit);
}

/// One step of editing, made of three. A change that is refused answers a failure and leaves things as they are.
static bool Edit(IZChromaKey2* _pKeys)
{
    int32_t nDone = 0;
    return SUCCEEDED(_pKeys->GroupBegin()) && SUCCEEDED(_pKeys->KeyProtectColor(0xE0B090)) &&
           SUCCEEDED(_pKeys->ParamSet(CText(L"shadows").Get(), 60)) &&
           SUCCEEDED(_pKeys->RegionSet(eRegion_Garbage, nullptr, CText(L"0,0 16,0 16,90 0,90").Get())) &&
           SUCCEEDED(_pKeys->GroupEnd()) && SUCCEEDED(_pKeys->StepBack(1, &nDone)) && nDone == 1 &&
           SUCCEEDED(_pKeys->StepFwd(1, &nDone)) && nDone == 1;
}

static bool Look(IZFProcess* _pKeyer, IZChromaKey2* _pKeys, IZFFrame* _pFrame)
{
    CZPtr<IZFFrame> cpResult;
    CZPtr<IZFFrame> cpPlate;
    CHROMA_KEY2_STATS stats = {};
    if (FAILED(_pKeyer->OnMediaReceive(_pFrame, cpResult.Put())) || FAILED(_pKeys->StatsGet(&stats)) ||
        FAILED(_pKeys->PlateGet(cpPlate.Put())))
        return false;
    printf("backdrop %.0f %%, mixed %.0f %%, solid %.0f %%, noise %.1f levels, %.1f ms%s\n", 100 * stats.dblBackdrop,
           100 * stats.dblMixed, 100 * stats.dblSolid, stats.dblNoise, stats.dblMilliseconds,
           cpPlate ? "" : ", no plate yet");
    return true;
}

int main(int _nArgs, char** _ppszArgs)
{
    if (_nArgs != 5)
        return fprintf(stderr, "usage: EditKeys MODULE WIDTH HEIGHT KEYS.xml\n"), 2;
    const auto pfnGetClass = reinterpret_cast<ZDLLGETCLASSOBJECT>(Entry(_ppszArgs[1]));
    CZPtr<IClassFactory> cpFactory;
    CZPtr<IZChromaKey2> cpKeys;
    if (!pfnGetClass || FAILED(pfnGetClass(CLSID_ZChromaKey2, CZIidOf<IClassFactory>::Value, cpFactory.PutVoid())) ||
        FAILED(cpFactory->CreateInstance(nullptr, IID_IZChromaKey2, cpKeys.PutVoid())))
        return fprintf(stderr, "cannot make a keyer from %s\n", _ppszArgs[1]), 1;
    const auto cpKeyer = ZQuery<IZFProcess>(cpKeys);
    ZQuery<IZProps>(cpKeys)->PropsSet(L"output.thread", L"false"); // each call gives back its own frame
    PrintParams(ZQuery<IZTables>(cpKeys).Get());

    const auto cpFrame = CHostFrame::Create(eZFCC_RGB32, atoi(_ppszArgs[2]), atoi(_ppszArgs[3]));
    if (!cpFrame || !Rows(cpFrame.Get(), eZFP_Write, fread, stdin))
        return fprintf(stderr, "cannot read a picture of %s x %s\n", _ppszArgs[2], _ppszArgs[3]), 1;
    cpKeys->FrameSet(cpFrame.Get()); // what points and polygons refer to; without it the last frame handed in
    const HRESULT hr = cpKeys->KeyAuto();
    if (hr != S_OK) // S_FALSE: nothing qualifies; ask for a point, and KeyAddPoint
        return fprintf(stderr, "no backdrop was found\n"), 1;
    if (!Edit(cpKeys.Get()) || !Look(cpKeyer.Get(), cpKeys.Get(), cpFrame.Get()))
        return fprintf(stderr, "an edit was refused\n"), 1;
    const std::string strPath = _ppszArgs[4];
    const std::wstring wstrPath(strPath.begin(), strPath.end());
    if (FAILED(ZQuery<IZFPersist>(cpKeys)->PersistSaveToFile(wstrPath.c_str())))
        return fprintf(stderr, "cannot save %s\n", _ppszArgs[4]), 1;
    return 0;
}
