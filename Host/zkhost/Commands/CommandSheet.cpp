#include "zkhost/Commands/Commands.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "Kit/Tables.h"
#include "zkhost/Commands/KeyJob.h"
#include "zkhost/Commands/Progress.h"
#include "zkhost/Files/Background.h"
#include "zkhost/Files/Label.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureFile.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"
#include "Props/PropText.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace
{

constexpr int c_nMaxTile = 960;    // a wider picture is shown smaller
constexpr int c_nMaxRowTile = 480; // three beside each other
constexpr int c_nMaxRows = 50;
constexpr int c_nMargin = 12; // around the pictures
constexpr int c_nLabelHeight = 30;
constexpr uint32_t c_nPaper = 0x1E2126;
constexpr uint32_t c_nInk = 0xE8EAED;

struct SHEET_COMMAND
{
    CZKeyOptions options;
    std::string strOutput;
    std::string strBackground;
    std::string strCrop;
    int64_t nFrame = 1;
    int64_t nFrames = 1;
    bool bCompare = false;
    bool bWipe = false;
};

/// The part of pictures of one size that is shown.
struct PART
{
    int nLeft;
    int nTop;
    int nWidth;
    int nHeight;

    PICTURE Of(const PICTURE& _picture) const
    {
        return Picture_Cropped(_picture, nLeft, nTop, nWidth, nHeight);
    }
};

PART PartOf(const SHEET_COMMAND& _command, const PICTURE& _picture)
{
    if (_command.strCrop.empty())
        return {0, 0, _picture.nWidth, _picture.nHeight};
    PROP_RECT rect = {}; // here the last two are width and height
    const bool bRead = PropText_ReadRect(_command.strCrop, &rect);
    const bool bInside = bRead && rect.nLeft >= 0 && rect.nTop >= 0 && rect.nRight > 0 && rect.nBottom > 0 &&
                         rect.nLeft <= _picture.nWidth - rect.nRight && rect.nTop <= _picture.nHeight - rect.nBottom;
    if (!bInside)
        throw CZUsageError(ZFormat("--crop %s: write X,Y,W,H, a rectangle inside %d x %d", _command.strCrop,
                                   _picture.nWidth, _picture.nHeight));
    return {rect.nLeft, rect.nTop, rect.nRight, rect.nBottom};
}

/// Rows of pictures of one size, each with a line of text above it.
class CZSheet
{
public:
    CZSheet(const PART& _part, int _nColumns, int _nRows, int _nMaxTile)
        : m_part(_part)
        , m_nWidth(std::min(_part.nWidth, _nMaxTile))
        , m_nHeight(std::max(static_cast<int>(int64_t{_part.nHeight} * m_nWidth / _part.nWidth), 1))
    {
        m_sheet.Resize(_nColumns * (m_nWidth + c_nMargin) + c_nMargin,
                       _nRows * (m_nHeight + c_nLabelHeight + c_nMargin), 4);
        Picture_Fill(m_sheet, 0, 0, m_sheet.nWidth, m_sheet.nHeight, c_nPaper);
    }
    void Put(int _nColumn, int _nRow, const PICTURE& _picture, const std::string& _strLabel)
    {
        const int nLeft = c_nMargin + _nColumn * (m_nWidth + c_nMargin);
        const int nTop = c_nLabelHeight + _nRow * (m_nHeight + c_nLabelHeight + c_nMargin);
        Label_Draw(m_sheet, nLeft, nTop - 21, 2, c_nInk, _strLabel);
        const PICTURE scaled = Picture_Scaled(m_part.Of(_picture), m_nWidth, m_nHeight);
        for (int y = 0; y < m_nHeight; ++y)
            for (int x = 0; x < m_nWidth; ++x)
            {
                uint8_t* pTo = m_sheet.Row(nTop + y) + 4 * (nLeft + x);
                if (scaled.nChannels == 1)
                    std::fill_n(pTo, 3, scaled.Row(y)[x]);
                else
                    std::copy_n(scaled.Row(y) + 4 * x, 3, pTo);
            }
    }
    const PICTURE& Picture() const
    {
        return m_sheet;
    }

private:
    PART m_part;
    int m_nWidth;
    int m_nHeight;
    PICTURE m_sheet;
};

PICTURE Composite(const PICTURE& _keyed, const PICTURE& _background)
{
    PICTURE picture = _keyed;
    Picture_Over(picture, _background);
    return picture;
}

/// Sets what comes out; answers what came out before.
eView ViewSwap(const CZKeyer& _keyer, eView _eView)
{
    CHROMA_KEY2_RAW key = {};
    Result_Check(_keyer.Key2()->KeyRawGet(&key), "looking at the view");
    Result_Check(_keyer.Key2()->ViewSet(_eView), "setting the view");
    return static_cast<eView>(std::lround(key.params.eViewValue));
}

KEYED KeyedOf(CZKeyer& _keyer, IZFFrame* _pFrame)
{
    KEYED keyed;
    const CZPtr<IZFFrame> cpResult = _keyer.Push(_pFrame);
    if (!cpResult)
        throw CZHostError("the module gave no result back");
    KeyJob_Read(cpResult.Get(), keyed);
    return keyed;
}

/// The pictures of a sheet.
struct SHEET_PICTURES
{
    PICTURE source;
    KEYED keyed;
    PICTURE view;        ///< of the second generation
    std::string strView; ///< its name
    KEYED compared;      ///< by the first generation; empty unless asked for
};

/// Makes the keys on the first frame and shows frames by their numbers, counted from 1 and ascending. The second
/// generation also sees those in between, as it does when a clip is keyed: it learns from each. Fails where the
/// first of them is not there.
void ShowFrames(const SHEET_COMMAND& _command, CZFrameSource& _source, CZKeyer& _keyer,
                const std::vector<int64_t>& _vecNumbers, const std::function<void(IZFFrame*, IZFFrame*)>& _fnShow)
{
    const CZPtr<IZFFrame> cpFirst = _source.Next();
    if (!cpFirst)
        throw CZHostError(ZFormat("%s holds no frame", _command.options.Input()));
    _keyer.OnWait(OutFile_CheckInterrupt);
    _command.options.ApplyKeys(_keyer, _source.Stream(), cpFirst.Get());
    _keyer.OptionNeed(c_szOptionThread, "false"); // each result at once
    CZPtr<IZFFrame> cpFrame = cpFirst;
    size_t nShown = 0;
    int64_t nNumber = 1;
    for (; cpFrame; ++nNumber)
    {
        if (nNumber == _vecNumbers[nShown])
            _fnShow(cpFirst.Get(), cpFrame.Get());
        else if (_keyer.Key2())
            _keyer.Push(cpFrame.Get());
        nShown += nNumber == _vecNumbers[nShown] ? 1 : 0;
        if (nShown == _vecNumbers.size())
            break;
        cpFrame = _source.Next();
    }
    if (nShown == 0)
        throw CZHostError(ZFormat("%s has %d frames; --frame %d is not among them", _command.options.Input(),
                                  nNumber - 1, _command.nFrame));
}

/// What the first generation makes of a frame by itself.
KEYED Compared(IZFFrame* _pFirst, IZFFrame* _pFrame)
{
    CZKeyer keyer(CZModule::Own(), CLSID_ZChromaKey);
    keyer.OptionSet(c_szOptionThread, "false");
    keyer.OptionSet(c_szOptionARGB, "true");
    CZKeyOptions::FrameSet(keyer, _pFirst);
    if (keyer.FindBackdrop() == S_FALSE)
        throw CZHostError("--compare: the first generation finds no green or blue backdrop in the first frame");
    return KeyedOf(keyer, _pFrame);
}

/// The name of a view, as --view takes it.
std::string ViewName(eView _eView)
{
    const std::vector<ZTABLE_ROW> vecRows = Tables_Read(CZModule::Own(), eZTable_Params);
    const auto itView =
        std::ranges::find(vecRows, "view", [](const ZTABLE_ROW& _row) { return std::string_view(_row.pszName); });
    return Tables_Choices(*itView).at(static_cast<size_t>(_eView));
}

SHEET_PICTURES KeyOneFrame(const SHEET_COMMAND& _command, CZFrameSource& _source, CZKeyer& _keyer)
{
    SHEET_PICTURES pictures;
    const auto fnShow = [&](IZFFrame* _pFirst, IZFFrame* _pFrame) {
        Picture_FromFrame(_pFrame, pictures.source, _source.Stream().yuv);
        if (_command.bCompare)
            pictures.compared = Compared(_pFirst, _pFrame);
        const eView eAsked = _keyer.Key2() ? ViewSwap(_keyer, eView_Result) : eView_Result;
        pictures.keyed = KeyedOf(_keyer, _pFrame);
        if (!_keyer.Key2())
            return;
        const eView eShown = eAsked == eView_Result ? eView_Status : eAsked;
        ViewSwap(_keyer, eShown);
        pictures.view = KeyedOf(_keyer, _pFrame).picture;
        pictures.strView = ViewName(eShown);
    };
    ShowFrames(_command, _source, _keyer, {_command.nFrame}, fnShow);
    return pictures;
}

PICTURE BackgroundOf(const SHEET_COMMAND& _command, int _nWidth, int _nHeight)
{
    return _command.strBackground.empty() ? Background_Scenery(_nWidth, _nHeight)
                                          : Background_Load(_command.strBackground, _nWidth, _nHeight);
}

/// Source on the left and result on the right, with a line between them.
PICTURE DrawWipe(const SHEET_COMMAND& _command, const SHEET_PICTURES& _pictures)
{
    const PICTURE& keyed = _pictures.keyed.picture;
    const PICTURE result = Composite(keyed, BackgroundOf(_command, keyed.nWidth, keyed.nHeight));
    const PART part = PartOf(_command, result);
    PICTURE picture = part.Of(result);
    const PICTURE source = part.Of(_pictures.source);
    const int nMiddle = picture.nWidth / 2;
    for (int y = 0; y < picture.nHeight; ++y)
        std::copy_n(source.Row(y), 4 * nMiddle, picture.Row(y));
    Picture_Fill(picture, nMiddle - 1, 0, nMiddle + 1, picture.nHeight, c_nInk);
    return picture;
}

/// Numbers of frames from one on, as far apart from each other as the clip is long.
std::vector<int64_t> NumbersOf(const SHEET_COMMAND& _command, const STREAM& _stream)
{
    if (_stream.nFrames < 0)
        throw CZUsageError(
            ZFormat("--frames: how long %s is shows only at its end; take one with --frame", _command.options.Input()));
    const int64_t nAll = _stream.nFrames - _command.nFrame; // behind the first one
    std::vector<int64_t> vecNumbers;
    for (int64_t i = 0; i < _command.nFrames; ++i)
        if (const int64_t nNumber = _command.nFrame + i * nAll / (_command.nFrames - 1);
            vecNumbers.empty() || nNumber > vecNumbers.back())
            vecNumbers.push_back(nNumber);
    return vecNumbers;
}

/// A row for each frame.
PICTURE DrawOverTime(const SHEET_COMMAND& _command, CZFrameSource& _source, CZKeyer& _keyer)
{
    const std::vector<int64_t> vecNumbers = NumbersOf(_command, _source.Stream());
    std::optional<CZSheet> optSheet;
    PICTURE source, background;
    int nRow = 0;
    const auto fnShow = [&](IZFFrame* /*_pFirst*/, IZFFrame* _pFrame) {
        Picture_FromFrame(_pFrame, source, _source.Stream().yuv);
        const KEYED keyed = KeyedOf(_keyer, _pFrame);
        if (!optSheet)
        {
            background = BackgroundOf(_command, keyed.picture.nWidth, keyed.picture.nHeight);
            optSheet.emplace(PartOf(_command, keyed.picture), 3, static_cast<int>(vecNumbers.size()), c_nMaxRowTile);
        }
        optSheet->Put(0, nRow, source, ZFormat("frame %d", vecNumbers[static_cast<size_t>(nRow)]));
        optSheet->Put(1, nRow, keyed.mask, "matte");
        optSheet->Put(2, nRow, Composite(keyed.picture, background), "over a background");
        ++nRow;
    };
    ShowFrames(_command, _source, _keyer, vecNumbers, fnShow);
    return optSheet->Picture();
}

PICTURE Draw(const SHEET_COMMAND& _command, const SHEET_PICTURES& _pictures)
{
    const KEYED& keyed = _pictures.keyed;
    const int nWidth = keyed.picture.nWidth, nHeight = keyed.picture.nHeight;
    const PICTURE background = BackgroundOf(_command, nWidth, nHeight);
    CZSheet sheet(PartOf(_command, keyed.picture), 2, _command.bCompare ? 3 : 2, c_nMaxTile);
    sheet.Put(0, 0, _pictures.source, ZFormat("source  %d x %d", _pictures.source.nWidth, _pictures.source.nHeight));
    if (_pictures.strView.empty())
    {
        sheet.Put(1, 0, keyed.mask, "matte");
        sheet.Put(0, 1, Composite(keyed.picture, Background_Checker(nWidth, nHeight)), "over a checker");
    }
    else
    {
        sheet.Put(1, 0, _pictures.view, _pictures.strView);
        sheet.Put(0, 1, keyed.mask, "matte");
    }
    sheet.Put(1, 1, Composite(keyed.picture, background), "over a background");
    if (_command.bCompare)
    {
        sheet.Put(0, 2, _pictures.compared.mask, "first generation: matte");
        sheet.Put(1, 2, Composite(_pictures.compared.picture, background), "first generation: over a background");
    }
    return sheet.Picture();
}

/// Makes the picture that is asked for.
PICTURE DrawAny(const SHEET_COMMAND& _command, CZKeyer& _keyer)
{
    const auto upSource = Stream_Open(_command.options.Input(), _command.options.RawSpec());
    if (_command.nFrames > 1)
        return DrawOverTime(_command, *upSource, _keyer);
    const SHEET_PICTURES pictures = KeyOneFrame(_command, *upSource, _keyer);
    return _command.bWipe ? DrawWipe(_command, pictures) : Draw(_command, pictures);
}

/// Makes the sheet; its size. The plug-in object is gone when it comes back, and has logged its last.
ZF_SIZE Make(const SHEET_COMMAND& _command)
{
    CZOutFiles files;
    files.Protect(_command.options.Input());
    CZOutFile& file = files.Create(_command.strOutput);
    CZOutFile* const pKeys = _command.options.OpenKeys(files);
    CZKeyer keyer(CZModule::Own(), _command.options.ClassId());
    const PICTURE sheet = DrawAny(_command, keyer);
    PictureFile_WritePng(sheet, file);
    if (pKeys)
        pKeys->Write(keyer.Document());
    files.CommitAll();
    return {sheet.nWidth, sheet.nHeight};
}

void Run(SHEET_COMMAND& _command)
{
    _command.options.Begin();
    if (NamePattern_Extension(_command.strOutput) != "png" || NamePattern_IsPattern(_command.strOutput))
        throw CZUsageError(ZFormat("-o %s: a sheet is one *.png", _command.strOutput));
    if ((_command.nFrames > 1) + _command.bWipe + _command.bCompare > 1)
        throw CZUsageError("--frames, --wipe and --compare are sheets of their own; leave all but one out");
    CZProgress progress("keyed", 1, _command.options.IsQuiet());
    const ZF_SIZE sz = Make(_command);
    progress.Step();
    progress.Summary(ZFormat("%d x %d to %s", sz.cx, sz.cy, _command.strOutput));
}

} // namespace

