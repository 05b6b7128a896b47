#pragma once

#include <string_view>

/// A file of the page, which is part of the program.
struct PAGE_FILE
{
    std::string_view svPath; ///< in requests: "/style.css"
    std::string_view svType; ///< as browsers are told
    std::string_view svBytes;
};

/// The file that a path asks for; null where there is none. "/" is index.html.
const PAGE_FILE* PageFiles_Find(std::string_view _svPath);
