#include "Props/PropText.h"

#include "Base/ZNumber.h"
#include "Base/ZText.h"

#include <charconv>
#include <cmath>
#include <utility>

namespace
{

constexpr size_t c_nMaxQuoted = 64;
constexpr std::string_view c_svBlanks = " \t\r\n";

/// The library's readers know no '+'; a sign after one is no number.
std::string_view WithoutPlus(std::string_view _svText)
{
    const bool bPlus = _svText.size() > 1 && _svText[0] == '+' && _svText[1] != '-';
    return _svText.substr(bPlus ? 1 : 0);
}

/// Takes a number off the front of a text.
template <class T> bool TakeNumber(std::string_view* _psvText, T* _pValue)
{
    std::string_view svNumber = WithoutPlus(*_psvText);
    if (!ZNumber_Take(&svNumber, _pValue))
        return false;
    *_psvText = svNumber;
    return true;
}

template <class T> bool ReadNumber(std::string_view _svText, T* _pValue)
{
    std::string_view svText = PropText_Trim(_svText);
    T value{};
    if (!TakeNumber(&svText, &value) || !svText.empty())
        return false;
    *_pValue = value;
    return true;
}

template <class T> std::string NumberText(T _value)
{
    char arrText[32]; // the longest double, -2.2250738585072014e-308, has 24 characters
    const auto res = std::to_chars(arrText, arrText + sizeof(arrText), _value);
    return std::string(arrText, res.ptr);
}

/// Takes what stands between two numbers of a rectangle: blanks, of which one may be a comma.
bool TakeSeparator(std::string_view* _psvText)
{
    const size_t nBefore = _psvText->size();
    *_psvText = PropText_Trim(*_psvText);
    if (!_psvText->empty() && _psvText->front() == ',')
        *_psvText = PropText_Trim(_psvText->substr(1));
    return _psvText->size() < nBefore;
}

} // namespace

std::string_view PropText_Trim(std::string_view _svText)
{
    const size_t nFirst = _svText.find_first_not_of(c_svBlanks);
    if (nFirst == std::string_view::npos)
        return {};
    return _svText.substr(nFirst, _svText.find_last_not_of(c_svBlanks) - nFirst + 1);
}

std::string PropText_Quote(std::string_view _svText)
{
    if (_svText.size() <= c_nMaxQuoted)
        return "\"" + std::string(_svText) + "\"";
    size_t nCut = c_nMaxQuoted;
    while (nCut > 0 && (static_cast<unsigned char>(_svText[nCut]) & 0xC0) == 0x80) // inside a character
        --nCut;
    return "\"" + std::string(_svText.substr(0, nCut)) + "...\"";
}

bool PropText_ReadInt(std::string_view _svText, int64_t* _pnValue)
{
    return ReadNumber(_svText, _pnValue);
}

bool PropText_ReadInt32(std::string_view _svText, int32_t* _pnValue)
{
    return ReadNumber(_svText, _pnValue);
}

bool PropText_ReadDouble(std::string_view _svText, double* _pdblValue)
{
    double dblValue = 0;
    if (!ReadNumber(_svText, &dblValue) || !std::isfinite(dblValue))
        return false;
    *_pdblValue = dblValue;
    return true;
}

bool PropText_ReadBool(std::string_view _svText, bool* _pbValue)
{
    const std::string_view svText = PropText_Trim(_svText);
    constexpr std::pair<const char*, bool> c_arrWords[] = {{"true", true},   {"yes", true}, {"on", true},
                                                           {"false", false}, {"no", false}, {"off", false}};
    for (const auto& [pszWord, bValue] : c_arrWords)
        if (ZText_IsSame(svText, pszWord))
        {
            *_pbValue = bValue;
            return true;
        }
    int64_t nValue = 0;
    if (!PropText_ReadInt(svText, &nValue))
        return false;
    *_pbValue = nValue != 0;
    return true;
}

bool PropText_ReadRect(std::string_view _svText, PROP_RECT* _pRect)
{
    std::string_view svText = PropText_Trim(_svText);
    int32_t arrValues[4] = {};
    for (int i = 0; i < 4; ++i)
        if ((i > 0 && !TakeSeparator(&svText)) || !TakeNumber(&svText, &arrValues[i]))
            return false;
    if (!svText.empty())
        return false;
    *_pRect = {arrValues[0], arrValues[1], arrValues[2], arrValues[3]};
    return true;
}

std::string PropText_FromInt(int64_t _nValue)
{
    return NumberText(_nValue);
}

std::string PropText_FromUInt(uint64_t _nValue)
{
    return NumberText(_nValue);
}

std::string PropText_FromDouble(double _dblValue)
{
    return NumberText(_dblValue);
}

const char* PropText_FromBool(bool _bValue)
{
    return _bValue ? "true" : "false";
}
