#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// The reader's walk over the characters of a document: names, quoted values, references, text. Which of them may stand
/// where is the reader's business. What does not fit is thrown as XML_SCAN_FAILURE.

/// Thrown inside the reader only, which turns it into an XML_READ_ERROR.
struct XML_SCAN_FAILURE
{
    size_t nPos; ///< byte of the document, from 0
    std::string strReason;
};

class CXmlScanner
{
public:
    /// The document is borrowed and must be valid UTF-8.
    explicit CXmlScanner(std::string_view _svDocument)
        : m_svDocument(_svDocument)
    {
    }

    size_t Pos() const
    {
        return m_nPos;
    }
    bool AtEnd() const
    {
        return m_nPos == m_svDocument.size();
    }
    bool At(std::string_view _svToken) const
    {
        return m_svDocument.substr(m_nPos).starts_with(_svToken);
    }
    [[noreturn]] void Fail(size_t _nPos, std::string _strReason) const;

    /// Takes a token where it stands; false and nothing taken where it does not.
    bool Take(std::string_view _svToken);
    void Expect(std::string_view _svToken, const char* _pszReason);
    /// Whether there was a blank.
    bool SkipBlanks();
    std::string_view TakeName(const char* _pszReason);
    /// Takes '=' with its blanks and a value in quotes: references expanded, blanks turned into spaces.
    std::string TakeAttrValue();
    /// Takes text up to the next '<' or the end and appends it, references expanded, line ends as line feeds. Whether
    /// it has anything but plain blanks.
    bool TakeText(std::string* _pstrText);
    /// Takes what stands before an end token, which is taken as well; _nStart: where to point when there is none.
    std::string_view TakeUntil(std::string_view _svEnd, size_t _nStart, const char* _pszReason);

    /// Appends text with its line ends as line feeds.
    static void AppendLines(std::string* _pstrText, std::string_view _svRaw);

private:
    void TakeReference(std::string* _pstrText);
    char32_t CharOf(std::string_view _svReference, size_t _nPos) const;

    std::string_view m_svDocument;
    size_t m_nPos = 0;
};
