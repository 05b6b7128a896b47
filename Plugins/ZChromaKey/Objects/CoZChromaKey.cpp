#include "ZChromaKey/Objects/CoZChromaKey.h"

#include "ZChromaKey/Com/UserDefaultsRead.h"
#include "ZChromaKey/Config/UserDefaults.h"
#include "ZChromaKey/Engine1/KeyEngine.h"

#include <utility>

CCoZChromaKey::CCoZChromaKey(std::unique_ptr<CGPUKeyer> _upGPU, CKeyState::CLOCK _fnClock)
    : CZKeyerObject("CCoZChromaKey", "ZChromaKey", true, std::make_unique<CKeyEngine>(std::move(_upGPU)))
    , m_keyState(std::move(_fnClock))
{
}

HRESULT CCoZChromaKey::Create(REFIID _iid, void** _ppvObject)
{
    auto* const pObject = new CCoZChromaKey(GPUKeyer_Create());
    const auto cpObject = CZPtr<IZFProcess>::Adopt(pObject);
    UserDefaults_Apply(UserDefaults_Read(), pObject->OptionCheck(), &pObject->Store());
    return cpObject->QueryInterface(_iid, _ppvObject);
}

void CCoZChromaKey::FrameSeen(IZFFrame* _pFrameOrNull, const ZF_VID_PROPS& _vidProps)
{
    CZPtr<IZFFrame> cpFrame(_pFrameOrNull); // takes the old one along, to be let go of after the lock is released
    m_keyState.FramesChange([&](KEY_FRAMES* _pFrames) {
        std::swap(_pFrames->cpLast, cpFrame);
        _pFrames->vidPropsLast = _vidProps;
    });
}

void CCoZChromaKey::FramesLetGo()
{
    KEY_FRAMES frames; // takes them along, to be let go of after the lock is released
    m_keyState.FramesChange([&](KEY_FRAMES* _pFrames) { std::swap(*_pFrames, frames); });
}

HRESULT CCoZChromaKey::FrameKey(IZFFrame* _pFrame, IZFFrame** _ppFrameRes)
{
    const CHROMA_KEY_RAW key = m_keyState.KeyGet(); // one copy, to compare and to key with
    return Keyer().Process(_pFrame, EngineSettings_Of(key), _ppFrameRes);
}
