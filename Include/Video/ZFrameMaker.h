#pragma once

#include "Video/ZFrame.h"

/// How frames come to be; the inside of CZFrame. All of it may throw std::bad_alloc.
class CZFrameMaker
{
public:
    /// Completes a record in place: normalised. E_INVALIDARG with a log line naming the operation: no
    /// known row size, no pixel, or a picture larger than any memory.
    static HRESULT Complete(const char* _pszOperation, ZF_VID_PROPS* _pVidProps);
    /// A frame with a new identity and nothing else.
    static CZPtr<CZFrame> NewFrame(CZFramePool* _pPool);
    /// A frame of a record (completed on the way) with pixels of its own; without pixels where nGPUFlags is not 0.
    static HRESULT Create(const char* _pszOperation, const ZF_VID_PROPS& _vidProps, CZFramePool* _pPool,
                          CZPtr<CZFrame>* _pcpFrame);
    /// A frame of a completed record on memory of the host.
    static CZPtr<CZFrame> Wrap(const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr, bool _bWrite,
                               std::function<void()> _fnRelease, CZFramePool* _pPool);
    /// A frame that shows the picture of another, or a part of it.
    static CZPtr<CZFrame> Share(CZFrame* _pSource, const ZF_VID_PROPS& _vidProps, const ZF_VID_PTR& _vidPtr);
    /// The picture of a frame in another format or layout, on pixels of its own.
    static HRESULT Convert(const char* _pszOperation, CZFrame* _pSource, const ZF_VID_PROPS& _vidProps,
                           CZPtr<CZFrame>* _pcpFrame);
    /// A part of a picture; the rectangle is clipped and widened as FrameRect says.
    static HRESULT Rect(CZFrame* _pSource, int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2,
                        CZPtr<CZFrame>* _pcpFrame);
};
