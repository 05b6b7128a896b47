#include "zkhost/Ui/StepNames.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace
{

constexpr const char* c_pszUnknown = "change";

std::string_view FirstWord(const std::string& _strText)
{
    return std::string_view(_strText).substr(0, _strText.find(' '));
}

} // namespace

void CZStepNames::Took(size_t _nBack, size_t _nFwd, STEP _step, bool _bMerges)
{
    const bool bOfLast = _bMerges && m_nAt > 0 && FirstWord(m_vecSteps[m_nAt - 1].strName) == FirstWord(_step.strName);
    if (_nBack > m_nAt || (_nBack == m_nAt && !bOfLast))
    {
        // There are more than one where a name was lost, out of memory.
        m_vecSteps.resize(std::max(m_nAt + 1, _nBack) - 1, {c_pszUnknown, false});
        m_vecSteps.push_back(std::move(_step));
        if (m_vecSteps.size() > _nBack) // the module has dropped its oldest
            m_vecSteps.erase(m_vecSteps.begin(), m_vecSteps.end() - static_cast<ptrdiff_t>(_nBack));
    }
    else if (_nBack == m_nAt)
        m_vecSteps[m_nAt - 1] = std::move(_step);
    else
        m_vecSteps.resize(_nBack);
    Moved(_nBack, _nFwd);
}

void CZStepNames::Moved(size_t _nBack, size_t _nFwd)
{
    m_nAt = _nBack;
    m_vecSteps.resize(_nBack + _nFwd, {c_pszUnknown, false});
}
