#pragma once

#include "Interfaces/IZScript.h"
#include "Interfaces/IZTables.h"

/// The tables of this module as its objects hand them out: rows made of the tables that the code itself reads.
class CZTables : public IZTables
{
public:
    HRESULT STDMETHODCALLTYPE TableCountGet(int32_t _eTable, UINT* _pnRows) override;
    HRESULT STDMETHODCALLTYPE TableRowGet(int32_t _eTable, UINT _nRow, ZTABLE_ROW* _pRow) override;
    HRESULT STDMETHODCALLTYPE TableValueCheck(int32_t _eTable, UINT _nRow, const wchar_t* _pwszValue) override;

protected:
    ~CZTables() = default;
};

template <> struct CZIidOf<CZTables> : CZIidOf<IZTables>
{
};

/// The same tables for scripts.
class CZScript : public IZScript
{
public:
    HRESULT STDMETHODCALLTYPE TableRows(int32_t _eTable, int32_t* _pnRows) override;
    HRESULT STDMETHODCALLTYPE TableText(int32_t _eTable, int32_t _nRow, BSTR _bsColumn, BSTR* _pbsText) override;
    HRESULT STDMETHODCALLTYPE TableNumber(int32_t _eTable, int32_t _nRow, BSTR _bsColumn, double* _pdblNumber) override;

protected:
    ~CZScript() = default;
};

template <> struct CZIidOf<CZScript> : CZIidOf<IZScript>
{
};
