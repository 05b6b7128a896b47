#pragma once

#include "Interfaces/IZFFrame.h"
#include "Interfaces/IZProps.h"
#include "Video/ZFramePool.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// What keeps attachments free of cycles: a frame that can say what is attached to it, and to that.
struct IZFrameLinks : public IUnknown
{
    /// TRUE when the object (its IUnknown) is this frame, or is reached through attachments.
    virtual BOOL STDMETHODCALLTYPE Reaches(IUnknown* _pObject) = 0;
};
Z_INTERFACE_ID(IZFrameLinks, 0x0b4d5ba2, 0x9f2c, 0x4f0e, 0xa6, 0x4c, 0x3d, 0x5d, 0x50, 0x8e, 0x27, 0x61)

/// A video frame in system memory, for hosts and tests: IZFFrame, IZFFrame2 and IZProps. A frame whose record has
/// nGPUFlags is without pixels: its picture is in the attached texture, and a new texture gives it a new identity.
///
/// Pictures are shared by clones and sub-rectangles; eZFP_Write is refused while another frame shows the picture, and
/// gives the frame a new identity. Texts and attachments: names at most 256 characters. An attachment that would close
/// a cycle is refused with E_INVALIDARG. Making, cloning and releasing frames, and attaching under a short name, do
/// not touch the heap once the pool is warm. Thread safe.
class CZFrame final : public IZFFrame2, public IZProps, public IZFrameLinks
{
public:
    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID _iid, void** _ppvObject) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IZFFrame
    HRESULT STDMETHODCALLTYPE VideoPropsGet(ZF_VID_PROPS* _pVidProps) override;
    HRESULT STDMETHODCALLTYPE VideoPtrGet(uint32_t _nFlags, ZF_VID_PTR* _pVidPtr) override;
    HRESULT STDMETHODCALLTYPE TimeCodeGet(ZF_TIMECODE* _pTimeCode) override;
    HRESULT STDMETHODCALLTYPE AttachmentSet(const wchar_t* _pwszName, IUnknown* _pObjectOrNull) override;
    HRESULT STDMETHODCALLTYPE AttachmentGet(const wchar_t* _pwszName, IUnknown** _ppObject) override;

    // IZFFrame2
    HRESULT STDMETHODCALLTYPE FrameIdGet(uint64_t* _pnIdentity) override;
    HRESULT STDMETHODCALLTYPE FrameCreate(const ZF_VID_PROPS* _pVidProps, IZFFrame** _ppFrame) override;
    HRESULT STDMETHODCALLTYPE FrameClone(uint32_t _nFlags, IZFFrame** _ppFrame) override;
    HRESULT STDMETHODCALLTYPE FrameConvert(uint32_t _nFlags, uint32_t _fccType, IZFFrame** _ppFrame) override;
    HRESULT STDMETHODCALLTYPE FrameRect(int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2,
                                        IZFFrame** _ppFrame) override;

    // IZProps
    HRESULT STDMETHODCALLTYPE PropsSet(const wchar_t* _pwszName, const wchar_t* _pwszValue) override;
    HRESULT STDMETHODCALLTYPE PropsGet(const wchar_t* _pwszName, BSTR* _pbsValue) override;
    HRESULT STDMETHODCALLTYPE PropsNameGet(UINT _nIndex, BSTR* _pbsName) override;

    // IZFrameLinks
    BOOL STDMETHODCALLTYPE Reaches(IUnknown* _pObject) override;

    // The host's side

    /// New pixels have been written through pointers taken earlier: the frame counts as a new one.
    void IdentityRenew();
    void TimeCodeSet(const ZF_TIMECODE& _timeCode);
    /// The pool that frames made from this one come from; borrowed.
    CZFramePool* Pool() const
    {
        return m_cpPool.Get();
    }

private:
    friend class CZFramePool;
    friend class CZFrameMaker;

    struct ATTACHMENT
    {
        std::string strName;
        CZPtr<IUnknown> cpObject;
    };
    using TEXTS = std::vector<std::pair<std::string, std::string>>; // in order of names

    CZFrame();
    ~CZFrame() = default;
    void Clear();
    void TakeOver(CZFrame* _pSource, uint32_t _nFlags);
    HRESULT NoPicture(const char* _pszOperation) const;
    HRESULT AttachmentSwap(const std::string& _strName, CZPtr<IUnknown>* _pcpObject);
    void TextSet(const std::string& _strName, const std::string& _strValue);
    std::shared_ptr<const TEXTS> Texts();

    std::atomic<ULONG> m_nRefs{1};
    CZPtr<CZFramePool> m_cpPool;
    CZPicture* m_pPicture = nullptr; ///< counted by hand: it goes back to the pool; null: no pixels in system memory
    ZF_VID_PROPS m_vidProps = {};
    ZF_VID_PTR m_vidPtr = {}; ///< as stored
    std::atomic<uint64_t> m_nIdentity{0};

    std::mutex m_mtxState; ///< guards what follows
    ZF_TIMECODE m_timeCode = {};
    std::shared_ptr<const TEXTS> m_spTexts; ///< never changed, only replaced: clones share it
    std::vector<ATTACHMENT> m_vecAttachments;
};

/// A frame of the given properties (normalised on the way) with pixels that are not initialised, or without pixels
/// where nGPUFlags is not 0. _pPoolOrNull: where its memory comes from; null: a pool of its own, which frames made from
/// it share. E_INVALIDARG: no known row size, or no pixel, or a planar format with a negative stride; E_OUTOFMEMORY.
HRESULT ZFrame_Create(const ZF_VID_PROPS& _vidProps, CZFrame** _ppFrame, CZFramePool* _pPoolOrNull = nullptr);

/// What a frame does with memory of the host.
enum eZWrap : uint32_t
{
    eZWrap_ReadOnly = 0, ///< eZFP_Write is refused
    eZWrap_Write = 1,    ///< the memory may be written
};

/// A frame around memory of the host, which must stay as it is until _fnRelease (may be empty) is called, on the
/// thread that releases the last frame showing it. When wrapping fails it is not called.
///
/// _pMemory: the lowest address of the picture. E_INVALIDARG: also a buffer shorter than the record says; the log has
/// both byte counts.
HRESULT ZFrame_Wrap(const ZF_VID_PROPS& _vidProps, void* _pMemory, size_t _cbMemory, std::function<void()> _fnRelease,
                    CZFrame** _ppFrame, uint32_t _nWrap = eZWrap_ReadOnly, CZFramePool* _pPoolOrNull = nullptr);

/// The same for planes that lie anywhere: addresses and strides as the record says, sizes are not read.
HRESULT ZFrame_WrapPlanes(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, std::function<void()> _fnRelease,
                          CZFrame** _ppFrame, uint32_t _nWrap = eZWrap_ReadOnly, CZFramePool* _pPoolOrNull = nullptr);
