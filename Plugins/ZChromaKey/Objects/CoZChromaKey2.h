#pragma once

#include "Interfaces/IZChromaKey2.h"
#include "ZChromaKey/Config/ConfigDoc.h"
#include "ZChromaKey/Engine2/UnmixFrameEngine.h"
#include "ZChromaKey/Keys2/KeyState2.h"
#include "ZChromaKey/Objects/KeyerObject.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

/// The plug-in object of the second generation: editing of its keys over what all generations have.
///
/// A host's frame is read, and a key object asked, while no lock is held; what was read becomes an edit afterwards.
class CCoZChromaKey2 final : public CZKeyerObject<IZChromaKey2>
{
public:
    explicit CCoZChromaKey2(std::unique_ptr<CUnmixFrameEngine> _upEngine);
    /// A new object with this build's engine. Results are ARGB32 unless the user or the host says otherwise.
    static HRESULT Create(REFIID _iid, void** _ppvObject);

    // IZChromaKey2
    HRESULT STDMETHODCALLTYPE KeyAuto() override;
    HRESULT STDMETHODCALLTYPE KeyAddPoint(int32_t _nXPosPixels, int32_t _nYPosPixels) override;
    HRESULT STDMETHODCALLTYPE KeyAddRect(int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                                         int32_t _nY2PosPixels) override;
    HRESULT STDMETHODCALLTYPE KeyAddColor(uint32_t _nRGB) override;
    HRESULT STDMETHODCALLTYPE KeyProtectPoint(int32_t _nXPosPixels, int32_t _nYPosPixels) override;
    HRESULT STDMETHODCALLTYPE KeyProtectRect(int32_t _nX1PosPixels, int32_t _nY1PosPixels, int32_t _nX2PosPixels,
                                             int32_t _nY2PosPixels) override;
    HRESULT STDMETHODCALLTYPE KeyProtectColor(uint32_t _nRGB) override;
    HRESULT STDMETHODCALLTYPE KeyRemove(int32_t _nIndex, BOOL _bProtected) override;
    HRESULT STDMETHODCALLTYPE KeyCount(BOOL _bProtected, int32_t* _pnCount) override;
    HRESULT STDMETHODCALLTYPE KeyReset() override;
    HRESULT STDMETHODCALLTYPE KeyGet(IZKey2** _ppKeyObject) override;
    HRESULT STDMETHODCALLTYPE KeySet(IZKey2* _pKeyObject) override;
    HRESULT STDMETHODCALLTYPE KeyRawGet(CHROMA_KEY2_RAW* _pKey) override;
    HRESULT STDMETHODCALLTYPE KeyRawSet(const CHROMA_KEY2_RAW* _pKey) override;
    HRESULT STDMETHODCALLTYPE ParamGet(BSTR _bsName, double* _pdblValue) override;
    HRESULT STDMETHODCALLTYPE ParamSet(BSTR _bsName, double _dblValue) override;
    HRESULT STDMETHODCALLTYPE ParamCount(int32_t* _pnCount) override;
    HRESULT STDMETHODCALLTYPE ParamInfo(int32_t _nIndex, BSTR* _pbsName, double* _pdblLeast, double* _pdblMost,
                                        double* _pdblDefault, BSTR* _pbsUnit, BSTR* _pbsHelp) override;
    HRESULT STDMETHODCALLTYPE StepBack(int32_t _nSteps, int32_t* _pnDone) override;
    HRESULT STDMETHODCALLTYPE StepFwd(int32_t _nSteps, int32_t* _pnDone) override;
    HRESULT STDMETHODCALLTYPE StepsBack(int32_t* _pnSteps) override;
    HRESULT STDMETHODCALLTYPE StepsFwd(int32_t* _pnSteps) override;
    HRESULT STDMETHODCALLTYPE GroupBegin() override;
    HRESULT STDMETHODCALLTYPE GroupEnd() override;
    HRESULT STDMETHODCALLTYPE PlateLearn(eLearn _eLearn) override;
    HRESULT STDMETHODCALLTYPE PlateSet(IZFFrame* _pZFramePlateOrNull) override;
    HRESULT STDMETHODCALLTYPE PlateGet(IZFFrame** _ppZFramePlate) override;
    HRESULT STDMETHODCALLTYPE RegionSet(eRegion _eRegion, IZFFrame* _pZFrameMaskOrNull, BSTR _bsPolygon) override;
    HRESULT STDMETHODCALLTYPE RegionGet(eRegion _eRegion, IZFFrame** _ppZFrameMask) override;
    HRESULT STDMETHODCALLTYPE ViewSet(eView _eView) override;
    HRESULT STDMETHODCALLTYPE FrameSet(IZFFrame* _pZFrameOrNull) override;
    HRESULT STDMETHODCALLTYPE StatsGet(CHROMA_KEY2_STATS* _pStats) override;
    HRESULT STDMETHODCALLTYPE StatGet(BSTR _bsName, double* _pdblValue) override;

private:
    CCoZChromaKey2(CUnmixFrameEngine& _engine, std::unique_ptr<CUnmixFrameEngine>& _upEngine);
    ~CCoZChromaKey2() override = default;
    void FrameSeen(IZFFrame* _pFrameOrNull, const ZF_VID_PROPS& _vidProps) override;
    void FramesLetGo() override;
    HRESULT FrameKey(IZFFrame* _pFrame, IZFFrame** _ppFrameRes) override;
    HRESULT DocumentMake(eDocument _eDocument, std::string* _pstrDocument) override;
    HRESULT DocumentTake(eDocument _eDocument, std::string_view _svDocument, std::string* _pstrReason) override;
    template <class Use> HRESULT WithFrame(const char* _pszMethod, Use&& _use) noexcept;
    template <class Pick> HRESULT PickAdd(const char* _pszMethod,
                                          HRESULT (CKeyState2::*_pfnAdd)(const KEY2_COLOR& _color),
                                          Pick&& _pick) noexcept;
    HRESULT Step(const char* _pszMethod, int32_t _nSteps, int _nSign, int32_t* _pnDone) noexcept;
    HRESULT RegionMake(IZFFrame* _pMaskOrNull, const std::string& _strPolygon,
                       std::shared_ptr<KEY2_REGION>* _pspRegion);
    HRESULT PolygonMake(const std::string& _strPolygon, std::shared_ptr<KEY2_REGION>* _pspRegion);

    CUnmixFrameEngine& m_engine; ///< the frame path's
    CKeyState2 m_keyState;
    std::atomic<HRESULT> m_hrNotFound =
        E_UNEXPECTED;         ///< S_FALSE: KeyAuto last found nothing; S_OK: a colour without hue
    std::mutex m_mtxDocument; ///< taken before the configuration lock
    CConfigDoc m_configDoc{c_pszConfigKeyer2};
};
