#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"
#include "ZChromaKey/Licence/Notice.h"

#include <vector>

/// Puts the notice onto the result of a frame and onto its mask. Null: the frame passes, and a copy of it becomes the
/// result. Pixels and masks of the host are never written: a copy takes their place, and what it replaces goes to the
/// list. A failure: something could not be copied or drawn onto, and is as it was.
HRESULT NoticeFrame_Put(CNotice* _pNotice, IZFFrame* _pFrame, IZFFrame** _ppFrameRes,
                        std::vector<CZPtr<IZFFrame>>* _pvecGone);

/// The same for a result whose picture is in a texture, as the system has these. S_FALSE: it is not in one.
/// _pFrame: the input, whose texture is copied where the result is the input itself or has the same texture.
HRESULT NoticeTexture_Put(CNotice* _pNotice, IZFFrame* _pFrame, CZPtr<IZFFrame>* _pcpFrameRes);
