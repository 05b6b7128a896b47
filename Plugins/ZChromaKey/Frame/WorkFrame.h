#pragma once

#include "Base/ZMatrix.h"
#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"
#include "ZChromaKey/Frame/FrameLog.h"

#include <optional>

/// A part of a picture: from column nX1, row nY1 up to, not including, column nX2, row nY2.
struct WORK_PART
{
    int32_t nX1;
    int32_t nY1;
    int32_t nX2;
    int32_t nY2;
};

/// The frame that is keyed on the CPU, on its way from the input to the result. A frame that another one was made from
/// is let go of at once: pixels that two frames share cannot be written.
struct WORK_FRAME
{
    CFrameLog* pLog = nullptr; ///< borrowed
    CZPtr<IZFFrame> cpFrame;
    bool bOwnFrame = false;  ///< not the host's frame object: a mask may be attached
    bool bOwnPixels = false; ///< not the host's pixels: alpha and colours may be written
    /// The input less its borders, where the engine reads that; else empty. The GNU compiler wants the initialiser.
    CZPtr<IZFFrame> cpSource = {}; // NOLINT(readability-redundant-member-init)
    /// Of the frame, what the borders leave, where more was cut out, so that its chroma samples are whole.
    std::optional<WORK_PART> part = {}; // NOLINT(readability-redundant-member-init)
};

/// Cuts the borders off, if there are any: from column "left rounded up to a multiple of 8" to "width - right rounded
/// up to a multiple of 8", at most the width; none is below 0. E_INVALIDARG: they leave nothing (the log says of what).
HRESULT WorkFrame_Cut(const PROP_RECT& _borders, WORK_FRAME* _pWork);

/// Converts the frame into ARGB32 or ARGB64.
HRESULT WorkFrame_Convert(uint32_t _fccARGB, WORK_FRAME* _pWork);

/// Converts the frame into ARGB32 with a matrix of our own, whatever the host's frame would take.
HRESULT WorkFrame_ConvertWith(eZYMatrix _eMatrix, WORK_FRAME* _pWork);

/// For an engine that reads the source: the frame, cut before, becomes that, and where the options ask for ARGB,
/// another one takes its place, whose pixels are not initialised. Where it is larger than the borders leave,
/// WorkFrame_Trim is to follow.
HRESULT WorkFrame_SourceTake(const CK_FRAME_OPTIONS& _options, WORK_FRAME* _pWork);

/// Makes the frame one that a mask can be attached to, and, with _bWritten, whose pixels can be written.
HRESULT WorkFrame_MakeOwn(bool _bWritten, WORK_FRAME* _pWork);

/// Where the alpha plane of a frame is computed.
struct WORK_MASK
{
    CZPtr<IZFFrame> cpFrame;
    uint8_t* pbAlpha = nullptr; ///< the top row
};

/// Makes the mask of a frame with the given properties from the memory of _pFrame. Its pixels are undefined, for the
/// engine writes them all; the bytes that pad its rows are 255.
HRESULT WorkFrame_MakeMask(CFrameLog* _pLog, IZFFrame2* _pFrame, const ZF_VID_PROPS& _vidProps, WORK_MASK* _pMask);

/// Cuts a keyed frame and its mask down to the part that the borders leave, if they are larger.
HRESULT WorkFrame_Trim(WORK_FRAME* _pWork, WORK_MASK* _pMask);
