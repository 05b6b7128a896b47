#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What a request may be at most.
inline constexpr size_t c_cbHttpLine = size_t{16} << 10; ///< bytes of the first line: regions are in it
inline constexpr size_t c_cbHttpHead = size_t{32} << 10; ///< bytes of all lines before the body
inline constexpr size_t c_nHttpHeaders = 64;

/// Names and values, in their order.
using HTTP_PAIRS = std::vector<std::pair<std::string, std::string>>;

/// One request.
struct HTTP_REQUEST
{
    std::string strMethod; ///< "GET" or "POST"
    std::string strPath;   ///< decoded, begins with a slash
    HTTP_PAIRS vecQuery;   ///< decoded
    HTTP_PAIRS vecHeaders; ///< names in small letters
    std::string strBody;
    size_t cbBody = 0; ///< that were announced
    bool bKeepAlive = true;

    /// The value of a header, or of an argument in the query; null where there is none.
    const std::string* Header(std::string_view _svName) const;
    const std::string* Query(std::string_view _svName) const;
};

/// What has become of the bytes so far.
enum class eHttpRead
{
    More,    ///< the head is not complete
    Head,    ///< the head is: Request has all but the body
    Done,    ///< the body is, too
    Refused, ///< no request that is taken here; Status and Reason say why
};

/// Reads requests of HTTP/1.1 (and 1.0) out of the bytes of a connection: GET and POST with a body of announced length.
/// Nothing but bytes goes in and nothing but records come out, whatever they are.
///
/// All lines end with CR LF, and no header goes on in the next line. A chunked body, a method of another kind, a second
/// Content-Length or Host, a target that is not a path from the root: refused.
class CZHttpReader
{
public:
    /// Adds bytes of the connection, up to the end of the head.
    eHttpRead Take(std::string_view _svBytes);
    /// After Head: goes on with the body.
    eHttpRead TakeBody(std::string_view _svBytes);
    /// After Done: begins with the next request, whose first bytes may be there already.
    eHttpRead Next();
    /// Whether bytes of a request are there that is not complete.
    bool IsBegun() const
    {
        return !m_strBytes.empty();
    }

    HTTP_REQUEST& Request()
    {
        return m_request;
    }
    int Status() const
    {
        return m_nStatus;
    }
    const std::string& Reason() const
    {
        return m_strReason;
    }

private:
    eHttpRead ReadHead();
    bool ReadLines(std::string_view _svHead);
    bool ReadFirstLine(std::string_view _svLine);
    bool ReadHeader(std::string_view _svLine);
    bool ReadTarget(std::string_view _svTarget);
    bool ReadLength();
    void ReadKeepAlive(bool _bVersion11);
    bool Refuse(int _nStatus, const char* _pszReason);

    std::string m_strBytes; ///< of the connection, that are in no request yet
    HTTP_REQUEST m_request;
    int m_nStatus = 0;
    std::string m_strReason;
};

/// Takes the percent signs of a text apart; false where two hexadecimal digits are missing after one. _bQuery: "+" is a
/// blank.
bool Http_Decode(std::string_view _svText, bool _bQuery, std::string& _strOut);
