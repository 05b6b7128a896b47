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

#include <algorithm>
#include <cmath>
#include <memory>
#include <string_view>

namespace
{

constexpr int c_nMaxTile = 960; // a wider picture is shown smaller
constexpr int c_nMargin = 12;   // around the pictures
constexpr int c_nLabelHeight = 30;
constexpr uint32_t c_nPaper = 0x1E2126;
constexpr uint32_t c_nInk = 0xE8EAED;

struct SHEET_COMMAND
{
    CZKeyOptions options;
    std::string strOutput;
    std::string strBackground;
    int64_t nFrame = 1;
    bool bCompare = false;
};

/// Rows of two pictures of one size, each with a line of text above it.
class CZSheet
{
public:
    CZSheet(int _nWidth, int _nHeight, int _nRows)
        : m_nWidth(_nWidth)
        , m_nHeight(_nHeight)
    {
        m_sheet.Resize(2 * (_nWidth + c_nMargin) + c_nMargin, _nRows * (_nHeight + c_nLabelHeight + c_nMargin), 4);
        Picture_Fill(m_sheet, 0, 0, m_sheet.nWidth, m_sheet.nHeight, c_nPaper);
    }
    void Put(int _nColumn, int _nRow, const PICTURE& _picture, const std::string& _strLabel)
    {
        const int nLeft = c_nMargin + _nColumn * (m_nWidth + c_nMargin);
        const int nTop = c_nLabelHeight + _nRow * (m_nHeight + c_nLabelHeight + c_nMargin);
        Label_Draw(m_sheet, nLeft, nTop - 21, 2, c_nInk, _strLabel);
        const PICTURE scaled = Picture_Scaled(_picture, m_nWidth, m_nHeight);
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

/// The frame to show. The keys are made on the first one; the second generation also sees those in between, as it does
/// when a clip is keyed: it learns from each.
CZPtr<IZFFrame> FrameShown(const SHEET_COMMAND& _command, CZKeyer& _keyer, CZPtr<IZFFrame>& _cpFirst)
{
    const auto upSource = Stream_Open(_command.options.Input(), _command.options.RawSpec());
    _cpFirst = upSource->Next();
    if (!_cpFirst)
        throw CZHostError(ZFormat("%s holds no frame", _command.options.Input()));
    _keyer.OnWait(OutFile_CheckInterrupt);
    _command.options.ApplyKeys(_keyer, upSource->Stream(), _cpFirst.Get());
    _keyer.OptionNeed(c_szOptionThread, "false"); // each result at once
    CZPtr<IZFFrame> cpFrame = _cpFirst;
    for (int64_t i = 1; i < _command.nFrame; ++i)
    {
        if (_keyer.Key2())
            _keyer.Push(cpFrame.Get());
        cpFrame = upSource->Next();
        if (!cpFrame)
            throw CZHostError(ZFormat("%s has %d frames; --frame %d is not among them", _command.options.Input(), i,
                                      _command.nFrame));
    }
    return cpFrame;
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

SHEET_PICTURES KeyOneFrame(const SHEET_COMMAND& _command, CZKeyer& _keyer)
{
    SHEET_PICTURES pictures;
    CZPtr<IZFFrame> cpFirst;
    const CZPtr<IZFFrame> cpFrame = FrameShown(_command, _keyer, cpFirst);
    Picture_FromFrame(cpFrame.Get(), pictures.source);
    if (_command.bCompare)
        pictures.compared = Compared(cpFirst.Get(), cpFrame.Get());
    const eView eAsked = _keyer.Key2() ? ViewSwap(_keyer, eView_Result) : eView_Result;
    pictures.keyed = KeyedOf(_keyer, cpFrame.Get());
    if (!_keyer.Key2())
        return pictures;
    const eView eShown = eAsked == eView_Result ? eView_Status : eAsked;
    ViewSwap(_keyer, eShown);
    pictures.view = KeyedOf(_keyer, cpFrame.Get()).picture;
    pictures.strView = ViewName(eShown);
    return pictures;
}

PICTURE Draw(const SHEET_COMMAND& _command, const SHEET_PICTURES& _pictures)
{
    const KEYED& keyed = _pictures.keyed;
    const int nWidth = keyed.picture.nWidth, nHeight = keyed.picture.nHeight;
    const int nTileWidth = std::min(nWidth, c_nMaxTile);
    const int nTileHeight = std::max(static_cast<int>(int64_t{nHeight} * nTileWidth / nWidth), 1);
    const PICTURE background = _command.strBackground.empty()
                                   ? Background_Scenery(nWidth, nHeight)
                                   : Background_Load(_command.strBackground, nWidth, nHeight);
    CZSheet sheet(nTileWidth, nTileHeight, _command.bCompare ? 3 : 2);
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

/// Makes the sheet; the size of the picture. The plug-in object is gone when it comes back, and has logged its last.
ZF_SIZE Make(const SHEET_COMMAND& _command)
{
    CZOutFiles files;
    files.Protect(_command.options.Input());
    CZOutFile& file = files.Create(_command.strOutput);
    CZOutFile* const pKeys = _command.options.OpenKeys(files);
    CZKeyer keyer(CZModule::Own(), _command.options.ClassId());
    const SHEET_PICTURES pictures = KeyOneFrame(_command, keyer);
    PictureFile_WritePng(Draw(_command, pictures), file);
    if (pKeys)
        pKeys->Write(keyer.Document());
    files.CommitAll();
    return {pictures.keyed.picture.nWidth, pictures.keyed.picture.nHeight};
}

void Run(SHEET_COMMAND& _command)
{
    _command.options.Begin();
    if (NamePattern_Extension(_command.strOutput) != "png" || NamePattern_IsPattern(_command.strOutput))
        throw CZUsageError(ZFormat("-o %s: a sheet is one *.png", _command.strOutput));
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
                   "  zkhost sheet clip.y4m -o sheet.png --frame 30\n"
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
    command.add_flag("--compare", spCommand->bCompare,
                     "Add matte and result of the first generation: what it detects, with cleaned colours");
    spCommand->options.AddKeys(command);
    command.callback([spCommand] { Run(*spCommand); });
}
