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

/// Where the compiler put a member, by name.
struct FIELD
{
    const wchar_t* pwszName;
    size_t nOffset;
    size_t nBytes;
};
#define FIELD_OF(S, m)                                                                                                 \
    {                                                                                                                  \
        L"" #m, offsetof(S, m), sizeof(S::m)                                                                           \
    }

struct RECORD
{
    const wchar_t* pwszName;
    size_t nBytes;
    std::vector<FIELD> vecFields;
};

const RECORD c_arrRecords[] = {
    {L"SINGLE_KEY",
     sizeof(SINGLE_KEY),
     {FIELD_OF(SINGLE_KEY, nValue), FIELD_OF(SINGLE_KEY, nDelta), FIELD_OF(SINGLE_KEY, nSmoothRange),
      FIELD_OF(SINGLE_KEY, nAlpha), FIELD_OF(SINGLE_KEY, nCancelRange), FIELD_OF(SINGLE_KEY, nCancelPower),
      FIELD_OF(SINGLE_KEY, nCancelChroma), FIELD_OF(SINGLE_KEY, nCancelLuma), FIELD_OF(SINGLE_KEY, nCancelAlpha),
      FIELD_OF(SINGLE_KEY, nReverseKey)}},
    {L"CHROMA_KEY_RAW",
     sizeof(CHROMA_KEY_RAW),
     {FIELD_OF(CHROMA_KEY_RAW, eType), FIELD_OF(CHROMA_KEY_RAW, nKeysUsed), FIELD_OF(CHROMA_KEY_RAW, arrKeys),
      FIELD_OF(CHROMA_KEY_RAW, nMinTransparent), FIELD_OF(CHROMA_KEY_RAW, nMaxTransparent),
      FIELD_OF(CHROMA_KEY_RAW, nEdgesSmooth), FIELD_OF(CHROMA_KEY_RAW, bColorCancel),
      FIELD_OF(CHROMA_KEY_RAW, nInterlacedVideo), FIELD_OF(CHROMA_KEY_RAW, nInverseKey)}},
    {L"CK_COLOR_ADJUST",
     sizeof(CK_COLOR_ADJUST),
     {FIELD_OF(CK_COLOR_ADJUST, dblCancelRange), FIELD_OF(CK_COLOR_ADJUST, dblCancelPower),
      FIELD_OF(CK_COLOR_ADJUST, dblCancelChroma), FIELD_OF(CK_COLOR_ADJUST, dblCancelLuma),
      FIELD_OF(CK_COLOR_ADJUST, dblCancelAlpha)}},
    {L"CK_RANGE_ADJUST",
     sizeof(CK_RANGE_ADJUST),
     {FIELD_OF(CK_RANGE_ADJUST, dblRangeR_H_Y), FIELD_OF(CK_RANGE_ADJUST, dblRangeG_L_U),
      FIELD_OF(CK_RANGE_ADJUST, dblRangeB_S_V)}},
    {L"CK_ADJUST",
     sizeof(CK_ADJUST),
     {FIELD_OF(CK_ADJUST, dblPower), FIELD_OF(CK_ADJUST, dblTransparent), FIELD_OF(CK_ADJUST, dblColors),
      FIELD_OF(CK_ADJUST, dblSmooth), FIELD_OF(CK_ADJUST, dblMinTransparent), FIELD_OF(CK_ADJUST, dblMaxTransparent),
      FIELD_OF(CK_ADJUST, dblExclPower), FIELD_OF(CK_ADJUST, dblExclTransparent), FIELD_OF(CK_ADJUST, colAdjust),
      FIELD_OF(CK_ADJUST, rangeAdjust)}},
    {L"ZF_VID_PROPS",
     sizeof(ZF_VID_PROPS),
     {FIELD_OF(ZF_VID_PROPS, eVideoFormat), FIELD_OF(ZF_VID_PROPS, fccType), FIELD_OF(ZF_VID_PROPS, nWidth),
      FIELD_OF(ZF_VID_PROPS, nHeight), FIELD_OF(ZF_VID_PROPS, nRowBytes), FIELD_OF(ZF_VID_PROPS, eInterlace),
      FIELD_OF(ZF_VID_PROPS, nAspectX), FIELD_OF(ZF_VID_PROPS, nAspectY), FIELD_OF(ZF_VID_PROPS, dblRate),
      FIELD_OF(ZF_VID_PROPS, nAspectMode), FIELD_OF(ZF_VID_PROPS, nGPUFlags)}},
    {L"ZF_SIZE", sizeof(ZF_SIZE), {FIELD_OF(ZF_SIZE, cx), FIELD_OF(ZF_SIZE, cy)}},
    {L"ZF_VID_PTR",
     sizeof(ZF_VID_PTR),
     {FIELD_OF(ZF_VID_PTR, lpVideoPlanes), FIELD_OF(ZF_VID_PTR, szVideoPlanes), FIELD_OF(ZF_VID_PTR, cbVideoRowBytes)}},
    {L"ZF_TIMECODE",
     sizeof(ZF_TIMECODE),
     {FIELD_OF(ZF_TIMECODE, nHours), FIELD_OF(ZF_TIMECODE, nMinutes), FIELD_OF(ZF_TIMECODE, nSeconds),
      FIELD_OF(ZF_TIMECODE, nFrames), FIELD_OF(ZF_TIMECODE, nFlags)}},
};

