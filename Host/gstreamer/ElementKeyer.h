#pragma once

#include "Shell/ShellModule.h"

#include <gst/video/video.h>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// What an element is set to, its parameters apart.
struct GST_SETTINGS
{
    bool bAuto = true; ///< search for the backdrop where nothing else says what it is
    bool bMouse = true;
    bool bPremultiplied = false;
    int nGeneration = ZCK_GENERATION_2; ///< of the keyer that the next start makes
    int nThreads = 0;                   ///< 0: as many as the keyer likes
    uint32_t nColor = 0;                ///< 0xRRGGBB; 0: none
    std::string strKeys;                ///< path of a document in UTF-8; "": none
    std::string strDocument;            ///< the document itself; "": none
};

/// The keyer of one element, and what it is set to while there is none. What goes wrong is posted as messages of the
/// element, each once in a run; the picture goes on unkeyed. From any thread, but for Start, Stop and Process, which do
/// not run beside each other.
class CElementKeyer
{
public:
    /// The element owns this object.
    explicit CElementKeyer(GstElement* _pElement);
    ~CElementKeyer();
    CElementKeyer(const CElementKeyer&) = delete;
    CElementKeyer& operator=(const CElementKeyer&) = delete;

    GST_SETTINGS Settings();
    /// _fnChange changes the settings; a keyer that is there takes over what differs.
    void SettingsChange(const std::function<void(GST_SETTINGS&)>& _fnChange);
    /// The keys as they are now, as a document.
    std::string Document();
    /// Parameters count as in GstParams_All.
    void ParamSet(size_t _nParam, double _dblValue);
    double ParamGet(size_t _nParam);

    /// Makes the keyer, unless there is one of this generation from the last run. Without the module there is none.
    void Start();
    /// Lets go of the picture. The keyer stays, and what was picked with it.
    void Stop();
    /// The next frame is of another shot.
    void Flush();
    /// The next frame is of another clip: a backdrop that was found is searched for again.
    void StreamStart();
    /// Keys a frame; its buffer is kept for picks until the next one. False: it was not keyed, and the pixels of _out
    /// are undefined. _out may be _in.
    bool Process(const GstVideoFrame& _in, const GstVideoFrame& _out);

    /// Takes the colour around a point of the last frame. _use: zck_use. False: keys stay as they are.
    bool Pick(int _x, int _y, int _use);
    /// Steps back (below 0) or forward. False: there are none.
    bool Step(int _nSteps);
    /// Removes keys and protected colours, and sets all parameters to their defaults.
    bool Reset();
    /// Searches for the backdrop with the next frame.
    void Search();

private:
    using KEYER = std::shared_ptr<zck_keyer>;

    template <class Body> bool Locked(const Body& _fnBody);
    void Problem(const std::string& _strText);
    bool Good(int _nResult);
    void Open();
    void Apply(const GST_SETTINGS& _before);
    void ApplyKeys(const GST_SETTINGS& _before);
    void ApplyParam(size_t _nParam);
    bool HasParam(size_t _nParam) const;
    void LoadFile();
    void SearchIn(const zck_frame& _frame);
    GstBuffer* Keep(GstBuffer* _pBufferOrNull);

    GstElement* const m_pElement;
    std::mutex m_mtx; ///< guards all below; no message is posted while it is held
    GST_SETTINGS m_settings;
    std::vector<std::optional<double>> m_vecParams; ///< what was set
    const SHELL_API* m_pApi = nullptr;              ///< there as soon as a keyer is
    KEYER m_spKeyer;
    int m_nGeneration = 0;        ///< its generation
    bool m_bSearch = false;       ///< for the backdrop
    bool m_bFound = false;        ///< the key is what that found
    unsigned m_nSearched = 0;     ///< frames since the search began
    GstBuffer* m_pLast = nullptr; ///< the last frame
    GstVideoInfo m_infoLast = {};
    std::vector<std::string> m_vecProblems; ///< to be posted
    std::vector<std::string> m_vecPosted;   ///< in this run
};
