#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
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
