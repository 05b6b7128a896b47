#include "zkhost/Commands/KeyJob.h"

#include "Kit/HostError.h"
#include "zkhost/Files/OutFile.h"

#include "Base/ZLog.h"

void KeyJob_Read(IZFFrame* _pResult, KEYED& _keyed)
{
    Picture_FromFrame(_pResult, _keyed.picture);
    _keyed.bDeep = Picture_FromDeepFrame(_pResult, _keyed.deep);
    if (Picture_FromMask(_pResult, _keyed.mask))
        Picture_PutAlpha(_keyed.mask, _keyed.picture);
    else
    {
        Picture_TakeAlpha(_keyed.picture, _keyed.mask);
        _keyed.picture.bAlpha = true;
    }
}

int64_t KeyJob_Run(CZFrameSource& _source, CZKeyer& _keyer, const CZKeyOptions& _options, int64_t _nMaxFrames,
                   const std::function<void(KEYED&)>& _fnKeyed)
{
    CZPtr<IZFFrame> cpFrame = _source.Next();
    if (!cpFrame)
        throw CZHostError(ZFormat("%s holds no frame", _options.Input()));
    _keyer.OnWait(OutFile_CheckInterrupt);
    _options.ApplyKeys(_keyer, _source.Stream(), cpFrame.Get());
    KEYED keyed;
    const auto fnResult = [&](IZFFrame* _pResult) {
        KeyJob_Read(_pResult, keyed);
        _fnKeyed(keyed);
    };
    int64_t nFrames = 0;
    while (cpFrame)
    {
        _keyer.Process(cpFrame.Get(), fnResult);
        ++nFrames;
        cpFrame = nFrames == _nMaxFrames ? CZPtr<IZFFrame>() : _source.Next();
    }
    _keyer.Finish(fnResult);
    return nFrames;
}