void Command_AddSheet(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand(
        "sheet", "One picture of a keyed frame: source, status (or another view), matte, over a background");
    const auto spCommand = std::make_shared<SHEET_COMMAND>();
    command.footer("With --keyer 1: source, matte, over a checker, over a background.\n\n"
                   "Examples:\n"
                   "  zkhost sheet clip.mp4 -o sheet.png --frame 30\n"
                   "  zkhost sheet clip.mp4 -o time.png --frames 5\n"
                   "  zkhost sheet clip.mp4 -o hair.png --wipe --crop 600,100,320,240\n"
                   "  zkhost sheet clip.y4m -o sheet.png --view plate --compare\n"
                   "  zkhost sheet photo.jpg -o sheet.png --pick 20,40 --background beach.jpg\n");
    spCommand->options.AddInput(command);
    command.add_option("-o,--output", spCommand->strOutput, "The sheet, a *.png")
        ->type_name("FILE")
        ->check(Command_File())
        ->required();
    command
        .add_option("--background", spCommand->strBackground,
                    "A colour (#RRGGBB) or a picture instead of the built-in scenery")
        ->type_name("FILE")
        ->check(Command_File());
    command
        .add_option("--frame", spCommand->nFrame, "Which frame to show, counted from 1; the keys come from the first")
        ->type_name("N")
        ->check(Command_Whole(1));
    command
        .add_option("--frames", spCommand->nFrames,
                    "A row for each of so many frames, from --frame to the end: source, matte, over a background")
        ->type_name("N")
        ->check(Command_Whole(1, c_nMaxRows));
    command.add_option("--crop", spCommand->strCrop, "Show only a part, in its own size")->type_name("X,Y,W,H");
    command.add_flag("--wipe", spCommand->bWipe, "One picture: the source on the left, the result on the right");
    command.add_flag("--compare", spCommand->bCompare,
                     "Add matte and result of the first generation: what it detects, with cleaned colours");
    spCommand->options.AddKeys(command);
    command.callback([spCommand] { Run(*spCommand); });
}
