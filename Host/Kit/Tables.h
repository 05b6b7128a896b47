#pragma once

#include "Kit/Module.h"

#include "Interfaces/IZTables.h"

#include <string>
#include <vector>

/// The rows of a table of the module's class, in its order. Their texts are the module's and stay while it is loaded.
/// Throws CZHostError where the class has no such table.
std::vector<ZTABLE_ROW> Tables_Read(const CZModule& _module, eZTable _eTable, REFCLSID _clsid = CLSID_ZChromaKey);

/// Whether a text can be the value of the n-th row of a table.
bool Tables_IsRight(const CZModule& _module, eZTable _eTable, size_t _nRow, const std::string& _strValue,
                    REFCLSID _clsid = CLSID_ZChromaKey);

/// The names that a row of the kind eZV_Choice takes, at their numbers; none of another kind.
std::vector<std::string> Tables_Choices(const ZTABLE_ROW& _row);
