#include "Kit/Tables.h"

#include "Kit/Result.h"

#include "Base/ZText.h"

#include <iterator>
#include <sstream>

std::vector<ZTABLE_ROW> Tables_Read(const CZModule& _module, eZTable _eTable, REFCLSID _clsid)
{
    const auto cpTables = _module.Create<IZTables>(_clsid);
    UINT nRows = 0;
    Result_Check(cpTables->TableCountGet(_eTable, &nRows), "asking the module for a table");
    std::vector<ZTABLE_ROW> vecRows(nRows);
    for (UINT i = 0; i < nRows; ++i)
        Result_Check(cpTables->TableRowGet(_eTable, i, &vecRows[i]), "asking the module for a row of a table");
    return vecRows;
}

bool Tables_IsRight(const CZModule& _module, eZTable _eTable, size_t _nRow, const std::string& _strValue,
                    REFCLSID _clsid)
{
    const auto cpTables = _module.Create<IZTables>(_clsid);
    const HRESULT hr = cpTables->TableValueCheck(_eTable, static_cast<UINT>(_nRow), ZText_ToWide(_strValue).c_str());
    Result_Check(hr, "having the module check a value");
    return hr == S_OK;
}

std::vector<std::string> Tables_Choices(const ZTABLE_ROW& _row)
{
    std::istringstream names(_row.eValue == eZV_Choice ? _row.pszUnit : "");
    return {std::istream_iterator<std::string>(names), {}};
}
