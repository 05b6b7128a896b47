#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"
#include "Interfaces/IZProps.h"
#include "Base/ZUnknown.h"

#include <functional>
#include <string>
#include <utility>

/// A frame that passes calls on to another one, and lets a test watch them, delay them or make them fail.
class CHookFrame final : public CZUnknown<IZFFrame2>
{
public:
    /// Called with the name of each method; anything but S_OK is what the method answers, without doing its work.
    using HOOK = std::function<HRESULT(const std::string& _strMethod)>;

    static CZPtr<CHookFrame> Make(IZFFrame2* _pFrame, HOOK _fnHook)
    {
        return CZPtr<CHookFrame>::Adopt(new CHookFrame(_pFrame, std::move(_fnHook)));
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID _iid, void** _ppvObject) override
    {
        *_ppvObject = nullptr;
        if (_iid == IID_IZFFrame2 && FAILED(m_fnHook("IZFFrame2")))
            return E_NOINTERFACE;
        if (_iid == IID_IZProps)
            return m_cpFrame->QueryInterface(_iid, _ppvObject);
        return CZUnknown::QueryInterface(_iid == IID_IZFFrame ? IID_IUnknown : _iid, _ppvObject);
    }
    HRESULT STDMETHODCALLTYPE VideoPropsGet(ZF_VID_PROPS* _pVidProps) override
    {
        const HRESULT hr = Pass("VideoPropsGet", [&] { return m_cpFrame->VideoPropsGet(_pVidProps); });
        if (SUCCEEDED(hr) && m_fnProps)
            m_fnProps(_pVidProps);
        return hr;
    }
    HRESULT STDMETHODCALLTYPE VideoPtrGet(uint32_t _nFlags, ZF_VID_PTR* _pVidPtr) override
    {
        return Pass("VideoPtrGet", [&] { return m_cpFrame->VideoPtrGet(_nFlags, _pVidPtr); });
    }
    HRESULT STDMETHODCALLTYPE TimeCodeGet(ZF_TIMECODE* _pTimeCode) override
    {
        return Pass("TimeCodeGet", [&] { return m_cpFrame->TimeCodeGet(_pTimeCode); });
    }
    HRESULT STDMETHODCALLTYPE AttachmentSet(const wchar_t* _pwszName, IUnknown* _pObjectOrNull) override
    {
        return Pass("AttachmentSet", [&] { return m_cpFrame->AttachmentSet(_pwszName, _pObjectOrNull); });
    }
    HRESULT STDMETHODCALLTYPE AttachmentGet(const wchar_t* _pwszName, IUnknown** _ppObject) override
    {
        return Pass("AttachmentGet", [&] { return m_cpFrame->AttachmentGet(_pwszName, _ppObject); });
    }
    HRESULT STDMETHODCALLTYPE FrameIdGet(uint64_t* _pnIdentity) override
    {
        return Pass("FrameIdGet", [&] { return m_cpFrame->FrameIdGet(_pnIdentity); });
    }
    HRESULT STDMETHODCALLTYPE FrameCreate(const ZF_VID_PROPS* _pVidProps, IZFFrame** _ppFrame) override
    {
        ZF_VID_PROPS vidProps = *_pVidProps;
        if (m_fnCreate)
            m_fnCreate(&vidProps);
        return Pass("FrameCreate", [&] { return m_cpFrame->FrameCreate(&vidProps, _ppFrame); });
    }
    HRESULT STDMETHODCALLTYPE FrameClone(uint32_t _nFlags, IZFFrame** _ppFrame) override
    {
        return Made(Pass("FrameClone", [&] { return m_cpFrame->FrameClone(_nFlags, _ppFrame); }), _ppFrame);
    }
    HRESULT STDMETHODCALLTYPE FrameConvert(uint32_t _nFlags, uint32_t _fccType, IZFFrame** _ppFrame) override
    {
        return Made(Pass("FrameConvert", [&] { return m_cpFrame->FrameConvert(_nFlags, _fccType, _ppFrame); }),
                    _ppFrame);
    }
    HRESULT STDMETHODCALLTYPE FrameRect(int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2,
                                        IZFFrame** _ppFrame) override
    {
        return Pass("FrameRect", [&] { return m_cpFrame->FrameRect(_nX1, _nY1, _nX2, _nY2, _ppFrame); });
    }

    std::function<void(ZF_VID_PROPS*)> m_fnProps;  ///< changes what VideoPropsGet hands out
    std::function<void(ZF_VID_PROPS*)> m_fnCreate; ///< changes what FrameCreate is asked for
    std::function<void(IZFFrame**)> m_fnMade;      ///< puts another frame in the place of a clone or a converted one

private:
    CHookFrame(IZFFrame2* _pFrame, HOOK _fnHook)
        : m_cpFrame(_pFrame)
        , m_fnHook(std::move(_fnHook))
    {
    }
    ~CHookFrame() override = default;

    template <class Call> HRESULT Pass(const char* _pszMethod, Call&& _fnCall)
    {
        const HRESULT hr = m_fnHook(_pszMethod);
        return hr != S_OK ? hr : _fnCall();
    }
    HRESULT Made(HRESULT _hr, IZFFrame** _ppFrame)
    {
        if (SUCCEEDED(_hr) && m_fnMade)
            m_fnMade(_ppFrame);
        return _hr;
    }

    CZPtr<IZFFrame2> m_cpFrame;
    HOOK m_fnHook;
};
