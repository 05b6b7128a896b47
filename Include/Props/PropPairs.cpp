#include "Props/PropPairs.h"

#include <algorithm>

namespace
{

constexpr std::string_view c_svSeparators = " \t\r\n,;";
constexpr std::string_view c_svNameEnds = " \t\r\n,;='\"";

bool IsQuote(char _ch)
{
    return _ch == '\'' || _ch == '"';
}

/// Walks an option string; a failed step has filled in the error.
class CPairsReader
{
public:
    CPairsReader(std::string_view _svText, PROP_PAIRS_ERROR* _pError)
        : m_svText(_svText)
        , m_pError(_pError)
    {
    }

    /// False at the end of the text.
    bool SkipSeparators()
    {
        m_nPos = std::min(m_svText.find_first_not_of(c_svSeparators, m_nPos), m_svText.size());
        return m_nPos < m_svText.size();
    }
    bool TakePair(PROP_PAIR* _pPair)
    {
        if (IsQuote(m_svText[m_nPos]))
            return TakeQuotedPair(_pPair);
        return TakeName(m_svText.size(), &_pPair->svName) && TakeValue(&_pPair->svValue);
    }

private:
    bool Fail(size_t _nPos, const char* _pszReason)
    {
        m_pError->nPosition = _nPos + 1;
        m_pError->strReason = _pszReason;
        return false;
    }
    /// Takes the name and its '='.
    bool TakeName(size_t _nEnd, std::string_view* _psvName)
    {
        const size_t nNameEnd = std::min(m_svText.find_first_of(c_svNameEnds, m_nPos), _nEnd);
        if (nNameEnd == _nEnd || m_svText[nNameEnd] != '=')
            return Fail(m_nPos, "this is no name=value pair; a value with blanks, commas or semicolons needs quotes");
        if (nNameEnd == m_nPos)
            return Fail(m_nPos, "a name is missing before '='");
        *_psvName = m_svText.substr(m_nPos, nNameEnd - m_nPos);
        m_nPos = nNameEnd + 1;
        return true;
    }
    bool TakeValue(std::string_view* _psvValue)
    {
        if (m_nPos < m_svText.size() && IsQuote(m_svText[m_nPos]))
        {
            size_t nEnd = 0;
            if (!FindQuoteEnd(&nEnd))
                return false;
            *_psvValue = m_svText.substr(m_nPos + 1, nEnd - m_nPos - 1);
            m_nPos = nEnd + 1;
            return true;
        }
        const size_t nEnd = std::min(m_svText.find_first_of(c_svSeparators, m_nPos), m_svText.size());
        *_psvValue = m_svText.substr(m_nPos, nEnd - m_nPos);
        m_nPos = nEnd;
        return true;
    }
    bool TakeQuotedPair(PROP_PAIR* _pPair)
    {
        size_t nEnd = 0;
        if (!FindQuoteEnd(&nEnd))
            return false;
        ++m_nPos;
        if (!TakeName(nEnd, &_pPair->svName))
            return false;
        _pPair->svValue = m_svText.substr(m_nPos, nEnd - m_nPos);
        m_nPos = nEnd + 1;
        return true;
    }
    /// The quote that belongs to the one at the current place, with a separator or the end after it.
    bool FindQuoteEnd(size_t* _pnEnd)
    {
        const size_t nEnd = m_svText.find(m_svText[m_nPos], m_nPos + 1);
        if (nEnd == std::string_view::npos)
            return Fail(m_nPos, "this quote is not closed");
        if (nEnd + 1 < m_svText.size() && c_svSeparators.find(m_svText[nEnd + 1]) == std::string_view::npos)
            return Fail(nEnd + 1, "a blank, comma or semicolon is missing after the closing quote");
        *_pnEnd = nEnd;
        return true;
    }

    std::string_view m_svText;
    PROP_PAIRS_ERROR* m_pError;
    size_t m_nPos = 0;
};

} // namespace

bool PropPairs_Read(std::string_view _svText, std::vector<PROP_PAIR>* _pvecPairs, PROP_PAIRS_ERROR* _pError)
{
    _pvecPairs->clear();
    CPairsReader reader(_svText, _pError);
    while (reader.SkipSeparators())
    {
        PROP_PAIR pair;
        if (!reader.TakePair(&pair))
        {
            _pvecPairs->clear();
            return false;
        }
        _pvecPairs->push_back(pair);
    }
    return true;
}

const PROP_PAIR* PropPairs_Find(const std::vector<PROP_PAIR>& _vecPairs, std::string_view _svName)
{
    for (auto it = _vecPairs.rbegin(); it != _vecPairs.rend(); ++it)
        if (it->svName == _svName)
            return &*it;
    return nullptr;
}
