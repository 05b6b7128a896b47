#include "zkhost/Ui/HttpAnswer.h"

#include "zkhost/Ui/Json.h"

#include "Base/ZLog.h"

namespace
{

const char* StatusText(int _nStatus)
{
    switch (_nStatus)
    {
    case 200:
        return "OK";
    case 204:
        return "No Content";
    case 303:
        return "See Other";
    case 400:
        return "Bad Request";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 408:
        return "Request Timeout";
    case 409:
        return "Conflict";
    case 413:
        return "Content Too Large";
    case 414:
        return "URI Too Long";
    case 431:
        return "Request Header Fields Too Large";
    case 501:
        return "Not Implemented";
    case 505:
        return "HTTP Version Not Supported";
    default:
        return _nStatus < 500 ? "Bad Request" : "Internal Server Error";
    }
}

} // namespace

HTTP_ANSWER HttpAnswer_Error(int _nStatus, const std::string& _strText)
{
    CZJson json;
    json.Begin('{').Name("error").Text(_strText).End('}');
    return {_nStatus, "application/json", {}, json.Take()};
}

std::string HttpAnswer_Head(const HTTP_ANSWER& _answer, bool _bKeepAlive)
{
    std::string strHead =
        ZFormat("HTTP/1.1 %d %s\r\nContent-Length: %d\r\nConnection: %s\r\n", _answer.nStatus,
                StatusText(_answer.nStatus), _answer.strBody.size(), _bKeepAlive ? "keep-alive" : "close");
    if (_answer.nStatus != 204)
        strHead += ZFormat("Content-Type: %s\r\n", _answer.strType);
    strHead += "Content-Security-Policy: default-src 'self'; img-src 'self' blob: data:; frame-ancestors 'none'; "
               "base-uri 'none'; form-action 'none'\r\n"
               "X-Content-Type-Options: nosniff\r\n"
               "Cross-Origin-Resource-Policy: same-origin\r\n"
               "Cache-Control: no-store\r\n"
               "Referrer-Policy: same-origin\r\n";
    for (const auto& [strName, strValue] : _answer.vecHeaders)
        strHead += ZFormat("%s: %s\r\n", strName, strValue);
    return strHead + "\r\n";
}
