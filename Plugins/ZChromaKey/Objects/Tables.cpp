#include "ZChromaKey/Objects/Tables.h"

#include "Base/ZBorder.h"
#include "Base/ZCpu.h"
#include "Base/ZLog.h"
#include "Base/ZSystem.h"
#include "Base/ZText.h"
#include "Helpers/CKDetectOptions.h"
#include "Props/PropText.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"
#include "ZChromaKey/Config/Params2.h"
#include "ZChromaKey/Engine1/Gpu/Adapters.h"
#include "ZChromaKey/Keys/KeyAdjust.h"

#ifdef ZCK_LICENCE_KEY
#include "ZChromaKey/Licence/LicenceJudge.h"
#include "ZChromaKey/Licence/LicencePlaces.h"
#endif

#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

constexpr ZTABLE_ROW c_rowEmpty = {"", eZV_Text, 0, 0, 0, 0, "", "", "", "", ""};

/// The rows of a table, and the texts among them that had to be made.
struct TABLE
{
    std::vector<ZTABLE_ROW> vecRows;
    std::deque<std::string> deqTexts; // texts stay where they are while others are added

    const char* Keep(std::string _strText)
    {
        return deqTexts.emplace_back(std::move(_strText)).c_str();
    }
};

double NumberOf(const char* _pszText)
{
    double dblNumber = 0;
    bool bTruth = false;
    if (!PropText_ReadDouble(_pszText, &dblNumber) && PropText_ReadBool(_pszText, &bTruth))
        dblNumber = bTruth;
    return dblNumber;
}

/// The kind of value that a text about right values speaks of.
eZValue ValueOf(std::string_view _svRight)
{
    constexpr std::pair<std::string_view, eZValue> c_arrKinds[] = {{"true or false", eZV_Bool},
                                                                   {"a whole number", eZV_Whole},
                                                                   {"a number", eZV_Number},
                                                                   {"four whole numbers", eZV_Rect}};
    for (const auto& [svBegin, eValue] : c_arrKinds)
        if (_svRight.starts_with(svBegin))
            return eValue;
    return eZV_Text;
}

/// A row of an option. _pszName and _pszRight stay.
ZTABLE_ROW OptionRow(const char* _pszName, const char* _pszDefault, const char* _pszRight, const char* _pszHelp)
{
    ZTABLE_ROW row = c_rowEmpty;
    row.pszName = _pszName;
    row.eValue = ValueOf(_pszRight);
    row.dblDefault = NumberOf(_pszDefault);
    row.pszDefault = _pszDefault;
    row.pszRight = _pszRight;
    row.pszHelp = _pszHelp;
    return row;
}

TABLE OptionsMake()
{
    constexpr std::string_view c_svWrong = "?"; // as no option can be: the answer is what can
    TABLE table;
    for (const CK_OPTION& option : ChromaKeyOptions_Table())
    {
        ZTABLE_ROW row = OptionRow(option.pszName, option.pszDefault,
                                   table.Keep(ChromaKeyOptions_Validate(option.pszName, c_svWrong)), option.pszHelp);
        row.dblLeast = option.dblLeast;
        row.dblMost = option.dblMost;
        row.pszUnit = option.pszUnit;
        if (option.eType == eCKOptionType_Choice)
            row.eValue = eZV_Choice;
        table.vecRows.push_back(row);
    }
    return table;
}

TABLE DetectionMake()
{
    TABLE table;
    for (const CKUtils::CK_DETECT_OPTION& option : CKUtils::DetectOptions_Table())
        table.vecRows.push_back(OptionRow(table.Keep(std::string("detect.") + option.pszName), option.pszDefault,
                                          option.pszRight, option.pszHelp));
    return table;
}

TABLE AdjustsMake()
{
    TABLE table;
    for (const CK_ADJUST_INFO& info : KeyAdjust_Table())
    {
        const bool bWhole = info.eAdjust == eCKA_KeyType;
        const char* const pszKind = bWhole ? "a whole number" : "a number";
        table.vecRows.push_back({info.pszName, bWhole ? eZV_Whole : eZV_Number, 0, info.dblMin, info.dblMax,
                                 info.dblDefault, table.Keep(PropText_FromDouble(info.dblDefault)), info.pszUnit,
                                 table.Keep(ZFormat("%hs from %g to %g", pszKind, info.dblMin, info.dblMax)),
                                 info.pszOperator, info.pszEffect});
    }
    return table;
}

TABLE ParamsMake()
{
    TABLE table;
    for (const KEY2_PARAM& param : Params2_Table())
    {
        const std::string strRight = Params2_Check(param, param.dblMost + 1); // said of a value that is not
        table.vecRows.push_back({param.pszName, param.pszChoices ? eZV_Choice : eZV_Number, 0, param.dblLeast,
                                 param.dblMost, param.dblDefault, table.Keep(Params2_Text(param, param.dblDefault)),
                                 param.pszChoices ? param.pszChoices : param.pszUnit, table.Keep(strRight),
                                 param.pszOperator, param.pszEffect});
    }
    return table;
}

