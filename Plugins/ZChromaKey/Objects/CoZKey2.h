#pragma once

#include "Base/ZModuleRef.h"
#include "Base/ZUnknown.h"
#include "Interfaces/IZKey2.h"
#include "ZChromaKey/Com/LateBinding.h"
#include "ZChromaKey/Keys2/KeySet2.h"

#include <mutex>

/// A key set of the second generation: IZKey2 over a record, under a lock that no method of a host is called under.
class CCoZKey2 final : public CZUnknown<CZLateBinding<IZKey2>>
{
public:
    static HRESULT Create(REFIID _iid, void** _ppvObject);

    // IZKey2
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE AddPoint(IZFFrame* _pZFrame, int32_t _nXPosPixels, int32_t _nYPosPixels,
                                       BOOL _bProtect) override;
    HRESULT STDMETHODCALLTYPE AddRect(IZFFrame* _pZFrame, int32_t _nX1PosPixels, int32_t _nY1PosPixels,
                                      int32_t _nX2PosPixels, int32_t _nY2PosPixels, BOOL _bProtect) override;
    HRESULT STDMETHODCALLTYPE AddColor(uint32_t _nRGB, BOOL _bProtect) override;
    HRESULT STDMETHODCALLTYPE Remove(int32_t _nIndex, BOOL _bProtected) override;
    HRESULT STDMETHODCALLTYPE CountGet(BOOL _bProtected, int32_t* _pnCount) override;
    HRESULT STDMETHODCALLTYPE ColorGet(int32_t _nIndex, BOOL _bProtected, uint32_t* _pnRGB) override;
    HRESULT STDMETHODCALLTYPE RangeSet(int32_t _nIndex, eRange _eRange, double _dblHue, double _dblSaturation,
                                       double _dblValue) override;
    HRESULT STDMETHODCALLTYPE RangeGet(int32_t _nIndex, eRange _eRange, double* _pdblHue, double* _pdblSaturation,
                                       double* _pdblValue) override;
    HRESULT STDMETHODCALLTYPE ParamSet(BSTR _bsName, double _dblValue) override;
    HRESULT STDMETHODCALLTYPE ParamGet(BSTR _bsName, double* _pdblValue) override;
    HRESULT STDMETHODCALLTYPE RawSet(const CHROMA_KEY2_RAW* _pKey) override;
    HRESULT STDMETHODCALLTYPE RawGet(CHROMA_KEY2_RAW* _pKey) override;

private:
    ~CCoZKey2() override = default;
    HRESULT QueryOther(REFIID _iid, void** _ppvObject) override
    {
        return QueryBinder(_iid, _ppvObject);
    }
    template <class Change> HRESULT Edit(const char* _pszMethod, Change&& _change) noexcept;
    HRESULT Add(const KEY2_COLOR& _color, BOOL _bProtect);

    CZModuleRef m_refModule;
    std::mutex m_mtxKeys;
    CHROMA_KEY2_RAW m_key = KeySet2_Empty();
};
