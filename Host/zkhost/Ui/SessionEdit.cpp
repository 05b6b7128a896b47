#include "zkhost/Ui/Session.h"

#include "Kit/HostError.h"
#include "zkhost/Files/UsageError.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Ui/CommandText.h"
#include "zkhost/Ui/OutName.h"
#include "zkhost/Ui/StateText.h"
#include "zkhost/Ui/UiLog.h"

#include "Base/ZLog.h"
#include "Props/TempFile.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <utility>

// Edits, the state, and what is written.

namespace fs = std::filesystem;

namespace
{

constexpr std::chrono::seconds c_timeHeld{10};
constexpr uint64_t c_nMostHeld = 8; // requests for the state; one more has the oldest come back
constexpr const char* c_pszOutput = "keyed.mov";

std::string TextOfPath(const fs::path& _path)
{
    const std::u8string strPath = _path.u8string();
    return {strPath.begin(), strPath.end()};
}

} // namespace

std::string CZSession::State(int64_t _nAfter)
{
    std::unique_lock lock(m_mtxState);
    if (m_nRevision > _nAfter)
        return StateText();
    const uint64_t nMine = ++m_nHeld;
    m_cvState.notify_all();
    m_cvState.wait_for(lock, c_timeHeld,
                       [&] { return m_bStop || m_nRevision > _nAfter || m_nHeld >= nMine + c_nMostHeld; });
    return StateText();
}

std::string CZSession::StateText()
{
    STATE_FACTS facts;
    facts.nRevision = m_nRevision;
    facts.nKeysRevision = m_nKeysRevision;
    facts.strVersion = m_strVersion;
    facts.strClip = m_options.strInput == "-" ? "standard input" : TextOfPath(File_Path(m_options.strInput).filename());
    facts.pClip = &m_clip;
    facts.nIn = m_nIn;
    facts.nOut = m_nOut;
    facts.pEditor = m_spEditor.get();
    facts.chSlot = m_chSlot;
    facts.bBackground = m_spBackground != nullptr;
    if (m_upRender)
        facts.optJob = m_upRender->State();
    facts.strCommand =
        CommandText_Make({m_spEditor.get(), m_options.strInput, m_options.strRawSpec,
                          facts.optJob ? facts.optJob->strOutput : c_pszOutput, m_options.vecOptions, m_nIn, m_nOut});
    return StateText_Make(facts);
}

void CZSession::Edit(int64_t _nFrame, const std::function<void(CZEditor&, IZFFrame*)>& _fnEdit)
{
    const CLIP_FRAME frame = _nFrame < 0 ? CLIP_FRAME() : FrameOf(_nFrame);
    const std::lock_guard lock(m_mtxState);
    try
    {
        _fnEdit(*m_spEditor, frame.cpFrame.Get());
        Changed(true);
    }
    catch (const std::exception&)
    {
        Changed(true); // the log may say more, and part of it may have been done
        throw;
    }
}

void CZSession::SlotSet(char _chSlot)
{
    const std::lock_guard lockKey(m_mtxKey); // documents are written and loaded
    const std::lock_guard lockState(m_mtxState);
    if (_chSlot == m_chSlot)
        return;
    if (!m_mapGenerations.contains(_chSlot))
    {
        std::shared_ptr<CZEditor>& spNew = EditorOf(_chSlot, m_spEditor->Generation());
        spNew->Load(m_spEditor->Document(), ZFormat("copy of %s", std::string(1, m_chSlot)));
        m_mapGenerations[_chSlot] = m_spEditor->Generation();
    }
    m_chSlot = _chSlot;
    m_spEditor = EditorOf(_chSlot, m_mapGenerations[_chSlot]);
    Changed(true);
}

void CZSession::GenerationSet(int _nGeneration)
{
    const CLIP_FRAME frame = m_clip.Frame(0, false);
    const std::lock_guard lock(m_mtxState);
    m_spEditor = EditorOf(m_chSlot, _nGeneration); // the same one, where it cannot be made
    m_mapGenerations[m_chSlot] = _nGeneration;
    if (frame.cpFrame)
        EditorBegun(frame);
    Changed(true);
}

