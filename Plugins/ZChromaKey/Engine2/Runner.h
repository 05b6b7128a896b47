#pragma once

/// How the passes of a picture are spread over threads.

/// A function over rows, borrowed: it must live while it is run.
class CRowPass
{
public:
    template <class T> explicit CRowPass(const T& _body)
        : m_pBody(&_body)
        , m_pfn([](const void* _pBody, int _nFirst, int _nRows) { (*static_cast<const T*>(_pBody))(_nFirst, _nRows); })
    {
    }
    void operator()(int _nFirst, int _nRows) const
    {
        m_pfn(m_pBody, _nFirst, _nRows);
    }

private:
    const void* m_pBody;
    void (*m_pfn)(const void*, int, int);
};

/// The steps of a picture, in the order in which they begin.
enum eUnmixStep
{
    eUS_Cells, ///< and reading of formats that are not B, G, R, A
    eUS_Screen,
    eUS_Plate,
    eUS_Noise,
    eUS_Classes,
    eUS_Foreground,
    eUS_Chroma, ///< where its pixels stay; else it is part of the next
    eUS_Pixels,
    eUS_Edges,
    eUS_Views,
    eUS_Count,
};

inline constexpr int c_nPassPart = 8; ///< rows of a pass that a thread takes at once

/// Runs passes. Rows of a pass do not depend on each other, so any number of threads may take any parts of them in any
/// order; the result is the same.
class IRowRunner
{
public:
    /// Runs _pass over the rows 0 to _nRows - 1, in parts that begin at multiples of _nLeast and have at least so many
    /// rows but for the last one, and returns when all are done.
    virtual void Run(int _nRows, int _nLeast, const CRowPass& _pass) = 0;
    /// Says to which step belongs what comes next, passes and what lies between them: for who measures.
    virtual void Step(eUnmixStep)
    {
    }

protected:
    ~IRowRunner() = default;
};

/// Everything on the calling thread.
class CSerialRunner final : public IRowRunner
{
public:
    void Run(int _nRows, int, const CRowPass& _pass) override
    {
        _pass(0, _nRows);
    }
};
