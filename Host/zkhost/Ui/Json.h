#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Writes a text in JSON, piece by piece; commas come by themselves. Texts that are not UTF-8 get U+FFFD where they are
/// not.
class CZJson
{
public:
    /// Begins an object or a list: '{' or '['.
    CZJson& Begin(char _chBracket);
    /// Ends it: '}' or ']'.
    CZJson& End(char _chBracket);
    /// The name of the next value of an object.
    CZJson& Name(std::string_view _svName);
    CZJson& Text(std::string_view _svText);
    CZJson& Whole(int64_t _nValue);
    /// A number that is not finite becomes null.
    CZJson& Number(double _dblValue);
    CZJson& Bool(bool _bValue);
    CZJson& Null();

    /// What was written.
    std::string Take()
    {
        return std::move(m_strText);
    }

private:
    void Separate();
    void Quote(std::string_view _svText);

    std::string m_strText;
};