std::string CZSession::Document()
{
    const std::lock_guard lockKey(m_mtxKey);
    const std::lock_guard lockState(m_mtxState);
    return m_spEditor->Document();
}

void CZSession::Load(const std::string& _strDocument)
{
    const std::lock_guard lockKey(m_mtxKey);
    const std::lock_guard lockState(m_mtxState);
    m_spEditor->Load(_strDocument, "keys loaded");
    Changed(true);
}

void CZSession::RangeSet(int64_t _nIn, int64_t _nOut)
{
    const int64_t nFrames = m_clip.Frames();
    if (_nIn < 0 || _nOut < _nIn || (nFrames >= 0 && _nOut >= nFrames))
        throw CZHostError(ZFormat("%d to %d are no frames of this clip", _nIn, _nOut));
    const std::lock_guard lock(m_mtxState);
    m_nIn = _nIn;
    m_nOut = nFrames >= 0 && _nOut == nFrames - 1 ? -1 : _nOut;
    Changed(false);
}

std::string CZSession::OutputPath(const std::string& _strName) const
{
    const bool bNoFile = m_options.strInput == "-";
    const fs::path pathFolder = !m_options.strFolder.empty() ? File_Path(m_options.strFolder)
                                : bNoFile                    ? fs::path()
                                                             : File_Path(m_options.strInput).parent_path();
    return TextOfPath(pathFolder / File_Path(_strName));
}

void CZSession::OutputCheck(const std::string& _strName, bool _bOverwrite) const
{
    const std::string strFault = OutName_Fault(_strName);
    if (!strFault.empty())
        throw CZUsageError(ZFormat("\"%s\" cannot be written: %s", _strName, strFault));
    const bool bPattern = NamePattern_IsPattern(_strName);
    const std::string strFirst = OutputPath(bPattern ? NamePattern_Name(_strName, 0) : _strName);
    std::error_code error;
    const fs::file_status status = fs::symlink_status(File_Path(strFirst), error);
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw CZUsageError(ZFormat("\"%s\" cannot be written: there is a link, a folder or a device of that name; "
                                   "give another one",
                                   _strName));
    if (fs::exists(status) && !_bOverwrite)
        throw CZUsageError(ZFormat("\"%s\" is there already; give another name, or have it written over", _strName));
}

void CZSession::RenderStart(const std::string& _strName, bool _bOverwrite)
{
    OutputCheck(_strName, _bOverwrite);
    if (m_clip.IsLive())
        throw CZUsageError("a live input cannot be written from here; give its pipe to zkhost key");
    std::unique_ptr<CZRender> upBefore; // goes once the locks are released: its thread may wait for them
    const std::lock_guard lockKey(m_mtxKey);
    const std::lock_guard lockState(m_mtxState);
    if (m_upRender && m_upRender->State().eNow == RENDER_STATE::eRunning)
        throw CZUsageError("a job is running; wait for its end, or cancel it");
    if (m_spEditor->State().vecKeys.empty())
        throw CZUsageError("there is no key yet; have the backdrop found, or click on it");
    RENDER_PLAN plan = {m_spEditor->Generation(),
                        m_options.vecOptions,
                        m_spEditor->Document(),
                        m_options.strInput,
                        m_options.strRawSpec,
                        OutputPath(_strName),
                        m_nIn,
                        -1};
    if (m_nOut >= 0 || m_clip.Frames() >= 0)
        plan.nFrames = (m_nOut >= 0 ? m_nOut + 1 : m_clip.Frames()) - m_nIn;
    upBefore = std::move(m_upRender);
    m_upRender = std::make_unique<CZRender>(std::move(plan), _strName, m_options.fnRender, [this] { Tell(); });
    Changed(false);
}

void CZSession::RenderCancel()
{
    const std::lock_guard lock(m_mtxState);
    if (m_upRender)
        m_upRender->Cancel();
}
