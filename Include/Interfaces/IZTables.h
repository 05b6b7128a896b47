#pragma once

#include "Interfaces/ZPlatform.h"

/// Which table of a plug-in object is asked for.
enum eZTable : int32_t
{
    eZTable_Options = 0,   ///< the options of IZProps
    eZTable_Detection = 1, ///< the options of detection: IZChromaKey::KeyDetect takes them, IZProps keeps them
    eZTable_Adjusts = 2,   ///< the adjustments of IZChromaKey::KeyAdjustSet, each row at the index of its eCK_Adjust
    eZTable_Adapters = 3,  ///< the graphics adapters, the default one first; none where there is no GPU path
    eZTable_System = 4,    ///< what the module runs on: system, processor, instruction sets
    eZTable_Params = 5,    ///< the parameters of IZChromaKey2::ParamSet, in the order of ParamInfo
};

/// What kind of value a row takes.
enum eZValue : int32_t
{
    eZV_Text = 0,
    eZV_Bool = 1,   ///< true or false
    eZV_Whole = 2,  ///< a whole number
    eZV_Number = 3, ///< a decimal number
    eZV_Rect = 4,   ///< four whole numbers: left, top, right, bottom
    eZV_Choice = 5, ///< one of some names, or its number, counted from 0; methods take the number
};

/// One row, 80 bytes. Its texts are UTF-8, never null, and stay as they are while the module is loaded.
struct ZTABLE_ROW
{
    const char* pszName;    ///< as methods and documents name it: "output.argb", "detect.blocks", "smooth"
    int32_t eValue;         ///< eZValue
    int32_t nReserved;      ///< 0
    double dblLeast;        ///< the range of a number or a choice, both ends included; both 0: no range is given
    double dblMost;         ///< in the unit of the row
    double dblDefault;      ///< of a number or a choice, and 1 or 0 for true or false; else 0
    const char* pszDefault; ///< the same as text, "" for no value; in eZTable_System what is the case
    const char* pszUnit;    ///< "%", "levels"; "" where there is none; of a choice its names, blanks between
    const char* pszRight;   ///< which values are right: "a whole number"
    const char* pszHelp;    ///< what the person at the controls sees, or what the row is for
    const char* pszEffect;  ///< what it does to the key set or the picture; "" where pszHelp says it all
};
static_assert(sizeof(void*) != 8 || sizeof(ZTABLE_ROW) == 80);

/// What plug-in objects can be told and what they run on, for hosts that list, show and check it without knowing it
/// beforehand. Every object has all tables, those of the other generation as well. The tables do not change while the
/// module is loaded. May be called from any thread.
struct IZTables : public IUnknown
{
    /// How many rows a table has. E_INVALIDARG and 0: the object has no such table.
    virtual HRESULT STDMETHODCALLTYPE TableCountGet(int32_t _eTable, UINT* _pnRows) = 0;
    /// Fills in the n-th row, from 0. S_FALSE and a zeroed record after the last one; E_INVALIDARG: no such table.
    virtual HRESULT STDMETHODCALLTYPE TableRowGet(int32_t _eTable, UINT _nRow, ZTABLE_ROW* _pRow) = 0;
    /// Says whether a text can be the value of a row, without setting it. S_FALSE: it cannot; pszRight says what can.
    /// "" is right for an option, and means that it is not set. E_INVALIDARG: no such row.
    virtual HRESULT STDMETHODCALLTYPE TableValueCheck(int32_t _eTable, UINT _nRow, const wchar_t* _pwszValue) = 0;
};
Z_INTERFACE_ID(IZTables, 0x75e81a38, 0x6f2f, 0x4f40, 0x92, 0x22, 0x95, 0x7f, 0x46, 0xe1, 0x13, 0x67)
