#include "Base/ZVideoText.h"

#include "Base/ZAssert.h"
#include "Base/ZLog.h"
#include "Base/ZPixelNames.h"
#include "Base/ZVideoProps.h"

#include <algorithm>

namespace
{

constexpr uint32_t c_nGPUKindMask = 0xFFF;
constexpr uint32_t c_nGPUDouble = 0x2000;

const char* InterlaceText(int32_t _eInterlace)
{
    static constexpr const char* c_arrTexts[] = {"A", "iT", "iB", "p", "INV", "OF"};
    return _eInterlace >= eZI_NotSet && _eInterlace <= eZI_OF ? c_arrTexts[_eInterlace] : "ER";
}

std::string AspectText(const ZF_VID_PROPS& _vidProps)
{
    static constexpr const char* c_arrModes[] = {"", "I", "L", "C", "N"};
    if (_vidProps.nAspectX == 0 || _vidProps.nAspectY == 0)
        return {};
    return ZFormat(" (%d:%d%ws)", _vidProps.nAspectX, _vidProps.nAspectY,
                   c_arrModes[std::clamp(_vidProps.nAspectMode, 0, 4)]);
}

std::string GPUText(uint32_t _nGPUFlags)
{
    if (_nGPUFlags == 0)
        return {};
    return ZFormat(" GPU:%u%ws", _nGPUFlags & c_nGPUKindMask, _nGPUFlags & c_nGPUDouble ? " x2" : "");
}

} // namespace

std::string VidProps_Text(const ZF_VID_PROPS* _pVidProps)
{
    if (!Z_VERIFY(_pVidProps))
        return {};
    if (!VidProps_IsSet(_pVidProps, false))
        return _pVidProps->eVideoFormat == eZVF_Disabled ? "disabled" : "";
    return ZFormat("%d(%d)x%d(%s)@%.3f%ws%ws%ws", _pVidProps->nWidth, _pVidProps->nRowBytes, _pVidProps->nHeight,
                   FCC_Name(_pVidProps->fccType), _pVidProps->dblRate, InterlaceText(_pVidProps->eInterlace),
                   AspectText(*_pVidProps), GPUText(_pVidProps->nGPUFlags));
}

std::string TimeCode_Text(const ZF_TIMECODE* _pTimeCode)
{
    if (!Z_VERIFY(_pTimeCode))
        return {};
    const bool bDropFrame = _pTimeCode->nFlags & 1;
    std::string strText = ZFormat("%02d:%02d:%02d%ws%02d", _pTimeCode->nHours, _pTimeCode->nMinutes,
                                  _pTimeCode->nSeconds, bDropFrame ? ";" : ":", _pTimeCode->nFrames);
    const auto nField = static_cast<int32_t>(_pTimeCode->nFlags >> 8 & 0xF);
    if (nField)
        strText += ZFormat(".%d", std::max((nField & 0xE) - 1, 0)); // fields 2 and 3 are one pair, and so on
    return strText;
}
