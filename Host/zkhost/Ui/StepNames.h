#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// The names of the steps of editing, in line with the module's counts of them, which has no names.
class CZStepNames
{
public:
    /// A step, and whether it leaves the keys to those that are found by themselves.
    struct STEP
    {
        std::string strName;
        bool bAutomatic = false;
    };

    /// After an edit that changed something: how many steps can be taken back and made again now. _bMerges: it may be
    /// one with the last step, as those of a slider are; a step that has come back to where it began is none.
    void Took(size_t _nBack, size_t _nFwd, STEP _step, bool _bMerges);
    /// After steps were taken back or made again.
    void Moved(size_t _nBack, size_t _nFwd);

    const std::vector<STEP>& List() const
    {
        return m_vecSteps;
    }
    /// How many of them are done.
    size_t At() const
    {
        return m_nAt;
    }

private:
    std::vector<STEP> m_vecSteps;
    size_t m_nAt = 0;
};
