#include "Com/ComSupport.h"
#include "Com/TypeLibReader.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZChromaKey2.h"
#include "Interfaces/IZFFrame.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZKey.h"
#include "Interfaces/IZKey2.h"
#include "Interfaces/IZKeys.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"
#include "Interfaces/IZScript.h"
#include "Interfaces/IZSteps.h"

#include <cstring>
#include <vector>

// Holds the type library in the module against the headers.

namespace
{

struct TYPE
{
    const wchar_t* pwszName;
    TYPEKIND eKind;
    size_t nBytes; ///< as the compiler has it
    const wchar_t* pwszMembers;
};

const TYPE c_arrTypes[] = {
    {L"eCK_Type", TKIND_ENUM, sizeof(eCK_Type),
     L"eCKT_Alpha=0 eCKT_None=1 eCKT_RGB=2 eCKT_HLS=3 eCKT_YUV=4 eCKT_Auto=5"},
    {L"eCK_Adjust", TKIND_ENUM, sizeof(eCK_Adjust),
     L"eCKA_KeyType=0 eCKA_Power=1 eCKA_Transparent=2 eCKA_Smooth=3 eCKA_Colors=4 eCKA_MinTransparent=5 "
     L"eCKA_MaxTransparent=6 eCKA_ExcludePower=7 eCKA_ExcludeTransparent=8 eCKA_Power_R_H_Y=9 eCKA_Power_G_L_U=10 "
     L"eCKA_Power_B_S_V=11 eCKA_Colors_Range=12 eCKA_Colors_Power=13 eCKA_Colors_Chroma=14 eCKA_Colors_Luma=15 "
     L"eCKA_Colors_Alpha=16"},
    {L"SINGLE_KEY", TKIND_RECORD, sizeof(SINGLE_KEY),
     L"nValue:0 nDelta:4 nSmoothRange:8 nAlpha:12 nCancelRange:16 nCancelPower:20 nCancelChroma:24 nCancelLuma:28 "
     L"nCancelAlpha:32 nReverseKey:36"},
    {L"CHROMA_KEY_RAW", TKIND_RECORD, sizeof(CHROMA_KEY_RAW),
     L"eType:0 nKeysUsed:4 arrKeys:8 nMinTransparent:648 nMaxTransparent:652 nEdgesSmooth:656 bColorCancel:660 "
     L"nInterlacedVideo:664 nInverseKey:668"},
    {L"CK_COLOR_ADJUST", TKIND_RECORD, sizeof(CK_COLOR_ADJUST),
     L"dblCancelRange:0 dblCancelPower:8 dblCancelChroma:16 dblCancelLuma:24 dblCancelAlpha:32"},
    {L"CK_RANGE_ADJUST", TKIND_RECORD, sizeof(CK_RANGE_ADJUST), L"dblRangeR_H_Y:0 dblRangeG_L_U:8 dblRangeB_S_V:16"},
    {L"CK_ADJUST", TKIND_RECORD, sizeof(CK_ADJUST),
     L"dblPower:0 dblTransparent:8 dblColors:16 dblSmooth:24 dblMinTransparent:32 dblMaxTransparent:40 dblExclPower:48 "
     L"dblExclTransparent:56 colAdjust:64 rangeAdjust:104"},
    {L"eLight", TKIND_ENUM, sizeof(eLight), L"eLight_Coded=0 eLight_Linear=1"},
    {L"eLearn", TKIND_ENUM, sizeof(eLearn), L"eLearn_On=0 eLearn_Hold=1 eLearn_Restart=2"},
    {L"eView", TKIND_ENUM, sizeof(eView),
     L"eView_Result=0 eView_Matte=1 eView_Status=2 eView_Plate=3 eView_Foreground=4 eView_Confidence=5 eView_Source=6"},
    {L"eAlpha", TKIND_ENUM, sizeof(eAlpha), L"eAlpha_Replace=0 eAlpha_Multiply=1"},
    {L"eRegion", TKIND_ENUM, sizeof(eRegion), L"eRegion_Garbage=0 eRegion_HoldOut=1 eRegion_Backdrop=2"},
    {L"eRange", TKIND_ENUM, sizeof(eRange), L"eRange_Backdrop=0 eRange_Foreground=1 eRange_Protected=2"},
    {L"eKeyedOn", TKIND_ENUM, sizeof(eKeyedOn), L"eKeyedOn_None=0 eKeyedOn_CPU=1 eKeyedOn_GPU=2"},
    {L"KEY2_RANGE", TKIND_RECORD, sizeof(KEY2_RANGE), L"dblHue:0 dblSaturation:8 dblValue:16"},
    {L"SINGLE_KEY2", TKIND_RECORD, sizeof(SINGLE_KEY2),
     L"dblRed:0 dblGreen:8 dblBlue:16 rangeBackdrop:24 rangeForeground:48"},
    {L"PROTECTED_KEY2", TKIND_RECORD, sizeof(PROTECTED_KEY2), L"dblRed:0 dblGreen:8 dblBlue:16 range:24"},
    {L"KEY2_PARAMS", TKIND_RECORD, sizeof(KEY2_PARAMS),
     L"dblBackdrop:0 dblSolid:8 dblCleanBackdrop:16 dblCleanForeground:24 dblChoke:32 dblSoften:40 dblSpill:48 "
     L"dblSpillBalance:56 dblShadows:64 dblNoise:72 eLightValue:80 eLearnValue:88 eViewValue:96 eAlphaValue:104"},
    {L"CHROMA_KEY2_RAW", TKIND_RECORD, sizeof(CHROMA_KEY2_RAW),
     L"nSize:0 nKeysUsed:4 nProtectedUsed:8 bAutomatic:12 arrKeys:16 arrProtected:1168 params:1936"},
    {L"CHROMA_KEY2_STATS", TKIND_RECORD, sizeof(CHROMA_KEY2_STATS),
     L"dblBackdrop:0 dblMixed:8 dblSolid:16 dblNoise:24 dblMilliseconds:32 nPlateFrames:40 nCuts:44 eKeyedOnValue:48 "
     L"nReserved:52"},
    {L"ZF_VID_PROPS", TKIND_RECORD, sizeof(ZF_VID_PROPS),
     L"eVideoFormat:0 fccType:4 nWidth:8 nHeight:12 nRowBytes:16 eInterlace:20 nAspectX:24 nAspectY:26 dblRate:32 "
     L"nAspectMode:40 nGPUFlags:44"},
    {L"ZF_SIZE", TKIND_RECORD, sizeof(ZF_SIZE), L"cx:0 cy:4"},
    {L"ZF_VID_PTR", TKIND_RECORD, sizeof(ZF_VID_PTR), L"lpVideoPlanes:0 szVideoPlanes:32 cbVideoRowBytes:64"},
    {L"ZF_TIMECODE", TKIND_RECORD, sizeof(ZF_TIMECODE), L"nHours:0 nMinutes:4 nSeconds:8 nFrames:12 nFlags:16"},
};

// Where the headers do not say themselves what their members' offsets are.
static_assert(offsetof(ZF_SIZE, cy) == 4 && offsetof(ZF_TIMECODE, nMinutes) == 4);
static_assert(offsetof(ZF_TIMECODE, nSeconds) == 8 && offsetof(ZF_TIMECODE, nFrames) == 12);

TEST(TypeLib, RecordsAndEnumerationsAreThoseOfTheHeaders)
{
    const CTypeLibReader library(MODULE().Path());
    for (const TYPE& row : c_arrTypes)
    {
        SCOPED_TRACE(row.pwszName);
        const CTypeReader type = library.Type(row.pwszName);
        EXPECT_EQ(type.Attr().typekind, row.eKind);
        EXPECT_EQ(type.Attr().cbSizeInstance, row.nBytes);
        EXPECT_EQ(type.Members(), row.pwszMembers);
    }
}

/// The kinds of arguments as both sides see them: p = pointer, i = four bytes, d = double.
template <class T> char KindOf()
{
    if constexpr (std::is_pointer_v<T>)
        return 'p';
    else if constexpr (std::is_same_v<T, double>)
        return 'd';
    else
        return sizeof(T) == 4 ? 'i' : '?';
}

struct METHOD
{
    std::wstring wstrName;
    size_t nSlot; ///< in the table of methods
    std::string strKinds;
};

template <class I, class R, class... Args>
METHOD MethodOf(const wchar_t* _pwszName, R (STDMETHODCALLTYPE I::*_pfn)(Args...))
{
    METHOD method = {_pwszName, 0, {KindOf<Args>()...}};
#if defined(__GNUC__)
    // A pointer to a virtual method holds its offset in the table, plus 1.
    uintptr_t nOffset = 0;
    std::memcpy(&nOffset, &_pfn, sizeof(nOffset));
    method.nSlot = (nOffset - 1) / sizeof(void*);
#else
    (void)_pfn;
#endif
    return method;
}
#define METHOD_OF(I, m) MethodOf(L"" #m, &I::m)

struct INTERFACE
{
    const wchar_t* pwszName;
    const IID& iid;
    std::vector<METHOD> vecMethods;
};

TEST(TypeLib, InterfacesHaveTheMethodsOfTheHeaders)
{
    const INTERFACE arrInterfaces[] = {
        {L"IZChromaKey",
         IID_IZChromaKey,
         {METHOD_OF(IZChromaKey, KeyFrameSet), METHOD_OF(IZChromaKey, KeyFrameGet), METHOD_OF(IZChromaKey, KeyDetect),
          METHOD_OF(IZChromaKey, KeyAddPoint), METHOD_OF(IZChromaKey, KeyExcludePoint),
          METHOD_OF(IZChromaKey, KeyAddRect), METHOD_OF(IZChromaKey, KeyAdjustSet),
          METHOD_OF(IZChromaKey, KeyAdjustGet), METHOD_OF(IZChromaKey, KeyStepBack), METHOD_OF(IZChromaKey, KeyStepFwd),
          METHOD_OF(IZChromaKey, KeyReset), METHOD_OF(IZChromaKey, KeyRawSet), METHOD_OF(IZChromaKey, KeyRawGet),
          METHOD_OF(IZChromaKey, KeySet), METHOD_OF(IZChromaKey, KeyGet)}},
        {L"IZKey",
         IID_IZKey,
         {METHOD_OF(IZKey, TypeSet), METHOD_OF(IZKey, TypeGet), METHOD_OF(IZKey, Reset), METHOD_OF(IZKey, AddPoint),
          METHOD_OF(IZKey, AddRect), METHOD_OF(IZKey, Detect), METHOD_OF(IZKey, MaxKeysSet),
          METHOD_OF(IZKey, KeysCountGet), METHOD_OF(IZKey, RawSet), METHOD_OF(IZKey, RawGet)}},
        {L"IZChromaKey2",
         IID_IZChromaKey2,
         {METHOD_OF(IZChromaKey2, KeyAuto),         METHOD_OF(IZChromaKey2, KeyAddPoint),
          METHOD_OF(IZChromaKey2, KeyAddRect),      METHOD_OF(IZChromaKey2, KeyAddColor),
          METHOD_OF(IZChromaKey2, KeyProtectPoint), METHOD_OF(IZChromaKey2, KeyProtectRect),
          METHOD_OF(IZChromaKey2, KeyProtectColor), METHOD_OF(IZChromaKey2, KeyRemove),
          METHOD_OF(IZChromaKey2, KeyCount),        METHOD_OF(IZChromaKey2, KeyReset),
          METHOD_OF(IZChromaKey2, KeyGet),          METHOD_OF(IZChromaKey2, KeySet),
          METHOD_OF(IZChromaKey2, KeyRawGet),       METHOD_OF(IZChromaKey2, KeyRawSet),
          METHOD_OF(IZChromaKey2, ParamGet),        METHOD_OF(IZChromaKey2, ParamSet),
          METHOD_OF(IZChromaKey2, ParamCount),      METHOD_OF(IZChromaKey2, ParamInfo),
          METHOD_OF(IZChromaKey2, StepBack),        METHOD_OF(IZChromaKey2, StepFwd),
          METHOD_OF(IZChromaKey2, StepsBack),       METHOD_OF(IZChromaKey2, StepsFwd),
          METHOD_OF(IZChromaKey2, GroupBegin),      METHOD_OF(IZChromaKey2, GroupEnd),
          METHOD_OF(IZChromaKey2, PlateLearn),      METHOD_OF(IZChromaKey2, PlateSet),
          METHOD_OF(IZChromaKey2, PlateGet),        METHOD_OF(IZChromaKey2, RegionSet),
          METHOD_OF(IZChromaKey2, RegionGet),       METHOD_OF(IZChromaKey2, ViewSet),
          METHOD_OF(IZChromaKey2, FrameSet),        METHOD_OF(IZChromaKey2, StatsGet),
          METHOD_OF(IZChromaKey2, StatGet)}},
        {L"IZKey2",
         IID_IZKey2,
         {METHOD_OF(IZKey2, Reset), METHOD_OF(IZKey2, AddPoint), METHOD_OF(IZKey2, AddRect),
          METHOD_OF(IZKey2, AddColor), METHOD_OF(IZKey2, Remove), METHOD_OF(IZKey2, CountGet),
          METHOD_OF(IZKey2, ColorGet), METHOD_OF(IZKey2, RangeSet), METHOD_OF(IZKey2, RangeGet),
          METHOD_OF(IZKey2, ParamSet), METHOD_OF(IZKey2, ParamGet), METHOD_OF(IZKey2, RawSet),
          METHOD_OF(IZKey2, RawGet)}},
        {L"IZFFrame",
         IID_IZFFrame,
         {METHOD_OF(IZFFrame, VideoPropsGet), METHOD_OF(IZFFrame, VideoPtrGet), METHOD_OF(IZFFrame, TimeCodeGet),
          METHOD_OF(IZFFrame, AttachmentSet), METHOD_OF(IZFFrame, AttachmentGet)}},
        {L"IZFFrame2",
         IID_IZFFrame2,
         {METHOD_OF(IZFFrame2, FrameIdGet), METHOD_OF(IZFFrame2, FrameCreate), METHOD_OF(IZFFrame2, FrameClone),
          METHOD_OF(IZFFrame2, FrameConvert), METHOD_OF(IZFFrame2, FrameRect)}},
        {L"IZFProcess",
         IID_IZFProcess,
         {METHOD_OF(IZFProcess, OnMediaReceive), METHOD_OF(IZFProcess, OnMediaEnd),
          METHOD_OF(IZFProcess, OnMediaFlush)}},
        {L"IZProps",
         IID_IZProps,
         {METHOD_OF(IZProps, PropsSet), METHOD_OF(IZProps, PropsGet), METHOD_OF(IZProps, PropsNameGet)}},
        {L"IZFPersist",
         IID_IZFPersist,
         {METHOD_OF(IZFPersist, PersistSaveToFile), METHOD_OF(IZFPersist, PersistSaveToString),
          METHOD_OF(IZFPersist, PersistLoad)}},
        {L"IZLogSink", IID_IZLogSink, {METHOD_OF(IZLogSink, LogLine)}},
        {L"IZPlugin",
         IID_IZPlugin,
         {METHOD_OF(IZPlugin, PluginInfoGet), METHOD_OF(IZPlugin, LogSet), METHOD_OF(IZPlugin, Close)}},
        {L"IZSteps",
         IID_IZSteps,
         {METHOD_OF(IZSteps, StepBack), METHOD_OF(IZSteps, StepFwd), METHOD_OF(IZSteps, StepsBack),
          METHOD_OF(IZSteps, StepsFwd), METHOD_OF(IZSteps, GroupBegin), METHOD_OF(IZSteps, GroupEnd)}},
        {L"IZScript",
         IID_IZScript,
         {METHOD_OF(IZScript, PluginName), METHOD_OF(IZScript, PluginVersion), METHOD_OF(IZScript, TableRows),
          METHOD_OF(IZScript, TableText), METHOD_OF(IZScript, TableNumber)}},
        {L"IZKeys",
         IID_IZKeys,
         {METHOD_OF(IZKeys, KeyAddColor), METHOD_OF(IZKeys, KeyProtectColor), METHOD_OF(IZKeys, KeysSaveToString),
          METHOD_OF(IZKeys, KeysLoad)}},
    };
    const CTypeLibReader library(MODULE().Path());
    for (const INTERFACE& row : arrInterfaces)
    {
        SCOPED_TRACE(row.pwszName);
        const CTypeReader type = library.Interface(row.pwszName);
        EXPECT_EQ(type.Attr().typekind, TKIND_INTERFACE);
        EXPECT_EQ(type.Attr().guid, row.iid);
        ASSERT_EQ(type.Attr().cFuncs, row.vecMethods.size()) << "methods besides those of the base";
        for (UINT n = 0; n < type.Attr().cFuncs; ++n)
        {
            const TYPE_METHOD method = type.Method(n);
            EXPECT_EQ(method.wstrName, row.vecMethods[n].wstrName);
#if defined(__GNUC__)
            EXPECT_EQ(method.nSlot, row.vecMethods[n].nSlot) << n;
#endif
            EXPECT_EQ(method.strKinds, row.vecMethods[n].strKinds) << n;
        }
    }
}

TEST(TypeLib, ScriptsGetAValueBackAndMayLeaveOutWhatTheyDoNotNeed)
{
    const std::pair<const wchar_t*, const char*> arrMethods[] = {
        {L"KeyAddPoint", "ii"},    {L"KeyRemove", "id"}, {L"KeyCount", "dr"}, {L"KeyGet", "r"},
        {L"KeyRawGet", "o"},       {L"ParamGet", "ir"},  {L"ParamSet", "ii"}, {L"ParamCount", "r"},
        {L"ParamInfo", "ioooooo"}, {L"StepBack", "dr"},  {L"StepFwd", "dr"},  {L"StepsBack", "r"},
        {L"StepsFwd", "r"},        {L"PlateLearn", "d"}, {L"PlateSet", "d"},  {L"PlateGet", "r"},
        {L"RegionSet", "idd"},     {L"RegionGet", "ir"}, {L"ViewSet", "d"},   {L"FrameSet", "d"},
        {L"StatGet", "ir"},
    };
    const CTypeLibReader library(MODULE().Path());
    const CTypeReader type = library.Interface(L"IZChromaKey2");
    size_t nFound = 0;
    for (UINT n = 0; n < type.Attr().cFuncs; ++n)
        for (const auto& [pwszName, pszRoles] : arrMethods)
            if (const TYPE_METHOD method = type.Method(n); method.wstrName == pwszName)
            {
                EXPECT_EQ(method.strRoles, pszRoles) << n;
                ++nFound;
            }
    EXPECT_EQ(nFound, std::size(arrMethods));
    EXPECT_EQ(library.Interface(L"IZKey2").Method(5).strRoles, "dr") << "CountGet";
    EXPECT_EQ(library.Interface(L"IZChromaKey").Method(0).strRoles, "dd") << "KeyFrameSet";
    EXPECT_EQ(library.Interface(L"IZChromaKey").Method(14).strRoles, "dr") << "KeyGet";
    EXPECT_EQ(library.Interface(L"IZPlugin").Method(1).strRoles, "dd") << "LogSet";
}

TEST(TypeLib, IsNamedAndKnowsTheClasses)
{
    const CTypeLibReader library(MODULE().Path());
    EXPECT_EQ(library.Name(), L"ZCHROMAKEYLib");
    const TYPE_METHOD method = library.Interface(L"IZChromaKey").Method(6);
    EXPECT_EQ(method.wstrName + method.wstrArgs, L"KeyAdjustSet _eAdjust _dblValue") << "scripts may name arguments";
    const TLIBATTR attr = library.Attr();
    EXPECT_EQ(attr.guid, LIBID_ZCHROMAKEYLib);
    EXPECT_EQ(attr.wMajorVerNum, 1);
    EXPECT_EQ(attr.wMinorVerNum, 0);
    EXPECT_EQ(attr.syskind, SYS_WIN64);
    EXPECT_EQ(library.Type(L"ZChromaKey").Attr().guid, CLSID_ZChromaKey);
    EXPECT_EQ(library.Type(L"ZChromaKey").Attr().cImplTypes, 8);
    EXPECT_EQ(library.Type(L"ZKey").Attr().guid, CLSID_ZKey);
    EXPECT_EQ(library.Type(L"ZChromaKey2").Attr().guid, CLSID_ZChromaKey2);
    EXPECT_EQ(library.Type(L"ZChromaKey2").Attr().cImplTypes, 8);
    EXPECT_EQ(library.Type(L"ZKey2").Attr().guid, CLSID_ZKey2);
    for (const wchar_t* pwszDual : {L"IZChromaKey", L"IZKey", L"IZChromaKey2", L"IZKey2"})
    {
        EXPECT_TRUE(library.Type(pwszDual).Attr().wTypeFlags & TYPEFLAG_FDUAL);
        EXPECT_TRUE(library.Interface(pwszDual).Attr().wTypeFlags & TYPEFLAG_FOLEAUTOMATION);
    }
}

} // namespace
