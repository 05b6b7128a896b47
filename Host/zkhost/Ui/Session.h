#pragma once

#include "zkhost/Ui/Clip.h"
#include "zkhost/Ui/Editor.h"
#include "zkhost/Ui/FrameView.h"

#include "Kit/Tables.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

/// What "zkhost ui" was told.
struct UI_OPTIONS
{
    std::string strInput;
    std::string strRawSpec;
    int nKeyer = 2;
};

/// A frame as a page asks for it.
struct FRAME_WISH
{
    int64_t nFrame = 0;
    eView eShow = eView_Result;
    VIEW_WISH view; ///< no width: all of the frame, and its size
    bool bPlay = false;
};

/// A frame as it is sent.
struct FRAME_SHOWN
{
    int64_t nFrame = 0;
    int64_t nRevision = 0;
    int nWidth = 0;
    int nHeight = 0;
    std::string strPixels; ///< R, G, B, 255
    std::string strStats;  ///< JSON
};

/// What a person has open: a clip and its keys, and what becomes of them. Thread safe: any number of pages may ask at
/// once. Errors are CZHostError.
class CZSession
{
public:
    explicit CZSession(const UI_OPTIONS& _options);

    /// The state as JSON; at once where its revision is greater than the given one, else after a while.
    std::string State(int64_t _nAfter = -1);
    /// False: the clip ends before it.
    bool Frame(const FRAME_WISH& _wish, FRAME_SHOWN& _shown);
    /// Requests that wait come back, now and from now on.
    void Stop();

private:
    std::shared_ptr<CZEditor> EditorFor(IZFFrame* _pFrame);
    CZPtr<IZFFrame> Keyed(const FRAME_WISH& _wish, IZFFrame* _pFrame, CZEditor& _editor, int64_t _nRevision);
    std::string StateText();

    UI_OPTIONS m_options;
    CZClip m_clip;
    std::vector<ZTABLE_ROW> m_vecParams;
    std::string m_strVersion;

    std::mutex m_mtxKey; ///< the processing of frames
    CZPtr<IZFFrame> m_cpKeyed;
    int64_t m_nKeyed = -1;
    int64_t m_nKeyedRevision = -1;
    eView m_eKeyedView = eView_Result;

    std::mutex m_mtxState;
    std::condition_variable m_cvState;
    bool m_bStop = false;
    int64_t m_nRevision = 1;
    bool m_bBegun = false; ///< the keys were found
    std::shared_ptr<CZEditor> m_spEditor;
};
