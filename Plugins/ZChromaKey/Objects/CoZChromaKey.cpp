#include "ZChromaKey/Objects/CoZChromaKey.h"

#include "ZChromaKey/Com/UserDefaultsRead.h"
#include "ZChromaKey/Config/UserDefaults.h"
#include "ZChromaKey/Engine1/KeyEngine.h"

CCoZChromaKey::CCoZChromaKey(std::unique_ptr<CGPUKeyer> _upGPU)
    : CZKeyerObject("CCoZChromaKey", "ZChromaKey", std::make_unique<CKeyEngine>(std::move(_upGPU)))
{
}

HRESULT CCoZChromaKey::Create(REFIID _iid, void** _ppvObject)
{
    auto* const pObject = new CCoZChromaKey(GPUKeyer_Create());
    const auto cpObject = CZPtr<IZFProcess>::Adopt(pObject);
    UserDefaults_Apply(UserDefaults_Read(), &pObject->Store());
    return cpObject->QueryInterface(_iid, _ppvObject);
}

void CCoZChromaKey::FrameSeen(IZFFrame* _pFrameOrNull, const ZF_VID_PROPS& _vidProps)
{
    m_keyState.FrameSet(_pFrameOrNull, _vidProps);
}

HRESULT CCoZChromaKey::FrameKey(IZFFrame* _pFrame, IZFFrame** _ppFrameRes)
{
    const CHROMA_KEY_RAW key = m_keyState.KeyGet(); // one copy, to compare and to key with
    return Keyer().Process(_pFrame, EngineSettings_Of(key), _ppFrameRes);
}
