// Keys raw BGRA frames from standard input to standard output, which carries their alpha.
// Usage: MinimalHost MODULE WIDTH HEIGHT [KEYS.xml]; without a key file the backdrop is found in the first frame
#include "HostModule.h"

#include "Base/ZPtr.h"
#include "Interfaces/IZChromaKey2.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZProps.h"
#include "Interfaces/ZGuids.h"
#include "Sdk/HostFrame.h"

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int _nArgs, char** _ppszArgs)
{
    if (_nArgs != 4 && _nArgs != 5)
        return fprintf(stderr, "usage: MinimalHost MODULE WIDTH HEIGHT [KEYS.xml]\n"), 2;
    const auto pfnGetClass = reinterpret_cast<ZDLLGETCLASSOBJECT>(Entry(_ppszArgs[1]));
    CZPtr<IClassFactory> cpFactory;
    CZPtr<IZFProcess> cpKeyer;
    if (!pfnGetClass || FAILED(pfnGetClass(CLSID_ZChromaKey2, CZIidOf<IClassFactory>::Value, cpFactory.PutVoid())) ||
        FAILED(cpFactory->CreateInstance(nullptr, IID_IZFProcess, cpKeyer.PutVoid())))
        return fprintf(stderr, "cannot make a keyer from %s\n", _ppszArgs[1]), 1;
    const std::string strKeys = _nArgs == 5 ? _ppszArgs[4] : "";
    if (!strKeys.empty() &&
        FAILED(ZQuery<IZFPersist>(cpKeyer)->PersistLoad(std::wstring(strKeys.begin(), strKeys.end()).c_str())))
        return fprintf(stderr, "cannot load %s\n", strKeys.c_str()), 1;
    ZQuery<IZProps>(cpKeyer)->PropsSet(L"output.thread", L"false"); // each call gives back its own frame
    ZQuery<IZProps>(cpKeyer)->PropsSet(L"output.argb", L"true");    // with its alpha, and clean colours

    const auto cpKeys = ZQuery<IZChromaKey2>(cpKeyer);
    int32_t nKeys = 0;
    cpKeys->KeyCount(FALSE, &nKeys);

    for (;;)
    {
        // A new one each time: the keyer still reads the one before.
        const auto cpFrame = CHostFrame::Create(eZFCC_RGB32, atoi(_ppszArgs[2]), atoi(_ppszArgs[3]));
        CZPtr<IZFFrame> cpResult;
        if (!cpFrame)
            return fprintf(stderr, "cannot make a frame of %s x %s\n", _ppszArgs[2], _ppszArgs[3]), 1;
        if (!Rows(cpFrame.Get(), eZFP_Write, fread, stdin))
            return 0; // the end
        if (nKeys == 0)
        {
            cpKeys->FrameSet(cpFrame.Get());
            if (cpKeys->KeyAuto() != S_OK)
                return fprintf(stderr, "no backdrop was found\n"), 1;
            cpKeys->FrameSet(nullptr);
            nKeys = 1;
        }
        if (FAILED(cpKeyer->OnMediaReceive(cpFrame.Get(), cpResult.Put())) || !cpResult ||
            !Rows(cpResult.Get(), eZFP_Flip, fwrite, stdout))
            return fprintf(stderr, "a frame was not keyed\n"), 1;
    }
}