TABLE AdaptersMake()
{
    TABLE table;
    for (std::string& strAdapter : Adapters_List())
    {
        ZTABLE_ROW row = c_rowEmpty;
        row.pszName = table.Keep(std::move(strAdapter));
        table.vecRows.push_back(row);
    }
    return table;
}

/// What ZCK_SIMD can ask for here.
std::string LevelsText()
{
    std::string strText;
    for (const eSIMD_Level eLevel : {eSIMD_None, eSIMD_AVX2, eSIMD_AVX512})
        if (eLevel <= ZCpu_Detected())
            strText += ZFormat(strText.empty() ? "%hs" : " %hs", ZCpu_LevelName(eLevel));
    return strText;
}

TABLE SystemMake()
{
    TABLE table;
    const std::pair<const char*, std::string> arrFacts[] = {
        {"system", ZSystem_Name()},
        {"processor", ZSystem_Processor()},
        {"SIMD in use", ZCpu_LevelName(ZCpu_Level())},
        {"SIMD available", ZCpu_LevelName(ZCpu_Detected())},
#ifdef ZCK_LICENCE_KEY
        {"licence for", ZCK_LICENCE_PRODUCT},
        {"licence file", LicencePlaces_UserFile()},
        {"licence machine", LicenceJudge_Machine(LicencePlaces_Machine())},
#endif
        {"SIMD levels", LevelsText()}};
    for (const auto& [pszName, strFact] : arrFacts)
    {
        ZTABLE_ROW row = c_rowEmpty;
        row.pszName = pszName;
        row.pszDefault = table.Keep(strFact);
        table.vecRows.push_back(row);
    }
    return table;
}

/// Each table is made once, when it is first asked for: hosts hold on to its texts.
template <TABLE (*Make)()> const TABLE* Made()
{
    static const TABLE s_table = Make();
    return &s_table;
}

/// Null: there is no such table.
const TABLE* Find(int32_t _eTable)
{
    switch (_eTable)
    {
    case eZTable_Options:
        return Made<OptionsMake>();
    case eZTable_Detection:
        return Made<DetectionMake>();
    case eZTable_Adjusts:
        return Made<AdjustsMake>();
    case eZTable_Adapters:
        return Made<AdaptersMake>();
    case eZTable_System:
        return Made<SystemMake>();
    case eZTable_Params:
        return Made<ParamsMake>();
    default:
        ZLog(eZLog_Error, "CZTables: there is no table %d; there are %d to %d\n", _eTable, eZTable_Options,
             eZTable_Params);
        return nullptr;
    }
}

bool IsRight(int32_t _eTable, UINT _nRow, const ZTABLE_ROW& _row, const std::string& _strValue)
{
    CKUtils::CK_DETECT_OPTIONS options;
    double dblValue = 0;
    switch (_eTable)
    {
    case eZTable_Options:
        return _strValue.empty() || ChromaKeyOptions_Validate(_row.pszName, _strValue).empty();
    case eZTable_Detection:
        return CKUtils::DetectOptions_Table()[_nRow].pfnRead(_strValue, &options);
    case eZTable_Adjusts:
        return PropText_ReadDouble(_strValue, &dblValue) && dblValue >= _row.dblLeast && dblValue <= _row.dblMost &&
               (_row.eValue == eZV_Number || dblValue == static_cast<int>(dblValue));
    case eZTable_Params:
        return Params2_Read(Params2_Table()[_nRow], _strValue, &dblValue);
    default:
        return false; // nothing there can be set
    }
}

} // namespace

HRESULT CZTables::TableCountGet(int32_t _eTable, UINT* _pnRows)
{
    return ZBorder("CZTables::TableCountGet", [&]() -> HRESULT {
        if (!_pnRows)
            return E_POINTER;
        *_pnRows = 0;
        const TABLE* const pTable = Find(_eTable);
        if (!pTable)
            return E_INVALIDARG;
        *_pnRows = static_cast<UINT>(pTable->vecRows.size());
        return S_OK;
    });
}

HRESULT CZTables::TableRowGet(int32_t _eTable, UINT _nRow, ZTABLE_ROW* _pRow)
{
    return ZBorder("CZTables::TableRowGet", [&]() -> HRESULT {
        if (!_pRow)
            return E_POINTER;
        *_pRow = {};
        const TABLE* const pTable = Find(_eTable);
        if (!pTable)
            return E_INVALIDARG;
        if (_nRow >= pTable->vecRows.size())
            return S_FALSE;
        *_pRow = pTable->vecRows[_nRow];
        return S_OK;
    });
}

