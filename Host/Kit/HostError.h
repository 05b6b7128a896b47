#pragma once

#include <stdexcept>
#include <string>

/// Why a job ends: the text says what is wrong, where, and what to do. It becomes the last line on standard error.
class CZHostError : public std::runtime_error
{
public:
    explicit CZHostError(const std::string& _strText, int _nExitCode = 1)
        : std::runtime_error(_strText)
        , m_nExitCode(_nExitCode)
    {
    }
    /// 1: the job failed; 2: the command line is wrong.
    int ExitCode() const
    {
        return m_nExitCode;
    }

private:
    int m_nExitCode;
};

/// A mistake in the command line.
class CZUsageError : public CZHostError
{
public:
    explicit CZUsageError(const std::string& _strText)
        : CZHostError(_strText, 2)
    {
    }
};
