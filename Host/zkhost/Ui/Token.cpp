#include "zkhost/Ui/Token.h"

#include "Kit/HostError.h"

#include <array>
#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#include "Interfaces/ZPlatform.h"
#include <bcrypt.h>
#else
#include <sys/random.h>
#endif

namespace
{

using SECRET = std::array<uint8_t, 16>;

// std::random_device may be a plain generator with a fixed seed, as the standard says.
bool Fill(SECRET& _arrBytes)
{
#if defined(_WIN32)
    return BCryptGenRandom(nullptr, _arrBytes.data(), static_cast<ULONG>(_arrBytes.size()),
                           BCRYPT_USE_SYSTEM_PREFERRED_RNG) == 0;
#else
    return getrandom(_arrBytes.data(), _arrBytes.size(), 0) == static_cast<ssize_t>(_arrBytes.size());
#endif
}

} // namespace

std::string Token_Make()
{
    constexpr char c_arrDigits[] = "0123456789abcdef";
    SECRET arrBytes = {};
    if (!Fill(arrBytes))
        throw CZHostError("the system has no random numbers for the address of the page");
    std::string strToken;
    for (const uint8_t nByte : arrBytes)
        (strToken += c_arrDigits[nByte >> 4]) += c_arrDigits[nByte & 15];
    return strToken;
}

bool Token_IsSame(std::string_view _svA, std::string_view _svB)
{
    if (_svA.size() != _svB.size())
        return false;
    unsigned nDiffering = 0;
    for (size_t i = 0; i < _svA.size(); ++i)
        nDiffering |= static_cast<uint8_t>(_svA[i]) ^ static_cast<unsigned>(static_cast<uint8_t>(_svB[i]));
    return nDiffering == 0;
}
