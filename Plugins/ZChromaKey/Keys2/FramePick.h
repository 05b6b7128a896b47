#pragma once

#include "Base/ZMatrix.h"
#include "Image/ImgPicture.h"
#include "Interfaces/IZFFrame.h"
#include "ZChromaKey/Keys2/KeySet2.h"

/// What is taken from a host's frame for editing. The frame's methods are called: hold no lock.
///
/// All of them: E_POINTER: no frame; E_INVALIDARG: no picture in system memory; else the frame's own failure. The log
/// says what is wrong. _yuv: how pictures in YUV are coded.

/// The middle of each channel of the 7 x 7 pixels around a point, counted from the top left. E_INVALIDARG: outside.
HRESULT FramePick_Point(IZFFrame* _pFrame, int32_t _nX, int32_t _nY, KEY2_COLOR* _pColor, const Z_YUV_FORM& _yuv = {});
/// The middle of each channel of a rectangle, second corner not included. E_INVALIDARG: no pixel of the frame is in it.
HRESULT FramePick_Rect(IZFFrame* _pFrame, int32_t _nX1, int32_t _nY1, int32_t _nX2, int32_t _nY2, KEY2_COLOR* _pColor,
                       const Z_YUV_FORM& _yuv = {});

/// Copies a picture.
HRESULT FramePick_Picture(IZFFrame* _pFrame, IMG_PICTURE* _pPicture, const Z_YUV_FORM& _yuv = {});
/// Reads a mask: the largest channel of each pixel, times its alpha where there is one.
HRESULT FramePick_Mask(IZFFrame* _pFrame, IMG_MASK* _pMask, const Z_YUV_FORM& _yuv = {});
