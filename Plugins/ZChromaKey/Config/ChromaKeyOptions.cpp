#include "ZChromaKey/Config/ChromaKeyOptions.h"

#include "Base/ZLog.h"
#include "Base/ZText.h"
#include "Base/ZThread.h"
#include "Interfaces/ZVideoTypes.h"
#include "Props/PropStore.h"

#include <algorithm>
#include <array>

namespace
{

/// Rows of the table, in its order.
enum eRow : size_t
{
    eRow_TimeOverlay,
    eRow_GPUFlush,
    eRow_GPUMode,
    eRow_Keep,
    eRow_Matrix,
    eRow_Range,
    eRow_Alpha,
    eRow_Borders,
    eRow_ARGB,
    eRow_Depth,
    eRow_Premultiplied,
    eRow_Thread,
    eRow_Threads,
    eRow_Count
};

constexpr std::array<CK_OPTION, eRow_Count> c_arrOptions = {{
    {c_szOptionTimeOverlay, eCKOptionType_Bool, "false", 0, 0, "", "Draw the time on the output (GPU path only)."},
    {c_szOptionGPUFlush, eCKOptionType_Bool, "false", 0, 0, "",
     "Hand the work to the GPU as soon as it is recorded. For hosts whose own work waits in the same context."},
    {c_szOptionGPUMode, eCKOptionType_Int, "-1", -1, 2, "",
     "0: key on the CPU; 1: on the GPU, and fail where that fails; other values: on the GPU, and on the CPU where that "
     "fails. The second generation leaves frames in memory to the CPU, but for 1 and 2. Where there is no device, "
     "frames go to the CPU, and one is looked for every few seconds; one that is software is used with 1 only."},
    {c_szOptionKeep, eCKOptionType_Bool, "true", 0, 0, "",
     "Keep the last frame that came in, to pick colours from and to recognise it when it comes again. Switched off, "
     "with \"output.thread\" off as well, no frame is held once its result is handed out: the host may use its memory "
     "again. Colours are picked from frames that are set for it then, and each frame counts as another one."},
    {c_szOptionMatrix, eCKOptionType_Choice, "auto", 0, 3, "auto 601 709 2020",
     "The matrix of pictures in YUV: BT.601, BT.709 or BT.2020; auto: BT.709 above 576 lines or 1024 columns, else "
     "BT.601. Picking, detection and keying use the same. On the GPU only what auto gives: other frames go to the "
     "CPU."},
    {c_szOptionRange, eCKOptionType_Choice, "auto", 0, 2, "auto limited full",
     "The levels of pictures in YUV: limited (of 255, black is 16 and white 235) or full (0 and 255); auto: limited. "
     "Used like \"input.matrix\"."},
    {c_szOptionAlpha, eCKOptionType_Choice, "replace", 0, 1, "replace multiply",
     "What becomes of the alpha that a frame comes with: the key takes its place, or is multiplied by it, so that what "
     "was transparent before stays so. First generation; the second has the parameter \"alpha\"."},
    {c_szOptionBorders, eCKOptionType_Borders, "", 0, 0, "pixels",
     "Left, top, right and bottom border in pixels; the result is the frame less these borders, left and right edge "
     "rounded up to multiples of 8. Frames in a texture are keyed whole."},
    {c_szOptionARGB, eCKOptionType_Bool, "false", 0, 0, "",
     "Convert the input into ARGB32; the result has its alpha filled."},
    {c_szOptionDepth, eCKOptionType_Depth, "8", 0, 0, "bits",
     "Bits of a channel in results that \"output.argb\" asks for: 8, or 16 for ARGB64, which keeps what the picture "
     "has of more than 8 bits and the fractions of mixed colours. Second generation; the first has 8."},
    {c_szOptionPremultiplied, eCKOptionType_Bool, "false", 0, 0, "",
     "Multiply the colours of results with alpha by it, rounded to nearest; else alpha is straight. Keyed frames only: "
     "one that passes keeps straight alpha."},
    {c_szOptionThread, eCKOptionType_Bool, "true", 0, 0, "",
     "Process frames on a thread of their own, one frame behind. Switched off, a frame's result comes at once, and one "
     "that is still under way from before is dropped; fetch it first, with a null frame."},
    {c_szOptionThreads, eCKOptionType_Int, "2", 1, 16, "threads",
     "Threads that key a frame on the CPU, 1 to 16; 0 acts as 1, negative and larger numbers as 16."},
}};

/// The choices of an option, one after another: calls _fnName(place, name) until it answers false.
template <class Name> void ForChoices(const CK_OPTION& _option, Name&& _fnName)
{
    std::string_view svRest = _option.pszUnit;
    for (int32_t n = 0; !svRest.empty(); ++n)
    {
        const std::string_view svName = svRest.substr(0, svRest.find(' '));
        svRest.remove_prefix(std::min(svName.size() + 1, svRest.size()));
        if (!_fnName(n, svName))
            return;
    }
}

/// The place of a name among the choices, whatever its case, or the number itself; -1 where it is neither.
int32_t ChoiceOf(const CK_OPTION& _option, std::string_view _svValue)
{
    int32_t nFound = -1;
    if (PropText_ReadInt32(_svValue, &nFound) && nFound >= 0 && nFound <= _option.dblMost)
        return nFound;
    ForChoices(_option, [&](int32_t _n, std::string_view _svName) {
        nFound = ZText_IsSame(_svName, _svValue) ? _n : -1;
        return nFound < 0;
    });
    return nFound;
}

/// "auto, 601 or 709"
std::string ChoicesText(const CK_OPTION& _option)
{
    std::string strText;
    ForChoices(_option, [&](int32_t _n, std::string_view _svName) {
        strText += ZFormat("%hs%hs", _n == 0 ? "" : _n == _option.dblMost ? " or " : ", ", _svName);
        return true;
    });
    return strText;
}

bool GetBool(const CPropStore& _store, eRow _eRow)
{
    bool bDefault = false;
    PropText_ReadBool(c_arrOptions[_eRow].pszDefault, &bDefault);
    return _store.GetBool(c_arrOptions[_eRow].pszName, bDefault);
}

int32_t GetInt(const CPropStore& _store, eRow _eRow)
{
    int32_t nDefault = 0;
    PropText_ReadInt32(c_arrOptions[_eRow].pszDefault, &nDefault);
    return _store.GetInt(c_arrOptions[_eRow].pszName, nDefault);
}

/// The place of the option's value among the choices.
int32_t GetChoice(const CPropStore& _store, eRow _eRow)
{
    std::string strValue;
    const bool bSet = _store.Find(c_arrOptions[_eRow].pszName, &strValue);
    return bSet ? std::max(ChoiceOf(c_arrOptions[_eRow], strValue), 0) : 0;
}

/// Within what the engine takes: it compares a number with the one in use before it clamps it, and would start new
/// threads for every frame otherwise. Read as unsigned, so that a negative number is a large one.
int32_t GetThreads(const CPropStore& _store)
{
    const auto nThreads = static_cast<uint32_t>(GetInt(_store, eRow_Threads));
    return static_cast<int32_t>(std::clamp(nThreads, 1u, c_nMaxFrameThreads));
}

/// A border below 0 is none.
PROP_RECT GetBorders(const CPropStore& _store)
{
    const PROP_RECT rect = _store.GetRect(c_arrOptions[eRow_Borders].pszName, {});
    return {std::max(rect.nLeft, 0), std::max(rect.nTop, 0), std::max(rect.nRight, 0), std::max(rect.nBottom, 0)};
}

} // namespace

