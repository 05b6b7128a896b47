#pragma once

#include "Interfaces/ZPlatform.h"
#include "Interfaces/ZVideoTypes.h"

/// How VideoPtrGet addresses the picture.
enum eZFPtr : uint32_t
{
    eZFP_Stored = 0, ///< as the record says: the first row in memory first
    eZFP_Flip = 1,   ///< a bottom-up picture is addressed from its top row, with a negative stride
    eZFP_Write = 2,  ///< the caller will write pixels
};

/// What FrameClone and FrameConvert take over from the frame they are called on.
enum eZFCopy : uint32_t
{
    eZFC_OwnPicture = 0x001,   ///< the new frame has pixels of its own, which may be written
    eZFC_SharePicture = 0x002, ///< the new frame shows the same pixels; they may not be written
    eZFC_NewPicture = 0x004,   ///< FrameConvert: the new frame has pixels of its own that are not initialised
    eZFC_Identity = 0x010,     ///< identity value (kept only where the pixels stay the same) and time code
    eZFC_Texts = 0x100,        ///< the texts of IZProps
    eZFC_Attachments = 0x200,  ///< the named attachments, by reference
    eZFC_Converted = 0x311,    ///< what a converted frame takes over: all, on pixels of its own
    eZFC_Cloned = 0x312,       ///< what a clone takes over: all, on shared pixels
    eZFC_Renewed = 0x314,      ///< what a frame that others fill takes over: all but the pixels
};

/// The attachment that holds the picture of a frame in a texture (eZGPU_DX11Texture): an ID3D11Texture2D of the host's
/// device, or an object of the GPU path around one. Whatever the record says, the texture's first row is the picture's
/// top row. Packed 4:2:2 lies in B8G8R8A8, two pixels a texel; planar formats in one channel, R8 or for words R16, the
/// chroma planes below the luma plane, two rows of a half-width plane side by side.
inline constexpr wchar_t c_wszFrameTexture[] = L"texture";

/// One video frame: a picture with its properties, and named objects that travel with it.
///
/// A frame that has been handed to someone else is never written again; whoever needs other pixels makes a frame of
/// his own (IZFFrame2). Reading is safe from any thread. Texts are reached through IZProps, where the frame has it.
struct IZFFrame : public IUnknown
{
    /// The normalised video properties.
    virtual HRESULT STDMETHODCALLTYPE VideoPropsGet(ZF_VID_PROPS* _pVidProps) = 0;
    /// The planes of the picture; valid while the frame lives. _nFlags: eZFPtr. E_ACCESSDENIED: eZFP_Write on a
    /// picture that another frame shares, or that the frame does not own; S_FALSE with a zeroed record: no picture in
    /// system memory.
    virtual HRESULT STDMETHODCALLTYPE VideoPtrGet(uint32_t _nFlags, ZF_VID_PTR* _pVidPtr) = 0;
    /// The time code; all zero where none was given.
    virtual HRESULT STDMETHODCALLTYPE TimeCodeGet(ZF_TIMECODE* _pTimeCode) = 0;
    /// Attaches an object under a name ("mask"), instead of one already there; null takes it away, S_FALSE where there
    /// was none.
    virtual HRESULT STDMETHODCALLTYPE AttachmentSet(const wchar_t* _pwszName, IUnknown* _pObjectOrNull) = 0;
    /// Hands out a reference to the object attached under a name; S_FALSE and null when there is none.
    virtual HRESULT STDMETHODCALLTYPE AttachmentGet(const wchar_t* _pwszName, IUnknown** _ppObject) = 0;
};
Z_INTERFACE_ID(IZFFrame, 0x1509bb0a, 0x9bf1, 0x4331, 0x8a, 0x11, 0x87, 0x83, 0x59, 0x39, 0x42, 0xa4)

/// The second frame interface: telling frames apart, and making frames from a frame.
///
/// New frames come from the memory of the frame they are made from, and go back there with their last reference.
struct IZFFrame2 : public IZFFrame
{
    /// A value that two frames share only when their pixels are the same. A host that writes new pixels into a frame
    /// gives it a new identity.
    virtual HRESULT STDMETHODCALLTYPE FrameIdGet(uint64_t* _pnIdentity) = 0;
    /// A frame of the given properties (normalised on the way) whose pixels are not initialised; where nGPUFlags is
    /// not 0, a frame without pixels, for a texture to be attached.
    /// E_INVALIDARG: no known row size, or no pixel; E_OUTOFMEMORY.
    virtual HRESULT STDMETHODCALLTYPE FrameCreate(const ZF_VID_PROPS* _pVidProps, IZFFrame** _ppFrame) = 0;
    /// A second frame of this picture. _nFlags: eZFCopy, usually eZFC_Cloned.
    virtual HRESULT STDMETHODCALLTYPE FrameClone(uint32_t _nFlags, IZFFrame** _ppFrame) = 0;
    /// This picture in another pixel format, top-down, on pixels of its own. _nFlags: eZFCopy, usually
    /// eZFC_Converted; eZFC_Renewed makes a frame for another picture in any format. The plug-in asks for eZFCC_ARGB32
    /// and eZFCC_ARGB64. Alpha that this picture has comes along, straight; one without alpha becomes opaque (255, or
    /// 65535), also one in eZFCC_RGB32, whose fourth byte is not alpha. E_NOTIMPL: no conversion between the two
    /// formats, or a picture in a texture.
    virtual HRESULT STDMETHODCALLTYPE FrameConvert(uint32_t _nFlags, uint32_t _fccType, IZFFrame** _ppFrame) = 0;
    /// The part of this picture from column _nX1, row _nY1 up to, not including, column _nX2, row _nY2, counted from
    /// the top left; takes over all but the identity. The rectangle is clipped to the picture and widened to whole
    /// chroma samples. E_INVALIDARG: nothing is left.
    virtual HRESULT STDMETHODCALLTYPE FrameRect(int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2,
                                                IZFFrame** _ppFrame) = 0;
};
Z_INTERFACE_ID(IZFFrame2, 0xf5ec52ed, 0x0108, 0x4475, 0x92, 0xe1, 0xbc, 0x76, 0x56, 0x67, 0x0b, 0x14)