TEST(TypeLib, RecordsLieAsInTheHeaders)
{
    const CTypeLibReader library(MODULE().Path());
    for (const RECORD& record : c_arrRecords)
    {
        SCOPED_TRACE(record.pwszName);
        const CTypeReader type = library.Type(record.pwszName);
        EXPECT_EQ(type.Attr().typekind, TKIND_RECORD);
        EXPECT_EQ(type.Attr().cbSizeInstance, record.nBytes);
        ASSERT_EQ(type.Attr().cVars, record.vecFields.size());
        for (UINT n = 0; n < type.Attr().cVars; ++n)
        {
            const TYPE_MEMBER member = type.Member(n);
            EXPECT_EQ(member.wstrName, record.vecFields[n].pwszName);
            EXPECT_EQ(member.nValue, record.vecFields[n].nOffset) << n;
            EXPECT_EQ(member.nBytes, record.vecFields[n].nBytes) << n;
        }
    }
}

struct CONSTANT
{
    const wchar_t* pwszName;
    int32_t nValue;
};
#define CONSTANT_OF(e)                                                                                                 \
    {                                                                                                                  \
        L"" #e, e                                                                                                      \
    }

TEST(TypeLib, EnumerationsHaveTheValuesOfTheHeaders)
{
    const struct
    {
        const wchar_t* pwszName;
        std::vector<CONSTANT> vecConstants;
    } arrEnums[] = {
        {L"eCK_Type",
         {CONSTANT_OF(eCKT_Alpha), CONSTANT_OF(eCKT_None), CONSTANT_OF(eCKT_RGB), CONSTANT_OF(eCKT_HLS),
          CONSTANT_OF(eCKT_YUV), CONSTANT_OF(eCKT_Auto)}},
        {L"eCK_Adjust",
         {CONSTANT_OF(eCKA_KeyType), CONSTANT_OF(eCKA_Power), CONSTANT_OF(eCKA_Transparent), CONSTANT_OF(eCKA_Smooth),
          CONSTANT_OF(eCKA_Colors), CONSTANT_OF(eCKA_MinTransparent), CONSTANT_OF(eCKA_MaxTransparent),
          CONSTANT_OF(eCKA_ExcludePower), CONSTANT_OF(eCKA_ExcludeTransparent), CONSTANT_OF(eCKA_Power_R_H_Y),
          CONSTANT_OF(eCKA_Power_G_L_U), CONSTANT_OF(eCKA_Power_B_S_V), CONSTANT_OF(eCKA_Colors_Range),
          CONSTANT_OF(eCKA_Colors_Power), CONSTANT_OF(eCKA_Colors_Chroma), CONSTANT_OF(eCKA_Colors_Luma),
          CONSTANT_OF(eCKA_Colors_Alpha)}},
    };
    const CTypeLibReader library(MODULE().Path());
    for (const auto& row : arrEnums)
    {
        SCOPED_TRACE(row.pwszName);
        const CTypeReader type = library.Type(row.pwszName);
        EXPECT_EQ(type.Attr().typekind, TKIND_ENUM);
        EXPECT_EQ(type.Attr().cbSizeInstance, sizeof(int32_t));
        ASSERT_EQ(type.Attr().cVars, row.vecConstants.size());
        for (UINT n = 0; n < type.Attr().cVars; ++n)
        {
            EXPECT_EQ(type.Member(n).wstrName, row.vecConstants[n].pwszName);
            EXPECT_EQ(type.Member(n).nValue, static_cast<size_t>(row.vecConstants[n].nValue)) << n;
        }
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

TEST(TypeLib, KeyEditingShowsItsParametersAndHelp)
{
    const struct
    {
        const wchar_t* pwszMethod;
        const wchar_t* pwszHelp;
    } arrMethods[] = {
        {L"KeyFrameSet _pZFrameKeyingOrNull _pZFrameBGOrNull", L"Set frame for key detection and/or background."},
        {L"KeyFrameGet _ppZFrameRes _ppZFrameBG", L"Get frame for key detection and background."},
        {L"KeyDetect _bsProps", L"Auto detect key"},
        {L"KeyAddPoint _nXPosPixels _nYPosPixels", L"Add point to key"},
        {L"KeyExcludePoint _nXPosPixels _nYPosPixels", L"Exclude point from key"},
        {L"KeyAddRect _nX1PosPixels _nY1PosPixels _nX2PosPixels _nY2PosPixels", L"Add rect to key"},
        {L"KeyAdjustSet _eAdjust _dblValue", L"Ajust keying propeties"},
        {L"KeyAdjustGet _eAdjust _pdblValue", L"Get keying ajust propeties"},
        {L"KeyStepBack _nSteps", L"Cancel last adjustement steps"},
        {L"KeyStepFwd _nSteps", L"Apply last adjustement steps (after step frwd)"},
        {L"KeyReset", L"Reset key."},
        {L"KeyRawSet _pvzKey _pKeyAdjust", L"Set chroma-key via structure"},
        {L"KeyRawGet _pvzKey _pKeyAdjust", L"Get chroma-key structure"},
        {L"KeySet _pKeyObject", L"Set chroma-key value structure"},
        {L"KeyGet _pZFrameForAdjustOrNull _ppKeyObject",
         L"Get key value object, use last input frame or user-specifed key, for specify BG image use _bsProps = "
         L"'background='path''."},
    };
    const CTypeLibReader library(MODULE().Path());
    const CTypeReader type = library.Interface(L"IZChromaKey");
    ASSERT_EQ(type.Attr().cFuncs, std::size(arrMethods));
    for (UINT n = 0; n < type.Attr().cFuncs; ++n)
    {
        const TYPE_METHOD method = type.Method(n);
        EXPECT_EQ(method.wstrName + method.wstrArgs, arrMethods[n].pwszMethod);
        EXPECT_EQ(method.wstrHelp, arrMethods[n].pwszHelp);
    }
}

TEST(TypeLib, IsNamedAndKnowsTheClasses)
{
    const CTypeLibReader library(MODULE().Path());
    EXPECT_EQ(library.Name(), L"ZCHROMAKEYLib");
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