std::span<const CK_OPTION> ChromaKeyOptions_Table()
{
    return c_arrOptions;
}

std::string ChromaKeyOptions_Validate(std::string_view _svName, std::string_view _svValue)
{
    const auto itOption = std::ranges::find(c_arrOptions, _svName, &CK_OPTION::pszName);
    if (itOption == c_arrOptions.end())
        return {};
    bool bValue = false;
    int32_t nValue = 0;
    PROP_RECT rectValue = {};
    switch (itOption->eType)
    {
    case eCKOptionType_Bool:
        return PropText_ReadBool(_svValue, &bValue) ? "" : "true or false";
    case eCKOptionType_Int:
        return PropText_ReadInt32(_svValue, &nValue) ? "" : "a whole number of 32 bits";
    case eCKOptionType_Depth:
        return PropText_ReadInt32(_svValue, &nValue) && (nValue == 8 || nValue == 16) ? "" : "a whole number, 8 or 16";
    case eCKOptionType_Choice:
        return ChoiceOf(*itOption, _svValue) >= 0 ? "" : ChoicesText(*itOption);
    default:
        return PropText_ReadRect(_svValue, &rectValue) ? "" : "four whole numbers: left,top,right,bottom";
    }
}

CK_FRAME_OPTIONS ChromaKeyOptions_Read(const CPropStore& _store)
{
    CK_FRAME_OPTIONS options = {};
    options.nChange = _store.ChangeCount(); // before the values: a change in between is read again
    options.nGPUMode = GetInt(_store, eRow_GPUMode);
    options.bGPUFlush = GetBool(_store, eRow_GPUFlush);
    options.bKeepInput = GetBool(_store, eRow_Keep);
    options.bOutputARGB = GetBool(_store, eRow_ARGB);
    options.fccARGB = GetInt(_store, eRow_Depth) == 16 ? eZFCC_ARGB64 : eZFCC_ARGB32;
    options.yuv = ChromaKeyOptions_YUV(_store);
    options.bMultiplyAlpha = GetChoice(_store, eRow_Alpha) == 1;
    options.bPremultiplied = GetBool(_store, eRow_Premultiplied);
    options.nThreads = GetThreads(_store);
    options.rectBorders = GetBorders(_store);
    options.bTimeOverlay = GetBool(_store, eRow_TimeOverlay);
    return options;
}

Z_YUV_FORM ChromaKeyOptions_YUV(const CPropStore& _store)
{
    return {GetChoice(_store, eRow_Matrix), GetChoice(_store, eRow_Range) == 2};
}

bool ChromaKeyOptions_OutputThread(const CPropStore& _store)
{
    return GetBool(_store, eRow_Thread);
}

bool ChromaKeyOptions_KeepInput(const CPropStore& _store)
{
    return GetBool(_store, eRow_Keep);
}
