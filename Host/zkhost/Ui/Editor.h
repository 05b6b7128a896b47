#pragma once

#include "Kit/Keyer.h"

#include <cstdint>
#include <string>
#include <vector>

/// A key set with its steps, by name. Edits come from one thread at a time.
class CZEditor
{
public:
    /// _nGeneration: 1 or 2.
    explicit CZEditor(int _nGeneration);

    int Generation() const
    {
        return m_nGeneration;
    }
    CZKeyer& Keyer()
    {
        return m_keyer;
    }
    /// Finds the backdrop of a frame.
    void FindBackdrop(IZFFrame* _pFrame);
    /// Whether the last search found a backdrop; what to do, where it did not.
    const std::string& Hint() const
    {
        return m_strHint;
    }

private:
    void FrameSet(IZFFrame* _pFrame);

    int m_nGeneration;
    CZKeyer m_keyer;
    std::string m_strHint;
};
