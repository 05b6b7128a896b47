#pragma once

#include "Interfaces/IZTables.h"

/// What other interfaces hand out through several pointers or in records, one value a call: for scripts, which have
/// neither. Every plug-in object has it. The first line of each method is its help text in the type library. Strings
/// are the caller's to free. May be called from any thread.
struct IZScript : public IUnknown
{
    /// Get the name of the plug-in object.
    virtual HRESULT STDMETHODCALLTYPE PluginName(BSTR* _pbsName) = 0;
    /// Get the version of the module.
    virtual HRESULT STDMETHODCALLTYPE PluginVersion(BSTR* _pbsVersion) = 0;
    /// Get the number of rows of a table: 0 options, 1 detection, 2 adjustments, 3 adapters, 4 system, 5 parameters.
    /// _eTable: eZTable. E_INVALIDARG: there is no such table.
    virtual HRESULT STDMETHODCALLTYPE TableRows(int32_t _eTable, int32_t* _pnRows) = 0;
    /// Get a text of a row, counted from 0: name, default, unit, right, help or effect.
    /// As ZTABLE_ROW has them. This and TableNumber: E_INVALIDARG: there is no such table, row or column; the log says
    /// which there are.
    virtual HRESULT STDMETHODCALLTYPE TableText(int32_t _eTable, int32_t _nRow, BSTR _bsColumn, BSTR* _pbsText) = 0;
    /// Get a number of a row, counted from 0: least, most, default or kind.
    /// kind: eZValue. least and most are both 0 where there is no range.
    virtual HRESULT STDMETHODCALLTYPE TableNumber(int32_t _eTable, int32_t _nRow, BSTR _bsColumn,
                                                  double* _pdblNumber) = 0;
};
Z_INTERFACE_ID(IZScript, 0xcd4c7583, 0xabca, 0x46ce, 0x86, 0x7d, 0x18, 0xc0, 0x4e, 0xbf, 0x0b, 0x30)
