#pragma once

#include "Base/ZMatrix.h"
#include "Interfaces/ZOptionNames.h"
#include "Props/PropText.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

class CPropStore;

/// What kind of value an option takes.
enum eCKOptionType : int
{
    eCKOptionType_Bool,
    eCKOptionType_Int,
    eCKOptionType_Depth,   ///< 8 or 16
    eCKOptionType_Borders, ///< left, top, right, bottom; empty = none
    eCKOptionType_Choice,  ///< one of some names, or its number; the first is the default
};

/// One option of the plug-in object, as hosts set it and the documentation lists it.
struct CK_OPTION
{
    const char* pszName;
    eCKOptionType eType;
    const char* pszDefault; ///< as text; what counts while the option is not set
    double dblLeast;        ///< the range of a number, both ends included; both 0: no range
    double dblMost;
    const char* pszUnit; ///< "" where there is none; of a choice its names, blanks between
    const char* pszHelp;
};

/// All options of the frame path, in alphabetical order.
std::span<const CK_OPTION> ChromaKeyOptions_Table();

/// "" when the value is right for the option, or the name is not in the table; else which values are right.
std::string ChromaKeyOptions_Validate(std::string_view _svName, std::string_view _svValue);

/// Values of c_szOptionGPUMode; every other one: the GPU, and the CPU when that fails.
enum eCK_GPUMode : int32_t
{
    eCKGPU_Off = 0,
    eCKGPU_Only = 1,
    eCKGPU_Memory = 2, ///< frames in memory as well, of a generation that leaves them to the CPU otherwise
};

/// The options that the processing step reads.
struct CK_FRAME_OPTIONS
{
    uint64_t nChange; ///< the store's change count these values belong to
    int32_t nGPUMode;
    bool bGPUFlush;
    bool bKeepInput; ///< frames are compared with the one before
    bool bOutputARGB;
    uint32_t fccARGB;    ///< what bOutputARGB asks for: eZFCC_ARGB32 or eZFCC_ARGB64
    bool bMultiplyAlpha; ///< the alpha of the input counts as well
    bool bPremultiplied;
    Z_YUV_FORM yuv;        ///< how pictures in YUV are coded
    int32_t nThreads;      ///< 1 to 16
    PROP_RECT rectBorders; ///< four border widths in pixels, from 0
    bool bTimeOverlay;
};

/// Reads the options as they are now. A value that cannot be read counts as not set.
CK_FRAME_OPTIONS ChromaKeyOptions_Read(const CPropStore& _store);

/// How pictures in YUV are coded; keys are to be measured with the same.
Z_YUV_FORM ChromaKeyOptions_YUV(const CPropStore& _store);

/// c_szOptionThread, which is read when a frame comes in.
bool ChromaKeyOptions_OutputThread(const CPropStore& _store);

/// c_szOptionKeep, likewise.
bool ChromaKeyOptions_KeepInput(const CPropStore& _store);
