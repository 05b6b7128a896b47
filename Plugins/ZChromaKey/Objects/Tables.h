#pragma once

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
