#include "zkhost/Ui/OutName.h"

#include "Base/ZText.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace
{

constexpr size_t c_nMostBytes = 200; // room for the number of a picture and for the name while it is written
constexpr std::string_view c_svForbidden = "/\\:*?\"<>|";
// Windows takes these for devices in every folder, whatever follows a dot.
constexpr std::string_view c_arrDevices[] = {"CON", "PRN", "AUX", "NUL", "CLOCK$", "CONIN$", "CONOUT$"};

bool IsControl(char _ch)
{
    const auto nByte = static_cast<uint8_t>(_ch);
    return nByte < 0x20 || nByte == 0x7F;
}

bool IsDevice(std::string_view _svName)
{
    std::string_view svStem = _svName.substr(0, _svName.find('.'));
    while (svStem.ends_with(' '))
        svStem.remove_suffix(1);
    const std::string_view svLetters = svStem.substr(0, 3);
    // A digit, or one of the superscripts 1, 2, 3 (U+00B9, U+00B2, U+00B3).
    constexpr std::string_view c_arrNumbers[] = {"0", "1", "2", "3",        "4",        "5",       "6",
                                                 "7", "8", "9", "\xC2\xB9", "\xC2\xB2", "\xC2\xB3"};
    const bool bPort = (ZText_IsSame(svLetters, "COM") || ZText_IsSame(svLetters, "LPT")) && svStem.size() > 3 &&
                       std::ranges::find(c_arrNumbers, svStem.substr(3)) != std::end(c_arrNumbers);
    return bPort || std::ranges::any_of(c_arrDevices, [&](std::string_view _sv) { return ZText_IsSame(svStem, _sv); });
}

} // namespace

std::string OutName_Fault(const std::string& _strName)
{
    if (_strName.empty())
        return "a name is missing";
    if (_strName.size() > c_nMostBytes)
        return "the name is too long";
    if (_strName.find_first_of(c_svForbidden) != std::string::npos)
        return "it has to be a name alone, without a folder and without any of / \\ : * ? \" < > |";
    if (std::ranges::any_of(_strName, IsControl) || ZText_FromWide(ZText_ToWide(_strName)) != _strName)
        return "the name has characters that cannot be written";
    if (_strName.front() == '.' || _strName.front() == '-' || _strName.front() == ' ')
        return "the name may not begin with a dot, a dash or a blank";
    if (_strName.back() == '.' || _strName.back() == ' ')
        return "the name may not end with a dot or a blank";
    if (IsDevice(_strName))
        return "that is the name of a device";
    return {};
}