HRESULT CZTables::TableValueCheck(int32_t _eTable, UINT _nRow, const wchar_t* _pwszValue)
{
    return ZBorder("CZTables::TableValueCheck", [&]() -> HRESULT {
        if (!_pwszValue)
            return E_POINTER;
        const TABLE* const pTable = Find(_eTable);
        if (!pTable || _nRow >= pTable->vecRows.size())
            return E_INVALIDARG;
        return IsRight(_eTable, _nRow, pTable->vecRows[_nRow], ZText_FromWide(_pwszValue)) ? S_OK : S_FALSE;
    });
}

namespace
{

/// A column of a table, as scripts name it.
template <class T> struct COLUMN
{
    const char* pszName;
    T (*pfnValue)(const ZTABLE_ROW& _row);
};
constexpr COLUMN<const char*> c_arrTexts[] = {
    {"name", [](const ZTABLE_ROW& _row) { return _row.pszName; }},
    {"default", [](const ZTABLE_ROW& _row) { return _row.pszDefault; }},
    {"unit", [](const ZTABLE_ROW& _row) { return _row.pszUnit; }},
    {"right", [](const ZTABLE_ROW& _row) { return _row.pszRight; }},
    {"help", [](const ZTABLE_ROW& _row) { return _row.pszHelp; }},
    {"effect", [](const ZTABLE_ROW& _row) { return _row.pszEffect; }},
};
constexpr COLUMN<double> c_arrNumbers[] = {
    {"least", [](const ZTABLE_ROW& _row) { return _row.dblLeast; }},
    {"most", [](const ZTABLE_ROW& _row) { return _row.dblMost; }},
    {"default", [](const ZTABLE_ROW& _row) { return _row.dblDefault; }},
    {"kind", [](const ZTABLE_ROW& _row) { return double(_row.eValue); }},
};

/// Null: there is no such row (logged).
const ZTABLE_ROW* FindRow(int32_t _eTable, int32_t _nRow)
{
    const TABLE* const pTable = Find(_eTable);
    if (pTable && _nRow >= 0 && static_cast<size_t>(_nRow) < pTable->vecRows.size())
        return &pTable->vecRows[static_cast<size_t>(_nRow)];
    if (pTable)
        ZLog(eZLog_Error, "CZTables: table %d has no row %d; it has %zu, counted from 0\n", _eTable, _nRow,
             pTable->vecRows.size());
    return nullptr;
}

/// Null: there is no such column (logged).
template <class T, size_t N> const COLUMN<T>* FindColumn(const COLUMN<T> (&_arrColumns)[N], BSTR _bsColumn)
{
    const std::string strName = ZText_FromWide(_bsColumn ? _bsColumn : L"");
    std::string strNames;
    for (const COLUMN<T>& column : _arrColumns)
    {
        if (strName == column.pszName)
            return &column;
        strNames += ZFormat(" %hs", column.pszName);
    }
    ZLog(eZLog_Error, "CZTables: a row has no column %hs here; there are%hs\n", PropText_Quote(strName), strNames);
    return nullptr;
}

} // namespace

HRESULT CZScript::TableRows(int32_t _eTable, int32_t* _pnRows)
{
    return ZBorder("CZScript::TableRows", [&]() -> HRESULT {
        if (!_pnRows)
            return E_POINTER;
        const TABLE* const pTable = Find(_eTable);
        *_pnRows = pTable ? static_cast<int32_t>(pTable->vecRows.size()) : 0;
        return pTable ? S_OK : E_INVALIDARG;
    });
}

HRESULT CZScript::TableText(int32_t _eTable, int32_t _nRow, BSTR _bsColumn, BSTR* _pbsText)
{
    return ZBorder("CZScript::TableText", [&]() -> HRESULT {
        if (!_pbsText)
            return E_POINTER;
        *_pbsText = nullptr;
        const ZTABLE_ROW* const pRow = FindRow(_eTable, _nRow);
        const auto* const pColumn = pRow ? FindColumn(c_arrTexts, _bsColumn) : nullptr;
        return pColumn ? ZText_HandOut(pColumn->pfnValue(*pRow), _pbsText) : E_INVALIDARG;
    });
}

HRESULT CZScript::TableNumber(int32_t _eTable, int32_t _nRow, BSTR _bsColumn, double* _pdblNumber)
{
    return ZBorder("CZScript::TableNumber", [&]() -> HRESULT {
        if (!_pdblNumber)
            return E_POINTER;
        *_pdblNumber = 0;
        const ZTABLE_ROW* const pRow = FindRow(_eTable, _nRow);
        const auto* const pColumn = pRow ? FindColumn(c_arrNumbers, _bsColumn) : nullptr;
        if (pColumn)
            *_pdblNumber = pColumn->pfnValue(*pRow);
        return pColumn ? S_OK : E_INVALIDARG;
    });
}
