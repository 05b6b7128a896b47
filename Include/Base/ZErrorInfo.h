#pragma once

#include "Interfaces/ZPlatform.h"

#include <string_view>

/// \name What scripts and other callers on Windows are told of a failure: the line that the log has of it
/// Each thread has its own. Off Windows nobody asks.
///@{

#if defined(_WIN32)

/// A call from outside begins; such calls may lie in each other.
void ZErrorInfo_Begin() noexcept;
/// It ends: a failure is described (IErrorInfo) by the last line that was kept since the outermost one began.
void ZErrorInfo_End(HRESULT _hr) noexcept;
/// Keeps a line about an error.
void ZErrorInfo_Keep(std::string_view _svLine) noexcept;

#else

inline void ZErrorInfo_Begin() noexcept
{
}
inline void ZErrorInfo_End(HRESULT) noexcept
{
}
inline void ZErrorInfo_Keep(std::string_view) noexcept
{
}

#endif

///@}
