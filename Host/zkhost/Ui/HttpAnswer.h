#pragma once

#include "zkhost/Ui/HttpRequest.h"

#include <string>

/// What is sent back.
struct HTTP_ANSWER
{
    int nStatus = 200;
    std::string strType = "application/json";
    HTTP_PAIRS vecHeaders; ///< besides those that every answer has; no line ends in them
    std::string strBody;
};

/// An answer that says in words what was wrong, as {"error": "..."}.
HTTP_ANSWER HttpAnswer_Error(int _nStatus, const std::string& _strText);

/// The bytes of an answer up to its body, with the headers that keep browsers from guessing, keeping and sharing it.
std::string HttpAnswer_Head(const HTTP_ANSWER& _answer, bool _bKeepAlive);
