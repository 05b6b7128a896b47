#include "zkhost/Ui/Session.h"

#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "zkhost/Files/Background.h"
#include "zkhost/Files/PictureFile.h"
#include "zkhost/Ui/UiLog.h"

#include "Base/ZLog.h"
#include "Image/ImgRowReader.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <span>
#include <utility>
#include <vector>

// Frames, and what is seen of them.

namespace
{

constexpr int64_t c_nMostPixels = int64_t{1} << 24; // of a view
constexpr int64_t c_cbKept = int64_t{1} << 30;      // decoded frames of a clip
constexpr int64_t c_cbLiveKept = int64_t{1} << 28;  // of a live one: nobody goes back in it

int64_t BytesKept(const std::string& _strInput)
{
    return _strInput == "-" ? c_cbLiveKept : c_cbKept;
}

/// A pixel of a frame as B, G, R, A. The last one where the place lies outside.
std::array<uint8_t, 4> PixelOf(IZFFrame* _pFrame, const Z_YUV_FORM& _yuv, int _nX, int _nY)
{
    ZF_VID_PROPS vidProps = {};
    ZF_VID_PTR vidPtr = {};
    CImgRowReader reader;
    Result_Check(_pFrame->VideoPropsGet(&vidProps), "looking at a frame");
    Result_Check(_pFrame->VideoPtrGet(eZFP_Flip, &vidPtr), "looking at a frame");
    Result_Check(reader.Init(vidProps, vidPtr, Img_MatrixOf(vidProps, _yuv)), "reading a frame");
    std::vector<uint8_t> vecRow(static_cast<size_t>(reader.Width()) * 4);
    const uint8_t* const pRow = reader.Row(std::clamp(_nY, 0, reader.Height() - 1), vecRow.data());
    std::array<uint8_t, 4> arrPixel = {};
    std::copy_n(pRow + 4 * std::clamp(_nX, 0, reader.Width() - 1), 4, arrPixel.begin());
    return arrPixel;
}

std::array<int, 3> ColorOfPixel(const std::array<uint8_t, 4>& _arrPixel)
{
    return {_arrPixel[2], _arrPixel[1], _arrPixel[0]};
}

/// Fills in what a page has left open.
VIEW_WISH ViewOf(const FRAME_WISH& _wish, const STREAM& _stream, IZFFrame* _pResult, const PICTURE* _pBackground)
{
    VIEW_WISH view = _wish.view;
    view.yuv = _stream.yuv;
    ZF_VID_PROPS vidProps = {};
    Result_Check(_pResult->VideoPropsGet(&vidProps), "looking at a result");
    const int nHeight = std::abs(vidProps.nHeight);
    if (view.rect.nWidth == 0)
        view.rect = {0, 0, vidProps.nWidth, nHeight};
    if (view.nWidth == 0)
    {
        view.nWidth = view.rect.nWidth;
        view.nHeight = view.rect.nHeight;
    }
    if (int64_t{view.nWidth} * view.nHeight > c_nMostPixels)
        throw CZHostError(
            ZFormat("a view of %d x %d is too large; ask for less with ow and oh", view.nWidth, view.nHeight));
    if (_pBackground && _pBackground->nWidth == vidProps.nWidth && _pBackground->nHeight == nHeight)
        view.pBackground = _pBackground;
    return view;
}

} // namespace

CZSession::CZSession(UI_OPTIONS _options)
    : m_options(std::move(_options))
    , m_clip(m_options.strInput, m_options.strRawSpec, BytesKept(m_options.strInput), [this] { Tell(); })
{
    m_mapGenerations['A'] = m_options.nKeyer;
    m_spEditor = EditorOf('A', m_options.nKeyer);
    m_strVersion = m_spEditor->Keyer().NameAndVersion();
    if (!m_options.strKeys.empty())
        m_spEditor->LoadFile(m_options.strKeys);
    if (!m_clip.IsLive())
        EditorBegun(FrameOf(0));
}

CZSession::~CZSession() = default;

void CZSession::Stop()
{
    {
        const std::lock_guard lock(m_mtxState);
        m_bStop = true;
    }
    m_cvState.notify_all();
    m_clip.Stop();
}

void CZSession::Changed(bool _bKeys)
{
    ++m_nRevision;
    m_nLogged = UiLog_Count();
    if (_bKeys)
        m_nKeysRevision = m_nRevision;
    m_cvState.notify_all();
}

void CZSession::Tell()
{
    const std::lock_guard lock(m_mtxState);
    Changed(false);
}

CLIP_FRAME CZSession::FrameOf(int64_t _nFrame)
{
    CLIP_FRAME frame = m_clip.Frame(_nFrame, false);
    if (!frame.cpFrame)
        throw CZHostError(frame.bEnded ? ZFormat("the clip has no frame %d", _nFrame)
                                       : std::string("no frame has come yet; is there a source behind the pipe?"));
    return frame;
}

std::shared_ptr<CZEditor>& CZSession::EditorOf(char _chSlot, int _nGeneration)
{
    std::shared_ptr<CZEditor>& spEditor = m_mapEditors[{_chSlot, _nGeneration}];
    if (!spEditor)
        spEditor = std::make_shared<CZEditor>(_nGeneration, m_clip.Stream(), m_options.vecOptions);
    return spEditor;
}

/// The editor in use, with its first keys.
CZEditor& CZSession::EditorBegun(const CLIP_FRAME& _frame)
{
    if (!m_spEditor->IsBegun())
    {
        m_spEditor->Find(_frame.cpFrame.Get(), _frame.nFrame);
        Changed(true);
    }
    return *m_spEditor;
}

