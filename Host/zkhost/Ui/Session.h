#pragma once

#include "zkhost/Files/Picture.h"
#include "zkhost/Ui/Clip.h"
#include "zkhost/Ui/Editor.h"
#include "zkhost/Ui/FrameView.h"
#include "zkhost/Ui/Preview.h"
#include "zkhost/Ui/Render.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

/// What "zkhost ui" was told.
struct UI_OPTIONS
{
    std::string strInput;
    std::string strRawSpec;
    std::string strKeys;   ///< a key file; empty: the backdrop is searched for
    std::string strFolder; ///< where output goes; empty: beside the input
    int nKeyer = 2;
    EDITOR_OPTIONS vecOptions; ///< of the plug-in
    RENDER_RUN fnRender;
};

/// A frame as a page asks for it.
struct FRAME_WISH
{
    int64_t nFrame = 0; ///< CZClip::c_nNewest: the newest of a live clip
    eView eShow = eView_Result;
    VIEW_WISH view; ///< no width: all of the frame, and its size
    bool bPlay = false;
    std::string strPage; ///< which page asks; empty: nobody's turn is overtaken
};

/// A frame as it is sent.
struct FRAME_SHOWN
{
    int64_t nFrame = 0;
    int64_t nRevision = 0; ///< of the keys
    int nWidth = 0;
    int nHeight = 0;
    std::string strPixels; ///< R, G, B, 255
    std::string strStats;  ///< JSON
};

/// Why no frame is sent.
enum class eFrameFault
{
    None,
    Ended,     ///< the clip ends before it
    NotYet,    ///< a live clip has no frame yet
    Overtaken, ///< the page has asked for another one since
};

/// The values of a pixel.
struct PIXEL_PROBE
{
    std::array<int, 3> arrSource = {};
    std::array<int, 3> arrPlate = {};
    std::array<int, 3> arrResult = {};
    bool bPlate = false;
    int nAlpha = 0;
    uint32_t nTaken = 0; ///< the colour that a click there takes, 0xRRGGBB
};

/// What a person has open: a clip and its keys, and what becomes of them. Thread safe: any number of pages may ask at
/// once. Errors are CZHostError.
///
/// Locks, each taken only while those above it may be held: m_mtxKey (the keying of one frame, and what must not happen
/// beside it), m_mtxState (all the rest; never held for longer than an edit takes). The module's edits may run beside
/// a frame that is keyed.
class CZSession
{
public:
    explicit CZSession(UI_OPTIONS _options);
    ~CZSession();
    CZSession(const CZSession&) = delete;
    CZSession& operator=(const CZSession&) = delete;

    /// The state as JSON; at once where its revision is greater than the given one, else after a while.
    std::string State(int64_t _nAfter = -1);
    eFrameFault Frame(const FRAME_WISH& _wish, FRAME_SHOWN& _shown);
    PIXEL_PROBE Probe(int64_t _nFrame, int _nX, int _nY);

    /// An edit of the keys that are in use. A frame is handed over where a number is given; -1: none.
    void Edit(int64_t _nFrame, const std::function<void(CZEditor& _editor, IZFFrame* _pFrame)>& _fnEdit);
    /// Uses the other set of keys; a new one begins as a copy.
    void SlotSet(char _chSlot);
    /// Keys with the other generation; a new one begins with the keys that it finds.
    void GenerationSet(int _nGeneration);
    std::string Document();
    void Load(const std::string& _strDocument);
    void RangeSet(int64_t _nIn, int64_t _nOut);
    /// The picture behind, out of a PNG or JPEG file.
    void BackgroundSet(const std::string& _strFile);

    void RenderStart(const std::string& _strName, bool _bOverwrite);
    void RenderCancel();

    /// Requests that wait come back, now and from now on; IsStopped answers true.
    void Stop();
    bool IsStopped() const
    {
        return m_bStop;
    }

private:
    CLIP_FRAME FrameOf(int64_t _nFrame);
    CZEditor& EditorBegun(const CLIP_FRAME& _frame);
    std::shared_ptr<CZEditor>& EditorOf(char _chSlot, int _nGeneration);
    PIXEL_PROBE Probe(IZFFrame* _pFrame, IZFFrame* _pResult, CZEditor& _editor, int _nX, int _nY);
    uint32_t Taste(IZFFrame* _pFrame, int _nX, int _nY);
    void Changed(bool _bKeys);
    void Tell();
    std::string OutputPath(const std::string& _strName) const;
    void OutputCheck(const std::string& _strName, bool _bOverwrite) const;
    std::string StateText();

    const UI_OPTIONS m_options;
    std::string m_strVersion;
    CZTurns m_turns;

    std::mutex m_mtxKey; ///< guards what follows
    CZPreview m_preview;
    std::unique_ptr<CZKeyer> m_upTaster; ///< takes colours for a look

    mutable std::mutex m_mtxState; ///< guards what follows
    std::condition_variable m_cvState;
    std::atomic<bool> m_bStop{false};
    uint64_t m_nHeld = 0; ///< requests for the state that were held
    int64_t m_nRevision = 1;
    int64_t m_nKeysRevision = 1;
    int64_t m_nLogged = 0;                                                  ///< lines of the log at that revision
    std::map<std::pair<char, int>, std::shared_ptr<CZEditor>> m_mapEditors; ///< by slot and generation
    std::shared_ptr<CZEditor> m_spEditor;                                   ///< the one in use
    std::map<char, int> m_mapGenerations;                                   ///< of each slot
    char m_chSlot = 'A';
    int64_t m_nIn = 0;
    int64_t m_nOut = -1;                           ///< -1: the last frame
    std::shared_ptr<const PICTURE> m_spBackground; ///< as large as the frames

    CZClip m_clip;                        // tells of its end to what is above
    std::unique_ptr<CZRender> m_upRender; // and so does a job
};
