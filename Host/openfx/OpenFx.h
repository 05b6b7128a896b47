#pragma once

#include <cstddef>

/// The part of the OpenFX 1.4 interface that the effect needs, in declarations of our own. The order of members, the
/// numbers and the texts are the standard's; what is named pUnused is never called. Also what the tests' host fills in.

#if defined(_WIN32)
#define OPENFX_ENTRY extern "C" __declspec(dllexport)
#else
#define OPENFX_ENTRY extern "C" __attribute__((visibility("default")))
#endif

using OFX_STATUS = int;
constexpr OFX_STATUS c_nOfxOk = 0, c_nOfxFailed = 1, c_nOfxMissingFeature = 4, c_nOfxUnsupported = 5, c_nOfxMemory = 8,
                     c_nOfxBadHandle = 9, c_nOfxUnknownProperty = 3, c_nOfxDefault = 14;

using OFX_PROPS = struct OFX_PROPS_OF_HOST*;
using OFX_EFFECT = struct OFX_EFFECT_OF_HOST*;
using OFX_CLIP = struct OFX_CLIP_OF_HOST*;
using OFX_PARAMS = struct OFX_PARAMS_OF_HOST*;
using OFX_PARAM = struct OFX_PARAM_OF_HOST*;
using OFX_UNUSED = void (*)();

struct OFX_RECT
{
    double x1, y1, x2, y2;
};

struct OFX_HOST
{
    OFX_PROPS hProps;
    const void* (*pfnFetchSuite)(OFX_PROPS _hHost, const char* _pszName, int _nVersion);
};

using OFX_MAIN = OFX_STATUS (*)(const char* _pszAction, const void* _pHandle, OFX_PROPS _hIn, OFX_PROPS _hOut);

struct OFX_PLUGIN
{
    const char* pszApi;
    int nApiVersion;
    const char* pszIdentifier;
    unsigned nMajor;
    unsigned nMinor;
    void (*pfnSetHost)(OFX_HOST* _pHost);
    OFX_MAIN pfnMain;
};

/// "OfxPropertySuite", 1
struct OFX_PROPERTY_SUITE
{
    OFX_STATUS (*pfnSetPointer)(OFX_PROPS _hProps, const char* _pszName, int _nIndex, void* _pValue);
    OFX_STATUS (*pfnSetString)(OFX_PROPS _hProps, const char* _pszName, int _nIndex, const char* _pszValue);
    OFX_STATUS (*pfnSetDouble)(OFX_PROPS _hProps, const char* _pszName, int _nIndex, double _dblValue);
    OFX_STATUS (*pfnSetInt)(OFX_PROPS _hProps, const char* _pszName, int _nIndex, int _nValue);
    OFX_UNUSED arrSetN[4];
    OFX_STATUS (*pfnGetPointer)(OFX_PROPS _hProps, const char* _pszName, int _nIndex, void** _ppValue);
    OFX_STATUS (*pfnGetString)(OFX_PROPS _hProps, const char* _pszName, int _nIndex, char** _ppszValue);
    OFX_STATUS (*pfnGetDouble)(OFX_PROPS _hProps, const char* _pszName, int _nIndex, double* _pdblValue);
    OFX_STATUS (*pfnGetInt)(OFX_PROPS _hProps, const char* _pszName, int _nIndex, int* _pnValue);
    OFX_UNUSED arrGetN[4];
    OFX_UNUSED pUnusedReset;
    OFX_UNUSED pUnusedGetDimension;
};

/// "OfxImageEffectSuite", 1
struct OFX_EFFECT_SUITE
{
    OFX_STATUS (*pfnGetPropertySet)(OFX_EFFECT _hEffect, OFX_PROPS* _phProps);
    OFX_STATUS (*pfnGetParamSet)(OFX_EFFECT _hEffect, OFX_PARAMS* _phParams);
    OFX_STATUS (*pfnClipDefine)(OFX_EFFECT _hEffect, const char* _pszName, OFX_PROPS* _phProps);
    OFX_STATUS (*pfnClipGetHandle)(OFX_EFFECT _hEffect, const char* _pszName, OFX_CLIP* _phClip, OFX_PROPS* _phProps);
    OFX_UNUSED pUnusedClipGetPropertySet;
    OFX_STATUS (*pfnClipGetImage)(OFX_CLIP _hClip, double _dblTime, const OFX_RECT* _pRegion, OFX_PROPS* _phImage);
    OFX_STATUS (*pfnClipReleaseImage)(OFX_PROPS _hImage);
    OFX_UNUSED arrUnused[6]; // region of definition, abort, image memory
};

/// "OfxParameterSuite", 1
struct OFX_PARAM_SUITE
{
    OFX_STATUS (*pfnDefine)(OFX_PARAMS _hParams, const char* _pszType, const char* _pszName, OFX_PROPS* _phProps);
    OFX_STATUS (*pfnGetHandle)(OFX_PARAMS _hParams, const char* _pszName, OFX_PARAM* _phParam, OFX_PROPS* _phProps);
    OFX_UNUSED pUnusedSetGetPropertySet;
    OFX_UNUSED pUnusedGetPropertySet;
    OFX_UNUSED pUnusedGetValue;
    /// Hands out through pointers: int (booleans, choices), double, three of them (RGB), char* (texts).
    OFX_STATUS (*pfnGetValueAtTime)(OFX_PARAM _hParam, double _dblTime, ...);
    OFX_UNUSED arrUnused[12]; // curves, keys in time, editing
};

/// "OfxMessageSuite", 1; hosts need not have it
struct OFX_MESSAGE_SUITE
{
    OFX_STATUS (*pfnMessage)(void* _pHandle, const char* _pszType, const char* _pszId, const char* _pszFormat, ...);
};

/// What hosts ask the file for by name.
OPENFX_ENTRY int OfxGetNumberOfPlugins();
OPENFX_ENTRY OFX_PLUGIN* OfxGetPlugin(int _nPlugin);
