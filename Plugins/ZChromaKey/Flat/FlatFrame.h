#pragma once

#include "Base/ZPtr.h"
#include "Base/ZUnknown.h"
#include "Interfaces/IZFFrame.h"
#include "Sdk/ZChromaKeyC.h"
#include "Video/ZFramePool.h"

/// A picture in a caller's memory, as the interfaces describe it: row 0 of its planes is the top row.
struct FLAT_PICTURE
{
    ZF_VID_PROPS vidProps;
    ZF_VID_PTR vidPtr;
    int32_t eMatrix; ///< zck_matrix; ZCK_MATRIX_DEFAULT also for the one that is the default for this picture
    int32_t eRange;  ///< zck_range; ZCK_RANGE_DEFAULT also for that
};

/// Reads a record. _pszWhat: what the log calls it. E_POINTER: there is none; E_INVALIDARG: sizes, planes or rows that
/// cannot be; E_NOTIMPL: a format, matrix or range that is not known.
HRESULT FlatPicture_Read(const zck_frame* _pFrame, const char* _pszWhat, FLAT_PICTURE* _pPicture);

/// Whether both have a byte in common, or lie around each other.
bool FlatPicture_Overlap(const FLAT_PICTURE& _a, const FLAT_PICTURE& _b);

/// Copies samples, converted where the formats differ. E_NOTIMPL: there is no such conversion; E_INVALIDARG: they
/// differ in size. The log has the reason.
HRESULT FlatPicture_Copy(const FLAT_PICTURE& _from, const FLAT_PICTURE& _to);

/// A frame around a caller's memory, used again for each call: nothing is allocated for it. Frames made from it have
/// memory of a pool, but for the target: the first that asks for a picture of its format and size gets the caller's own
/// memory to write the result into. References to it end with the call, so one thread at a time aims it.
class CFlatFrame final : public CZUnknown<IZFFrame2>
{
public:
    /// _cpTargetOrNull: the frame that is handed out as the target.
    CFlatFrame(CZPtr<CZFramePool> _cpPool, CZPtr<CFlatFrame> _cpTargetOrNull);

    /// A new picture with a new identity, and its target; null: it has none.
    void Aim(const FLAT_PICTURE& _picture, const FLAT_PICTURE* _pTargetOrNull);
    /// Whether nobody but the caller refers to it.
    bool IsFree();
    /// Takes the target back, when the call is over.
    void TargetClear();

    HRESULT STDMETHODCALLTYPE VideoPropsGet(ZF_VID_PROPS* _pVidProps) override;
    HRESULT STDMETHODCALLTYPE VideoPtrGet(uint32_t _nFlags, ZF_VID_PTR* _pVidPtr) override;
    HRESULT STDMETHODCALLTYPE TimeCodeGet(ZF_TIMECODE* _pTimeCode) override;
    HRESULT STDMETHODCALLTYPE AttachmentSet(const wchar_t* _pwszName, IUnknown* _pObjectOrNull) override;
    HRESULT STDMETHODCALLTYPE AttachmentGet(const wchar_t* _pwszName, IUnknown** _ppObject) override;
    HRESULT STDMETHODCALLTYPE FrameIdGet(uint64_t* _pnIdentity) override;
    HRESULT STDMETHODCALLTYPE FrameCreate(const ZF_VID_PROPS* _pVidProps, IZFFrame** _ppFrame) override;
    HRESULT STDMETHODCALLTYPE FrameClone(uint32_t _nFlags, IZFFrame** _ppFrame) override;
    HRESULT STDMETHODCALLTYPE FrameConvert(uint32_t _nFlags, uint32_t _fccType, IZFFrame** _ppFrame) override;
    HRESULT STDMETHODCALLTYPE FrameRect(int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2,
                                        IZFFrame** _ppFrame) override;

private:
    ~CFlatFrame() override = default;
    HRESULT Fill(uint32_t _nFlags, IZFFrame* _pFrame) const;

    CZPtr<CZFramePool> m_cpPool;
    CZPtr<CFlatFrame> m_cpTarget; ///< empty: this is a target
    FLAT_PICTURE m_picture = {};
    uint64_t m_nIdentity = 0;
    bool m_bTarget = false;   ///< the target has not been handed out
    CZPtr<IUnknown> m_cpMask; ///< all that a target has attached
};
