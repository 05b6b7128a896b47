#pragma once

#include <cstdint>

/// The part of the frei0r 1 interface that a filter needs, in declarations of our own. Layouts, numbers and names are
/// the interface's.

#if defined(_WIN32)
#define FREI0R_ENTRY extern "C" __declspec(dllexport)
#else
#define FREI0R_ENTRY extern "C" __attribute__((visibility("default")))
#endif

enum FREI0R_KIND
{
    eF0K_Filter = 0 ///< one picture in, one out
};

enum FREI0R_PIXELS
{
    eF0P_BGRA = 0 ///< bytes B, G, R, A: the keyer's ARGB32
};

enum FREI0R_TYPE ///< and what the pointer of f0r_set_param_value and f0r_get_param_value points to
{
    eF0T_Switch = 0, ///< a double, 0 or 1
    eF0T_Number = 1, ///< a double, 0 to 1
    eF0T_Color = 2,  ///< a FREI0R_COLOR
    eF0T_Text = 4    ///< a const char*
};

constexpr int c_nFrei0rVersion = 1;

struct FREI0R_PLUGIN
{
    const char* pszName;
    const char* pszAuthor;
    int eKind;
    int ePixels;
    int nFrei0rVersion;
    int nMajor;
    int nMinor;
    int nParams;
    const char* pszExplanation;
};

struct FREI0R_PARAM
{
    const char* pszName;
    int eType;
    const char* pszExplanation;
};

struct FREI0R_COLOR
{
    float fltRed; ///< 0 to 1, as the next two
    float fltGreen;
    float fltBlue;
};

using FREI0R_INSTANCE = void*;

/// What hosts ask a plug-in for by name. A host may use one instance from several threads.
FREI0R_ENTRY int f0r_init(); ///< 1: may be used
FREI0R_ENTRY void f0r_deinit();
FREI0R_ENTRY void f0r_get_plugin_info(FREI0R_PLUGIN* _pInfo);
FREI0R_ENTRY void f0r_get_param_info(FREI0R_PARAM* _pInfo, int _nParam);
FREI0R_ENTRY FREI0R_INSTANCE f0r_construct(unsigned _nWidth,
                                           unsigned _nHeight); ///< null: no size of a picture, or out of memory
FREI0R_ENTRY void f0r_destruct(FREI0R_INSTANCE _pInstance);
FREI0R_ENTRY void f0r_set_param_value(FREI0R_INSTANCE _pInstance, void* _pValue, int _nParam);
FREI0R_ENTRY void f0r_get_param_value(FREI0R_INSTANCE _pInstance, void* _pValue, int _nParam);
/// _dblTime in seconds; pictures of _nWidth * _nHeight pixels without gaps, top row first.
FREI0R_ENTRY void f0r_update(FREI0R_INSTANCE _pInstance, double _dblTime, const uint32_t* _pIn, uint32_t* _pOut);
