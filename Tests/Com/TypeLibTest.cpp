#include "Com/ComSupport.h"
#include "Com/TypeLibReader.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZFFrame.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZKey.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"

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
    EXPECT_EQ(library.Type(L"ZChromaKey").Attr().cImplTypes, 5);
    EXPECT_EQ(library.Type(L"ZKey").Attr().guid, CLSID_ZKey);
    for (const wchar_t* pwszDual : {L"IZChromaKey", L"IZKey"})
    {
        EXPECT_TRUE(library.Type(pwszDual).Attr().wTypeFlags & TYPEFLAG_FDUAL);
        EXPECT_TRUE(library.Interface(pwszDual).Attr().wTypeFlags & TYPEFLAG_FOLEAUTOMATION);
    }
}

} // namespace
