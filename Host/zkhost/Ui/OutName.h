#pragma once

#include <string>

/// Why a page may not name a file so; empty: it may. Only a bare name goes, that means the same file on every system:
/// nothing that leads to another folder, hides the file, is taken for an option, or names a device.
std::string OutName_Fault(const std::string& _strName);
