#pragma once

#include "Base/ZPtr.h"
#include "Base/ZUnknown.h"
#include "Interfaces/IZFFrame.h"

#include <atomic>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

/// A frame for hosts that have none: top-down B, G, R, A pictures in system memory, and masks of one byte a pixel. It
/// needs nothing but the interfaces, and shows how little a frame has to do; a host with buffers of its own writes such
/// a class around them, and gives memory back to a pool where this one frees it.
///
/// Frames made from a frame share its pixels where they may. Thread safe.
class CHostFrame final : public CZUnknown<IZFFrame2>
{
public:
    /// A frame with pixels that are 0. _fccType: eZFCC_RGB32, ARGB32, RGB8 or ARGB64. Null where that is something
    /// else, where a side is below 1 or above 32767, or where memory is short.
    static CZPtr<CHostFrame> Create(uint32_t _fccType, int32_t _nWidth, int32_t _nHeight)
    {
        ZF_VID_PROPS vidProps = {};
        vidProps.fccType = _fccType;
        vidProps.nWidth = _nWidth;
        vidProps.nHeight = -_nHeight; // the top row comes first
        vidProps.eInterlace = eZI_Progressive;
        return CZPtr<CHostFrame>::Adopt(New(vidProps));
    }
    /// A row of the picture, 0 at its top. To be written only before the frame is handed to anyone.
    uint8_t* Row(int32_t _nRow) const
    {
        return m_pTop + static_cast<ptrdiff_t>(_nRow) * m_vidProps.nRowBytes;
    }

