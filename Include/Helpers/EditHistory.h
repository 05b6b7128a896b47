#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <utility>

/// A state and the steps that led to it: undo and redo with bounded memory.
///
/// Every edit is one step. An edit after stepping back drops the steps ahead; when there are more than the most
/// allowed, the oldest goes. Not thread safe: the owner's lock guards it.
template <class State> class CEditHistory
{
public:
    explicit CEditHistory(State _state, size_t _nMaxSteps)
        : m_nMaxSteps(_nMaxSteps)
    {
        m_arrStates.push_back(std::move(_state));
    }

    const State& Current() const
    {
        return m_arrStates[m_nCurrent];
    }
    /// Makes an edit. Throws bad_alloc and is unchanged when there is no memory.
    void Push(State _state)
    {
        if (m_nCurrent + 1 < m_arrStates.size())
        {
            m_arrStates[m_nCurrent + 1] = std::move(_state);
            m_arrStates.erase(m_arrStates.begin() + static_cast<ptrdiff_t>(m_nCurrent) + 2, m_arrStates.end());
        }
        else
            m_arrStates.push_back(std::move(_state));
        ++m_nCurrent;
        if (m_arrStates.size() > m_nMaxSteps + 1)
        {
            m_arrStates.pop_front();
            --m_nCurrent;
        }
    }
    /// Takes the last step out altogether, and those ahead. There must be one.
    void Unpush()
    {
        m_arrStates.erase(m_arrStates.begin() + static_cast<ptrdiff_t>(m_nCurrent), m_arrStates.end());
        --m_nCurrent;
    }
    /// Drops the oldest state; false where only the present one is left, or those ahead of it.
    bool OldestDrop()
    {
        if (m_nCurrent == 0)
            return false;
        m_arrStates.pop_front();
        --m_nCurrent;
        return true;
    }
    /// Steps that can be made in either direction.
    size_t BackCount() const
    {
        return m_nCurrent;
    }
    size_t ForwardCount() const
    {
        return m_arrStates.size() - 1 - m_nCurrent;
    }
    /// All states, the oldest first.
    const std::deque<State>& States() const
    {
        return m_arrStates;
    }
    /// Changes the present state without a step.
    void Amend(State _state)
    {
        m_arrStates[m_nCurrent] = std::move(_state);
    }
    /// Steps by up to _nSteps; answers how many steps were made.
    size_t Back(size_t _nSteps)
    {
        const size_t nSteps = std::min(_nSteps, m_nCurrent);
        m_nCurrent -= nSteps;
        return nSteps;
    }
    size_t Forward(size_t _nSteps)
    {
        const size_t nSteps = std::min(_nSteps, ForwardCount());
        m_nCurrent += nSteps;
        return nSteps;
    }

private:
    std::deque<State> m_arrStates;
    size_t m_nCurrent = 0;
    size_t m_nMaxSteps;
};

/// Which edits are one step: those of a group, and changes of the same thing that follow each other within a second, as
/// those of a slider that is dragged. State needs operator==. Not thread safe: the owner's lock guards it.
template <class State> class CEditSteps
{
public:
    using CLOCK = std::function<std::chrono::steady_clock::time_point()>;

    CEditSteps(State _state, size_t _nMaxSteps, CLOCK _fnClock)
        : m_history(std::move(_state), _nMaxSteps)
        , m_fnClock(std::move(_fnClock))
    {
    }

    /// What is there, the states before and after it, and dropping of the oldest.
    CEditHistory<State>& History()
    {
        return m_history;
    }
    const State& Current() const
    {
        return m_history.Current();
    }
    /// Makes an edit, which must change something. _pWhat: what it changes; null: it stands alone. Throws bad_alloc and
    /// is unchanged when there is no memory.
    void Push(State _state, const void* _pWhat)
    {
        const auto timeNow = m_fnClock();
        const bool bSame =
            m_nGroups > 0 ? m_bGroupStep : _pWhat && _pWhat == m_pWhatLast && timeNow - m_timeLast <= c_timeTogether;
        if (bSame)
            m_history.Amend(std::move(_state));
        else
            m_history.Push(std::move(_state));
        m_bGroupStep = m_nGroups > 0;
        m_pWhatLast = _pWhat;
        m_timeLast = timeNow;
        if (bSame)
            Settle();
    }
    /// Steps, forward when positive; answers how many were made.
    int32_t Step(int32_t _nSteps)
    {
        m_pWhatLast = nullptr;
        const int64_t nSteps = _nSteps;
        return static_cast<int32_t>(nSteps < 0 ? m_history.Back(static_cast<size_t>(-nSteps))
                                               : m_history.Forward(static_cast<size_t>(nSteps)));
    }
    int32_t BackCount() const
    {
        return static_cast<int32_t>(m_history.BackCount());
    }
    int32_t ForwardCount() const
    {
        return static_cast<int32_t>(m_history.ForwardCount());
    }
    /// Groups may lie in each other.
    void GroupBegin()
    {
        if (m_nGroups++ == 0)
            m_bGroupStep = false;
    }
    /// False: none was begun.
    bool GroupEnd()
    {
        if (m_nGroups == 0)
            return false;
        if (--m_nGroups == 0)
            m_pWhatLast = nullptr;
        return true;
    }
    bool IsInGroup() const
    {
        return m_nGroups > 0;
    }

private:
    static constexpr std::chrono::seconds c_timeTogether{1};

    /// A step that has come back to where it began is none.
    void Settle()
    {
        const size_t nBack = m_history.BackCount();
        if (nBack == 0 || !(m_history.States()[nBack - 1] == m_history.Current()))
            return;
        m_history.Unpush();
        m_bGroupStep = false;
        m_pWhatLast = nullptr;
    }

    CEditHistory<State> m_history;
    CLOCK m_fnClock;
    int32_t m_nGroups = 0;
    bool m_bGroupStep = false;         ///< the group has made its step
    const void* m_pWhatLast = nullptr; ///< what the last step has changed
    std::chrono::steady_clock::time_point m_timeLast;
};