eFrameFault CZSession::Frame(const FRAME_WISH& _wish, FRAME_SHOWN& _shown)
{
    const uint64_t nTurn = m_turns.Take(_wish.strPage);
    const CLIP_FRAME frame = m_clip.Frame(_wish.nFrame, _wish.bPlay);
    if (!frame.cpFrame)
        return frame.bEnded ? eFrameFault::Ended : eFrameFault::NotYet;
    PREVIEW preview;
    std::shared_ptr<const PICTURE> spBackground;
    {
        const std::lock_guard lockKey(m_mtxKey);
        if (m_turns.IsOvertaken(_wish.strPage, nTurn))
            return eFrameFault::Overtaken;
        std::shared_ptr<CZEditor> spEditor;
        bool bHold = false;
        {
            const std::lock_guard lockState(m_mtxState);
            bHold = EditorBegun(frame).State().bHold;
            spEditor = m_spEditor;
            spBackground = m_spBackground;
            _shown.nRevision = m_nKeysRevision;
        }
        preview = m_preview.Key(
            {spEditor.get(), _shown.nRevision, frame.nFrame, frame.cpFrame.Get(), _wish.eShow, _wish.bPlay, bHold});
    }
    const VIEW_WISH view = ViewOf(_wish, m_clip.Stream(), preview.cpResult.Get(), spBackground.get());
    FrameView_Make(frame.cpFrame.Get(), preview.cpResult.Get(), view, _shown.strPixels);
    _shown.nFrame = frame.nFrame;
    _shown.nWidth = view.nWidth;
    _shown.nHeight = view.nHeight;
    _shown.strStats = std::move(preview.strStats);
    const std::lock_guard lockState(m_mtxState);
    if (UiLog_Count() != m_nLogged)
        Changed(false);
    return eFrameFault::None;
}

uint32_t CZSession::Taste(IZFFrame* _pFrame, int _nX, int _nY)
{
    if (!m_upTaster)
        m_upTaster = std::make_unique<CZKeyer>(CZModule::Own(), CLSID_ZChromaKey2);
    IZChromaKey2* const pKey = m_upTaster->Key2();
    CHROMA_KEY2_RAW key = {};
    Result_Check(pKey->FrameSet(_pFrame), "handing over the frame to make keys on");
    const HRESULT hr = pKey->KeyProtectPoint(_nX, _nY); // which takes greys as well
    pKey->FrameSet(nullptr);
    Result_Check(hr, "looking at a colour");
    Result_Check(pKey->KeyRawGet(&key), "looking at a colour");
    Result_Check(pKey->KeyReset(), "looking at a colour");
    const PROTECTED_KEY2& color = key.arrProtected[0];
    return static_cast<uint32_t>(std::lround(color.dblRed)) << 16 |
           static_cast<uint32_t>(std::lround(color.dblGreen)) << 8 | static_cast<uint32_t>(std::lround(color.dblBlue));
}

PIXEL_PROBE CZSession::Probe(IZFFrame* _pFrame, IZFFrame* _pResult, CZEditor& _editor, int _nX, int _nY)
{
    PIXEL_PROBE probe;
    probe.nTaken = Taste(_pFrame, _nX, _nY); // refuses what is outside
    probe.arrSource = ColorOfPixel(PixelOf(_pFrame, m_clip.Stream().yuv, _nX, _nY));
    const std::array<uint8_t, 4> arrResult = PixelOf(_pResult, {}, _nX, _nY);
    probe.arrResult = ColorOfPixel(arrResult);
    probe.nAlpha = arrResult[3];
    CZPtr<IZFFrame> cpPlate;
    if (_editor.Keyer().Key2() && _editor.Keyer().Key2()->PlateGet(cpPlate.Put()) == S_OK)
    {
        probe.bPlate = true;
        probe.arrPlate = ColorOfPixel(PixelOf(cpPlate.Get(), {}, _nX, _nY));
    }
    return probe;
}

PIXEL_PROBE CZSession::Probe(int64_t _nFrame, int _nX, int _nY)
{
    const CLIP_FRAME frame = FrameOf(_nFrame);
    const std::lock_guard lockKey(m_mtxKey);
    std::shared_ptr<CZEditor> spEditor;
    PREVIEW_WISH wish;
    {
        const std::lock_guard lockState(m_mtxState);
        wish.bHold = EditorBegun(frame).State().bHold;
        wish.nKeys = m_nKeysRevision;
        spEditor = m_spEditor;
    }
    wish.pEditor = spEditor.get();
    wish.nFrame = frame.nFrame;
    wish.pFrame = frame.cpFrame.Get();
    return Probe(frame.cpFrame.Get(), m_preview.Key(wish).cpResult.Get(), *spEditor, _nX, _nY);
}

void CZSession::BackgroundSet(const std::string& _strFile)
{
    constexpr const char* c_pszName = "the background";
    const std::span arrFile(reinterpret_cast<const uint8_t*>(_strFile.data()), _strFile.size());
    const ZF_VID_PROPS& vidProps = m_clip.Stream().vidProps;
    auto spPicture = std::make_shared<const PICTURE>(
        Background_Fit(PictureFile_Decode(arrFile, c_pszName), vidProps.nWidth, std::abs(vidProps.nHeight), c_pszName));
    const std::lock_guard lock(m_mtxState);
    m_spBackground = std::move(spPicture);
    Changed(false);
}