    HRESULT STDMETHODCALLTYPE VideoPropsGet(ZF_VID_PROPS* _pVidProps) override
    {
        if (!_pVidProps)
            return E_POINTER;
        *_pVidProps = m_vidProps;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE VideoPtrGet(uint32_t _nFlags, ZF_VID_PTR* _pVidPtr) override
    {
        if (!_pVidPtr)
            return E_POINTER;
        *_pVidPtr = {};
        if ((_nFlags & eZFP_Write) && m_spPixels.use_count() > 1)
            return E_ACCESSDENIED; // another frame shows them
        _pVidPtr->lpVideoPlanes[0] = static_cast<int64_t>(reinterpret_cast<intptr_t>(m_pTop));
        _pVidPtr->szVideoPlanes[0] = {m_vidProps.nWidth, -m_vidProps.nHeight};
        _pVidPtr->cbVideoRowBytes[0] = m_vidProps.nRowBytes;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE TimeCodeGet(ZF_TIMECODE* _pTimeCode) override
    {
        if (!_pTimeCode)
            return E_POINTER;
        *_pTimeCode = {};
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE AttachmentSet(const wchar_t* _pwszName, IUnknown* _pObjectOrNull) override
    {
        if (!_pwszName)
            return E_POINTER;
        CZPtr<IUnknown> cpObject(_pObjectOrNull);
        try
        {
            const std::lock_guard lock(m_mtxAttached);
            std::swap(m_mapAttached[_pwszName], cpObject); // what was there is let go of after the lock is released
        }
        catch (const std::bad_alloc&)
        {
            return E_OUTOFMEMORY;
        }
        return _pObjectOrNull || cpObject ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE AttachmentGet(const wchar_t* _pwszName, IUnknown** _ppObject) override
    {
        if (!_pwszName || !_ppObject)
            return E_POINTER;
        *_ppObject = nullptr;
        const std::lock_guard lock(m_mtxAttached);
        if (const auto it = m_mapAttached.find(_pwszName); it != m_mapAttached.end())
            *_ppObject = CZPtr<IUnknown>(it->second).Detach();
        return *_ppObject ? S_OK : S_FALSE;
    }

    HRESULT STDMETHODCALLTYPE FrameIdGet(uint64_t* _pnIdentity) override
    {
        if (!_pnIdentity)
            return E_POINTER;
        *_pnIdentity = m_nIdentity;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE FrameCreate(const ZF_VID_PROPS* _pVidProps, IZFFrame** _ppFrame) override
    {
        if (!_pVidProps || !_ppFrame)
            return E_POINTER;
        return HandOut(New(*_pVidProps), false, _ppFrame); // E_OUTOFMEMORY also for what this frame cannot hold
    }
    HRESULT STDMETHODCALLTYPE FrameClone(uint32_t _nFlags, IZFFrame** _ppFrame) override
    {
        return FrameConvert(_nFlags, m_vidProps.fccType, _ppFrame);
    }
    HRESULT STDMETHODCALLTYPE FrameConvert(uint32_t _nFlags, uint32_t _fccType, IZFFrame** _ppFrame) override
    {
        if (!_ppFrame)
            return E_POINTER;
        *_ppFrame = nullptr;
        if (!(_nFlags & eZFC_NewPicture) && BytesOf(_fccType) != BytesOf(m_vidProps.fccType))
            return E_NOTIMPL; // RGB32 and ARGB32 are the same bytes
        ZF_VID_PROPS vidProps = m_vidProps;
        vidProps.fccType = _fccType;
        const bool bShare = (_nFlags & eZFC_SharePicture) && _fccType == m_vidProps.fccType;
        CHostFrame* const pFrame = bShare ? New(vidProps, m_spPixels, m_pTop) : New(vidProps);
        if (pFrame && (_nFlags & eZFC_OwnPicture))
            for (int32_t y = 0; y < -m_vidProps.nHeight; ++y)
                std::memcpy(pFrame->Row(y), Row(y), RowSize());
        if (pFrame && bShare && (_nFlags & eZFC_Identity))
            pFrame->m_nIdentity = m_nIdentity;
        return HandOut(pFrame, (_nFlags & eZFC_Attachments) != 0, _ppFrame);
    }
    HRESULT STDMETHODCALLTYPE FrameRect(int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2,
                                        IZFFrame** _ppFrame) override
    {
        if (!_ppFrame)
            return E_POINTER;
        *_ppFrame = nullptr;
        const int32_t nLeft = _nX1 > 0 ? _nX1 : 0, nTop = _nY1 > 0 ? _nY1 : 0;
        ZF_VID_PROPS vidProps = m_vidProps;
        vidProps.nWidth = (_nX2 < m_vidProps.nWidth ? _nX2 : m_vidProps.nWidth) - nLeft;
        vidProps.nHeight = nTop - (_nY2 < -m_vidProps.nHeight ? _nY2 : -m_vidProps.nHeight);
        if (vidProps.nWidth < 1 || vidProps.nHeight > -1)
            return E_INVALIDARG;
        return HandOut(New(vidProps, m_spPixels, Row(nTop) + nLeft * BytesOf(m_vidProps.fccType)), true, _ppFrame);
    }

private:
    using PIXELS = std::shared_ptr<std::vector<uint8_t>>;
    static constexpr int32_t c_nMaxSide = 32767;

    CHostFrame(const ZF_VID_PROPS& _vidProps, PIXELS _spPixels, uint8_t* _pTop)
        : m_vidProps(_vidProps)
        , m_spPixels(std::move(_spPixels))
        , m_pTop(_pTop)
    {
        static std::atomic<uint64_t> s_nIdentity{0};
        m_nIdentity = ++s_nIdentity;
    }
    ~CHostFrame() override = default;

    /// 0: a format that this frame does not hold.
    static int32_t BytesOf(uint32_t _fccType)
    {
        if (_fccType == eZFCC_ARGB64)
            return 8;
        return _fccType == eZFCC_RGB32 || _fccType == eZFCC_ARGB32 ? 4 : _fccType == eZFCC_RGB8 ? 1 : 0;
    }
    size_t RowSize() const
    {
        return static_cast<size_t>(m_vidProps.nWidth) * static_cast<size_t>(BytesOf(m_vidProps.fccType));
    }
    /// A frame on pixels that are there, or on new ones: then rows are padded to a multiple of 8 bytes. Null: not such
    /// a picture, or no memory.
    static CHostFrame* New(ZF_VID_PROPS _vidProps, PIXELS _spPixels = nullptr, uint8_t* _pTop = nullptr)
    {
        const bool bSize = _vidProps.nWidth >= 1 && _vidProps.nWidth <= c_nMaxSide && _vidProps.nHeight <= -1 &&
                           _vidProps.nHeight >= -c_nMaxSide;
        if (!bSize || BytesOf(_vidProps.fccType) == 0)
            return nullptr;
        try
        {
            if (!_spPixels)
            {
                _vidProps.nRowBytes = (_vidProps.nWidth * BytesOf(_vidProps.fccType) + 7) & ~7;
                const auto nBytes = static_cast<size_t>(_vidProps.nRowBytes) * static_cast<size_t>(-_vidProps.nHeight);
                _spPixels = std::make_shared<std::vector<uint8_t>>(nBytes);
                _pTop = _spPixels->data();
            }
            return new CHostFrame(_vidProps, std::move(_spPixels), _pTop);
        }
        catch (const std::bad_alloc&)
        {
            return nullptr;
        }
    }
    /// Gives a new frame to the caller; null: there was no memory for it.
    HRESULT HandOut(CHostFrame* _pFrameOrNull, bool _bAttachments, IZFFrame** _ppFrame)
    {
        auto cpFrame = CZPtr<CHostFrame>::Adopt(_pFrameOrNull);
        *_ppFrame = nullptr;
        try
        {
            const std::lock_guard lock(m_mtxAttached);
            if (cpFrame && _bAttachments)
                cpFrame->m_mapAttached = m_mapAttached;
        }
        catch (const std::bad_alloc&)
        {
            return E_OUTOFMEMORY;
        }
        *_ppFrame = cpFrame.Detach();
        return *_ppFrame ? S_OK : E_OUTOFMEMORY;
    }

    ZF_VID_PROPS m_vidProps;
    PIXELS m_spPixels; ///< shared by clones and parts
    uint8_t* m_pTop;   ///< the first pixel of the top row, in m_spPixels
    uint64_t m_nIdentity = 0;
    std::mutex m_mtxAttached;
    std::map<std::wstring, CZPtr<IUnknown>> m_mapAttached;
};
