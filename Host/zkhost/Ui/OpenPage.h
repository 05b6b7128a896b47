#pragma once

#include <string>

/// Opens an address in the browser of this system. Where that cannot be done it warns: the address is known.
void OpenPage_Show(const std::string& _strUrl);
