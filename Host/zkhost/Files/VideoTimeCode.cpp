#include "zkhost/Files/VideoTimeCode.h"

#include "Base/ZLog.h"

#include <charconv>

namespace
{

constexpr int64_t c_nMinutesOfDay = 24 * 60;

/// The two digits at a place; -1 where there are none.
int64_t TwoDigits(const std::string& _strText, size_t _nAt)
{
    int nValue = -1;
    const char* const pBegin = _strText.data() + _nAt;
    const auto res = std::from_chars(pBegin, pBegin + 2, nValue);
    return res.ptr == pBegin + 2 && nValue >= 0 ? nValue : -1;
}

/// Numbers that are left out of the time code up to a minute: some of each minute but every tenth.
int64_t DroppedUntil(int64_t _nMinute, int64_t _nDrop)
{
    return _nDrop * (_nMinute - _nMinute / 10);
}

} // namespace

std::string VideoTimeCode_Later(const std::string& _strTimeCode, int64_t _nFrames, int64_t _nRateNum, int64_t _nRateDen)
{
    constexpr size_t c_nLength = 11; // "hh:mm:ss:ff"
    const int64_t nRate = _nRateNum > 0 ? (_nRateNum + _nRateDen / 2) / _nRateDen : 0;
    if (_strTimeCode.size() != c_nLength || _strTimeCode[2] != ':' || _strTimeCode[5] != ':' || nRate < 1 || nRate > 99)
        return {};
    const bool bDrop = _strTimeCode[8] == ';' || _strTimeCode[8] == '.';
    const int64_t nHour = TwoDigits(_strTimeCode, 0), nMinute = TwoDigits(_strTimeCode, 3);
    const int64_t nSecond = TwoDigits(_strTimeCode, 6), nFrame = TwoDigits(_strTimeCode, 9);
    if ((!bDrop && _strTimeCode[8] != ':') || nHour < 0 || nMinute < 0 || nSecond < 0 || nFrame < 0)
        return {};
    const int64_t nDrop = bDrop ? nRate / 15 : 0; // two at 29.97, four at 59.94
    const int64_t nMinutes = nHour * 60 + nMinute;
    const int64_t nDay = c_nMinutesOfDay * 60 * nRate - DroppedUntil(c_nMinutesOfDay, nDrop);
    const int64_t nNumber = (nMinutes * 60 + nSecond) * nRate + nFrame - DroppedUntil(nMinutes, nDrop);
    int64_t nLater = (nNumber + _nFrames) % nDay;
    // Put in what was dropped: the minutes of a block of ten are of one length but for the first.
    const int64_t nMinuteLength = 60 * nRate - nDrop, nTenMinutes = 10 * nMinuteLength + nDrop;
    const int64_t nRest = nLater % nTenMinutes;
    nLater += nDrop * 9 * (nLater / nTenMinutes) + (nRest >= nDrop ? nDrop * ((nRest - nDrop) / nMinuteLength) : 0);
    return ZFormat("%02d:%02d:%02d%hs%02d", nLater / (3600 * nRate), nLater / (60 * nRate) % 60, nLater / nRate % 60,
                   bDrop ? ";" : ":", nLater % nRate);
}
