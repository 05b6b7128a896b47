#pragma once

#include "Sdk/ZChromaKeyC.h"

#include <gst/video/video.h>

/// Which of GStreamer's formats the keyer reads and writes, and how its frames are described to the keyer.

/// Caps of all formats that come in (GST_PAD_SINK) or go out (GST_PAD_SRC), the best one first. The caller's.
GstCaps* GstFormats_Caps(GstPadDirection _eSide);
/// The names of these formats, for the field "format" of caps. _bDeep: also results of 16 bits. The value is
/// initialised here and the caller's to unset.
void GstFormats_Names(GstPadDirection _eSide, bool _bDeep, GValue* _pNames);
/// True where the keyer cannot take pictures of this format and size as they are: it needs whole pairs of pixels, or of
/// lines, where they share chroma.
bool GstFormats_IsOdd(const GstVideoInfo& _info);
/// A frame that is mapped, in place.
zck_frame GstFormats_Frame(const GstVideoFrame& _frame);
