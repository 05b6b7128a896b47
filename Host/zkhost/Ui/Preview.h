#pragma once

#include "zkhost/Ui/Editor.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

/// Which frame is keyed, with what, and what comes out.
struct PREVIEW_WISH
{
    CZEditor* pEditor = nullptr;
    int64_t nKeys = 0; ///< another number: other keys
    int64_t nFrame = 0;
    IZFFrame* pFrame = nullptr;
    eView eShow = eView_Result;
    bool bPlay = false; ///< frames in order: each learns from those before
    bool bHold = false; ///< the plate is held, so that a frame comes out the same whatever came before
};

/// A frame that was keyed.
struct PREVIEW
{
    CZPtr<IZFFrame> cpResult;
    std::string strStats; ///< in JSON
};

/// Keys single frames for looking at. A jump begins the stream anew, so that what is seen is the picture keyed by
/// itself. The last result is kept. By one thread at a time.
class CZPreview
{
public:
    /// Throws CZHostError.
    const PREVIEW& Key(const PREVIEW_WISH& _wish);

private:
    bool IsNext(const PREVIEW_WISH& _wish) const;

    PREVIEW m_preview;
    PREVIEW_WISH m_wishLast; ///< its pointers are compared only
};

/// Lets the newest request of each page through and turns those away that it has overtaken. Thread safe.
class CZTurns
{
public:
    /// The turn of a new request; a page without a name overtakes nobody.
    uint64_t Take(const std::string& _strPage);
    bool IsOvertaken(const std::string& _strPage, uint64_t _nTurn);

private:
    std::mutex m_mtx;
    uint64_t m_nLast = 0;
    std::map<std::string, uint64_t> m_mapNewest;
};
