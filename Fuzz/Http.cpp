// Bytes of a connection to the page's server: requests, one after the other, whatever pieces they come in. Nobody is
// let in without the token, and nothing but a bare name is taken for an output.

#include "Support/FuzzTarget.h"

#include "zkhost/Files/UsageError.h"
#include "zkhost/Ui/Api.h"
#include "zkhost/Ui/ApiArguments.h"
#include "zkhost/Ui/Guard.h"
#include "zkhost/Ui/Json.h"
#include "zkhost/Ui/OutName.h"

#include <algorithm>
#include <vector>

namespace
{

constexpr size_t c_cbMaxBody = 4096;
constexpr const char* c_pszToken = "00112233445566778899aabbccddeeff";

/// What a connection has brought.
struct SEEN
{
    std::vector<HTTP_REQUEST> vecRequests;
    int nStatus = 0; ///< of the refusal at its end; 0: there was none
};

/// Goes on until more bytes are needed; false where the connection ends.
bool TakeAll(CZHttpReader& _reader, eHttpRead _eRead, bool& _bBody, SEEN& _seen)
{
    while (_eRead != eHttpRead::More)
    {
        if (_eRead == eHttpRead::Refused)
            _seen.nStatus = _reader.Status();
        if (_eRead == eHttpRead::Refused || _reader.Request().cbBody > c_cbMaxBody)
            return false;
        _bBody = _eRead == eHttpRead::Head;
        if (_eRead == eHttpRead::Done)
            _seen.vecRequests.push_back(_reader.Request());
        _eRead = _bBody ? _reader.TakeBody({}) : _reader.Next();
    }
    return true;
}

SEEN Read(std::string_view _svBytes, size_t _cbPiece)
{
    CZHttpReader reader;
    SEEN seen;
    bool bBody = false;
    for (size_t n = 0; n < _svBytes.size(); n += _cbPiece)
    {
        const std::string_view svPiece = _svBytes.substr(n, _cbPiece);
        if (!TakeAll(reader, bBody ? reader.TakeBody(svPiece) : reader.Take(svPiece), bBody, seen))
            break;
    }
    return seen;
}

void CheckRequest(const HTTP_REQUEST& _request)
{
    static const CZGuard s_guard(c_pszToken, "127.0.0.1", 8080);
    FUZZ_REQUIRE(_request.strMethod == "GET" || _request.strMethod == "POST");
    FUZZ_REQUIRE(_request.strPath.starts_with('/') && _request.strBody.size() == _request.cbBody);
    FUZZ_REQUIRE(_request.vecHeaders.size() <= c_nHttpHeaders);
    const std::string* const pToken = _request.Query("token");
    const std::string* const pCookie = _request.Header("cookie");
    const bool bSaysToken = (pToken && *pToken == c_pszToken) ||
                            (pCookie && pCookie->find(std::string("zk_8080=") + c_pszToken) != std::string::npos);
    const auto refusal = s_guard.Check(_request);
    FUZZ_REQUIRE(refusal || bSaysToken);
    if (refusal)
        FUZZ_REQUIRE(refusal->nStatus == (bSaysToken && refusal->nStatus != 403 ? 303 : 403));
    size_t cbMaxBody = 0;
    CZApi::Check(_request, cbMaxBody);
    try
    {
        const FRAME_WISH wish = ApiArguments_Wish(_request);
        FUZZ_REQUIRE(wish.nFrame >= 0 && wish.view.nWidth <= 8192 && wish.view.rect.nLeft >= 0);
    }
    catch (const CZUsageError& error)
    {
        FUZZ_REQUIRE(*error.what());
    }
}

void CheckText(const std::string& _strText)
{
    CZJson json;
    const std::string strJson = json.Begin('[').Text(_strText).End(']').Take();
    FUZZ_REQUIRE(strJson.starts_with("[\"") && strJson.ends_with("\"]"));
    FUZZ_REQUIRE(std::ranges::none_of(strJson, [](char _ch) { return _ch >= 0 && _ch < 0x20; }));
    const bool bPath = _strText.find_first_of("/\\:") != std::string::npos || _strText.starts_with('.');
    FUZZ_REQUIRE(!bPath || !OutName_Fault(_strText).empty());
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    const size_t cbPiece = 1 + _in.Byte();
    const std::string strBytes(_in.Rest());
    const SEEN seen = Read(strBytes, std::max<size_t>(strBytes.size(), 1));
    const SEEN seenInPieces = Read(strBytes, cbPiece);
    FUZZ_REQUIRE(seen.vecRequests.size() == seenInPieces.vecRequests.size());
    for (size_t i = 0; i < seen.vecRequests.size(); ++i)
    {
        const HTTP_REQUEST& request = seen.vecRequests[i];
        FUZZ_REQUIRE(request.strPath == seenInPieces.vecRequests[i].strPath &&
                     request.vecQuery == seenInPieces.vecRequests[i].vecQuery &&
                     request.vecHeaders == seenInPieces.vecRequests[i].vecHeaders &&
                     request.strBody == seenInPieces.vecRequests[i].strBody);
        CheckRequest(request);
        for (const auto& [strName, strValue] : request.vecQuery)
            CheckText(strValue);
    }
    CheckText(strBytes);
}
