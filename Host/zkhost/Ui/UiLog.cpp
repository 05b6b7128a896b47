#include "zkhost/Ui/UiLog.h"

#include "Kit/HostLog.h"
#include "zkhost/Files/StandardError.h"

#include <deque>
#include <mutex>

namespace
{

constexpr size_t c_nMostLines = 20;

struct LINES
{
    std::mutex mtx;
    std::deque<std::string> deqLines;
    int64_t nCount = 0;
};

LINES& Lines()
{
    static LINES& s_lines = *new LINES; // the module may log while the program's own objects are going
    return s_lines;
}

void Keep(eZLogLevel _eLevel, const char* _pszText)
{
    StandardError_Print(_eLevel, _pszText);
    LINES& lines = Lines();
    const std::lock_guard lock(lines.mtx);
    ++lines.nCount;
    lines.deqLines.push_back(StandardError_Harmless(_pszText));
    if (lines.deqLines.size() > c_nMostLines)
        lines.deqLines.pop_front();
}

} // namespace

void UiLog_Begin()
{
    HostLog_Set(eZLog_Warning, Keep);
}

std::vector<std::string> UiLog_Lines()
{
    LINES& lines = Lines();
    const std::lock_guard lock(lines.mtx);
    return {lines.deqLines.begin(), lines.deqLines.end()};
}

int64_t UiLog_Count()
{
    LINES& lines = Lines();
    const std::lock_guard lock(lines.mtx);
    return lines.nCount;
}
