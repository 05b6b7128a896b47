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

namespace
{

[[noreturn]] void FailNoFrame(const CZKeyOptions& _options, const KEY_PIECE& _piece)
{
    if (_piece.nFirst == 1)
        throw CZHostError(ZFormat("%s holds no frame", _options.Input()));
    throw CZHostError(ZFormat("%s has no frame %d", _options.Input(), _piece.nFirst));
}

} // namespace

void KeyJob_Run(CZFrameSource& _source, CZKeyer& _keyer, const CZKeyOptions& _options, const KEY_PIECE& _piece,
                const std::function<void(KEYED&)>& _fnKeyed)
{
    CZPtr<IZFFrame> cpFrame = _source.Next();
    if (!cpFrame)
        FailNoFrame(_options, _piece);
    _keyer.OnWait(OutFile_CheckInterrupt);
    _options.ApplyKeys(_keyer, _source.Stream(), cpFrame.Get());
    KEYED keyed;
    int64_t nLead = _piece.Lead();
    const auto fnResult = [&](IZFFrame* _pResult) {
        if (nLead-- > 0)
            return;
        KeyJob_Read(_pResult, keyed);
        _fnKeyed(keyed);
    };
    const int64_t nLast = _piece.nFrames ? _piece.Lead() + _piece.nFrames : 0;
    int64_t nFrames = 0;
    while (cpFrame)
    {
        _keyer.Process(cpFrame.Get(), fnResult);
        ++nFrames;
        cpFrame = nFrames == nLast ? CZPtr<IZFFrame>() : _source.Next();
    }
    _keyer.Finish(fnResult);
    if (nFrames <= _piece.Lead())
        FailNoFrame(_options, _piece);
}
