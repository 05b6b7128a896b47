#pragma once

#include "zkhost/Ui/HttpRequest.h"
#include "zkhost/Ui/Session.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

/// Arguments of a request. What does not fit throws CZUsageError, which names it and says what does.

/// A number in a range; an argument that is not there is the default.
double ApiArguments_Number(const HTTP_REQUEST& _request, std::string_view _svName, double _dblLeast, double _dblMost,
                           double _dblDefault);
/// A whole number; one that has to be there.
int64_t ApiArguments_Whole(const HTTP_REQUEST& _request, std::string_view _svName, int64_t _nLeast, int64_t _nMost);
int64_t ApiArguments_Whole(const HTTP_REQUEST& _request, std::string_view _svName, int64_t _nLeast, int64_t _nMost,
                           int64_t _nDefault);
/// A text that has to be there.
const std::string& ApiArguments_Text(const HTTP_REQUEST& _request, std::string_view _svName);
/// The number of a text among some.
size_t ApiArguments_Choice(const HTTP_REQUEST& _request, std::string_view _svName,
                           std::initializer_list<std::string_view> _listNames);
/// The number of a frame: "n", or "live" for the newest.
int64_t ApiArguments_Frame(const HTTP_REQUEST& _request);
/// What a page asks for with a frame.
FRAME_WISH ApiArguments_Wish(const HTTP_REQUEST& _request);
