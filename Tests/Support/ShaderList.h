#pragma once

#include <string>
#include <vector>

/// One shader text.
struct SHADER_CASE
{
    std::string strName; ///< as of a file
    std::string strText;
    const char* pszEntry; ///< "PS" or "VS"
};

/// Every shader text that there is, each under the first name that gives it.
std::vector<SHADER_CASE> ShaderList_All();
