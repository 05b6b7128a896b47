#pragma once

#include "Interfaces/ChromaKey2Types.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

/// One parameter of the second generation, as ParamSet takes it, hosts show it and the documentation lists it.
struct KEY2_PARAM
{
    const char* pszName;
    double KEY2_PARAMS::*pdblField;
    double dblLeast;
    double dblMost;
    double dblDefault;
    const char* pszUnit;
    const char*
        pszChoices; ///< of a parameter that is a choice: the names of its numbers from 0, blanks between; else null
    const char* pszEffect;   ///< what it does
    const char* pszOperator; ///< what the person at the controls sees
    bool bOfPresent;         ///< how the present is looked at: no step of editing, and not saved
};

/// All parameters, in the order of KEY2_PARAMS.
std::span<const KEY2_PARAM> Params2_Table();

/// The row of a parameter; null for a name that is none.
const KEY2_PARAM* Params2_Find(std::string_view _svName);

/// The parameters at their defaults.
KEY2_PARAMS Params2_Defaults();

/// "" when a value is right for a parameter; else which values are: "a number from 0 to 200 (%)".
std::string Params2_Check(const KEY2_PARAM& _param, double _dblValue);

/// Reads a value of a parameter: a number, or the name of a choice. False: it is neither, or outside the range.
bool Params2_Read(const KEY2_PARAM& _param, std::string_view _svText, double* _pdblValue);

/// A value of a parameter as a text that reads back as the same: the name where it is a choice.
std::string Params2_Text(const KEY2_PARAM& _param, double _dblValue);

/// Effect and what an operator sees, and the numbers of the choices, in one text.
std::string Params2_Help(const KEY2_PARAM& _param);
