#include "ZChromaKey/Frame/FrameText.h"

#include "Base/ZHelpers.h"

std::string FrameText(IZFFrame* _pFrame)
{
    ZF_TIMECODE timeCode = {};
    ZF_VID_PROPS vidProps = {};
    if (!_pFrame || FAILED(_pFrame->VideoPropsGet(&vidProps)))
        return "no frame";
    _pFrame->TimeCodeGet(&timeCode);
    return TimeCode_Text(&timeCode) + " " + VidProps_Text(&vidProps);
}
