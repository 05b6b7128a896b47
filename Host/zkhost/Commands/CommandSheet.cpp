#include "zkhost/Commands/Commands.h"

#include "Kit/HostError.h"
#include "zkhost/Commands/KeyJob.h"
#include "zkhost/Commands/Progress.h"
#include "zkhost/Files/Background.h"
#include "zkhost/Files/Label.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureFile.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <memory>

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
};

/// Four pictures of one size, two by two, each with a line of text above it.
class CZSheet
{
public:
    CZSheet(int _nWidth, int _nHeight)
        : m_nWidth(_nWidth)
        , m_nHeight(_nHeight)
    {
        m_sheet.Resize(2 * (_nWidth + c_nMargin) + c_nMargin, 2 * (_nHeight + c_nLabelHeight + c_nMargin), 4);
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

/// The source frame, and what it is keyed to. The keys are made on the first frame, whichever frame is shown.
void KeyOneFrame(const SHEET_COMMAND& _command, CZKeyer& _keyer, PICTURE& _source, KEYED& _keyed)
{
    const auto upSource = Stream_Open(_command.options.Input(), _command.options.RawSpec());
    CZPtr<IZFFrame> cpFrame = upSource->Next();
    if (!cpFrame)
        throw CZHostError(ZFormat("%s holds no frame", _command.options.Input()));
    _keyer.OnWait(OutFile_CheckInterrupt);
    _command.options.ApplyKeys(_keyer, cpFrame.Get());
    for (int64_t i = 1; i < _command.nFrame; ++i)
    {
        cpFrame = upSource->Next();
        if (!cpFrame)
            throw CZHostError(ZFormat("%s has %d frames; --frame %d is not among them", _command.options.Input(), i,
                                      _command.nFrame));
    }
    Picture_FromFrame(cpFrame.Get(), _source);
    const auto fnResult = [&_keyed](IZFFrame* _pResult) { KeyJob_Read(_pResult, _keyed); };
    _keyer.Process(cpFrame.Get(), fnResult);
    _keyer.Finish(fnResult);
}

PICTURE Draw(const SHEET_COMMAND& _command, const PICTURE& _source, const KEYED& _keyed)
{
    const int nWidth = _keyed.picture.nWidth, nHeight = _keyed.picture.nHeight;
    const int nTileWidth = std::min(nWidth, c_nMaxTile);
    const int nTileHeight = std::max(static_cast<int>(int64_t{nHeight} * nTileWidth / nWidth), 1);
    CZSheet sheet(nTileWidth, nTileHeight);
    sheet.Put(0, 0, _source, ZFormat("source  %d x %d", _source.nWidth, _source.nHeight));
    sheet.Put(1, 0, _keyed.mask, "matte");
    sheet.Put(0, 1, Composite(_keyed.picture, Background_Checker(nWidth, nHeight)), "over a checker");
    const PICTURE background = _command.strBackground.empty()
                                   ? Background_Scenery(nWidth, nHeight)
                                   : Background_Load(_command.strBackground, nWidth, nHeight);
    sheet.Put(1, 1, Composite(_keyed.picture, background), "over a background");
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
    PICTURE source;
    KEYED keyed;
    KeyOneFrame(_command, keyer, source, keyed);
    PictureFile_WritePng(Draw(_command, source, keyed), file);
    if (pKeys)
        pKeys->Write(keyer.Document());
    files.CommitAll();
    return {keyed.picture.nWidth, keyed.picture.nHeight};
}

void Run(const SHEET_COMMAND& _command)
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
    CLI::App& command =
        *_app.add_subcommand("sheet", "One picture of a keyed frame: source, matte, over a checker, over a background");
    const auto spCommand = std::make_shared<SHEET_COMMAND>();
    command.footer("Without keys the backdrop is searched for, as with --auto.\n\n"
                   "Examples:\n"
                   "  zkhost sheet clip.y4m -o sheet.png --frame 30\n"
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
    spCommand->options.AddKeys(command, true);
    command.callback([spCommand] { Run(*spCommand); });
}
