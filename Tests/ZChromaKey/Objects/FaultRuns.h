#pragma once

#include "Base/ZText.h"
#include "Support/AllocCounter.h"
#include "Support/NullSink.h"
#include "Support/TestFrames.h"
#include "Video/FrameShorthand.h"
#include "ZChromaKey/Objects/Module.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <span>
#include <string>

// Every allocation of a call is refused once, alone and with all that follow it. Each time the call has to say that
// memory is short, or succeed all the same; what was set before is still there, nothing is lost, and the same call
// succeeds afterwards.

/// A call that is made with too little memory. A subject is a plug-in object, and the frames that a call may need, made
/// while there is memory.
template <class Subject> struct FAULT_OPERATION
{
    const char* pszName;
    std::function<void(Subject&)> fnPrepare; ///< with memory
    std::function<HRESULT(Subject&)> fnCall;
    std::function<bool(Subject&)> fnDone;     ///< whether all that the call had to do is done
    std::function<bool()> fnIntact = nullptr; ///< whether a failed call left what is outside the object as it was
};

struct FAULT_COUNTS
{
    int nPoints = 0;   ///< allocations refused, one a run
    int nFailed = 0;   ///< runs that answered a failure
    int nSurvived = 0; ///< runs that succeeded all the same
};

template <class Subject> class CFaultRuns : public testing::Test
{
protected:
    using OPERATION = FAULT_OPERATION<Subject>;

    CFaultRuns()
    {
        ZLog_Set(&m_sink, eZLog_Verbose);
        m_strAfter.reserve(1 << 16); // memory that lives longer than a run is counted
    }
    ~CFaultRuns() override
    {
        ZLog_Set(nullptr, eZLog_Warning);
    }

    /// The call of a run, and what it leaves; whether an allocation was refused.
    bool RunOn(const OPERATION& _op, uint64_t _nFirst, uint64_t _nCount, Subject& _subject)
    {
        _op.fnPrepare(_subject);
        const std::string strBefore = _subject.cpKey ? _subject.Document() : "";
        AllocFault_Set(_nFirst, _nCount);
        const HRESULT hr = _op.fnCall(_subject);
        const bool bRefused = AllocFault_End() > 0;
        if (FAILED(hr))
        {
            EXPECT_EQ(hr, E_OUTOFMEMORY);
            EXPECT_FALSE(_subject.HasOutput()) << "something was handed out";
            EXPECT_TRUE(!_op.fnIntact || _op.fnIntact());
            EXPECT_EQ(strBefore.empty() ? "" : _subject.Document(), strBefore);
            EXPECT_GE(_op.fnCall(_subject), 0) << "there is memory again";
        }
        EXPECT_TRUE(_op.fnDone(_subject)) << std::hex << hr;
        if (m_strAfter.empty())
            m_strAfter.append(_subject.Document());
        EXPECT_EQ(_subject.Document(), m_strAfter) << "every run ends in the same";
        m_counts.nFailed += FAILED(hr);
        m_counts.nSurvived += bRefused && SUCCEEDED(hr);
        m_counts.nPoints += bRefused;
        return bRefused;
    }
    /// One run; false when the call came to its end before the allocation that was to be refused.
    bool Run(const OPERATION& _op, uint64_t _nFirst, uint64_t _nCount)
    {
        const int64_t nLive = AllocLive();
        bool bRefused = false;
        {
            Subject subject;
            bRefused = RunOn(_op, _nFirst, _nCount, subject);
            subject.Release();
            for (IZFFrame2* const pFrame : {subject.cpFrame.Get(), subject.cpFrameLarge.Get()})
                EXPECT_EQ(RefsOf(pFrame), 1u);
        }
        EXPECT_TRUE(ZModule_IsIdle());
        EXPECT_EQ(AllocLive(), nLive);
        return bRefused;
    }
    /// All runs of each call.
    void RunAll(std::span<const OPERATION> _spanOperations)
    {
        for (const OPERATION& op : _spanOperations)
        {
            SCOPED_TRACE(op.pszName);
            m_counts = {};
            m_strAfter.clear();
            for (const uint64_t nCount : {uint64_t{1}, uint64_t{1} << 40})
            {
                uint64_t nFirst = 1;
                while (!HasFailure() && Run(op, nFirst, nCount))
                    ++nFirst;
                EXPECT_FALSE(HasFailure()) << "allocation " << nFirst << ", " << nCount << " refused";
            }
            EXPECT_GT(m_counts.nPoints, 0) << "nothing was refused";
            std::printf("%-34s %4d points: %4d failed cleanly, %4d succeeded all the same\n", op.pszName,
                        m_counts.nPoints, m_counts.nFailed, m_counts.nSurvived);
            std::fflush(stdout); // a run that hangs is to show where
        }
    }

private:
    CNullSink m_sink;
    std::string m_strAfter;
    FAULT_COUNTS m_counts;
};
