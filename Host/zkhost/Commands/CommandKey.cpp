#include "zkhost/Commands/Commands.h"

#include "zkhost/Commands/KeyCommand.h"
#include "zkhost/Commands/KeyJob.h"
#include "zkhost/Commands/Progress.h"
#include "zkhost/Files/Background.h"
#include "zkhost/Files/FullChroma.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureWriter.h"
#include "zkhost/Files/UsageError.h"
#include "zkhost/Files/VideoOutput.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <memory>

namespace
{

constexpr const char* c_pszExamples =
    "Examples:\n"
    "  zkhost key clip.mp4 -o keyed.mov\n"
    "  zkhost key clip.mp4 -o part.mov --first 251 --frames 250 --preroll 25\n"
    "  zkhost key clip.mp4 -o preview.mp4 --background beach.jpg\n"
    "  zkhost key clip.y4m -o keyed_%05d.png\n"
    "  zkhost key photo.jpg -o cut.png --pick 20,40 --protect 310,200 --param shadows=60\n"
    "  zkhost key photo.jpg -o cut.png --region \"garbage=0,0 90,0 90,400 0,400\" --region holdout=mask.png\n"
    "  zkhost key clip.y4m -o - --bits 16 | ffmpeg -f rawvideo -pix_fmt rgba64le -s 1920x1080 -i - keyed.mov\n"
    "  zkhost key clip.y4m -o out.y4m --mask matte.y4m --keys keys.xml --background beach.jpg\n"
    "  zkhost key in.raw --in UYVY:1920x1080@25i -o out.raw --keyer 1 --adjust smooth=20 --set process.threads=4\n";

/// Everything that "zkhost key" was told.
struct KEY_COMMAND
{
    CZKeyOptions options;
    std::string strOutput;
    std::string strMask;
    std::string strBackground;
    std::string strCodec;
    KEY_PIECE piece;
    KEY_COMMAND_HOOKS hooks; ///< of a caller in this program
};

OUTPUT_WISHES WishesOf(const KEY_COMMAND& _command)
{
    OUTPUT_WISHES wishes;
    if (Stream_IsVideo(_command.options.Input()))
        wishes.strSource = _command.options.Input();
    wishes.nFirst = _command.piece.nFirst - 1;
    wishes.nFrames = _command.piece.nFrames;
    wishes.bOpaque = !_command.strBackground.empty();
    wishes.strCodec = _command.strCodec;
    return wishes;
}

/// The outputs of the job.
class CZKeyOutputs
{
public:
    CZKeyOutputs(const KEY_COMMAND& _command, const STREAM& _stream)
        : m_command(_command)
    {
        m_files.Protect(_command.options.Input());
        const bool bRaw = NamePattern_Extension(_command.strOutput) == "raw";
        const uint32_t fccType = _command.options.IsDeep() ? eZFCC_ARGB64 : bRaw ? eZFCC_ARGB32 : c_fccI444;
        OUTPUT_WISHES wishes = WishesOf(_command);
        m_upPictures = PictureWriter_Open(_command.strOutput, _stream, fccType, m_files, wishes);
        wishes.bOpaque = true;
        wishes.strSource.clear();
        wishes.strCodec.clear();
        if (!_command.strMask.empty())
            m_upMasks = PictureWriter_Open(_command.strMask, _stream, c_fccI444, m_files, wishes);
        m_pKeys = _command.options.OpenKeys(m_files);
    }

    void Write(KEYED& _keyed)
    {
        if (m_upMasks)
            m_upMasks->Write(_keyed.mask);
        if (m_command.options.IsDeep())
            return WriteDeep(_keyed);
        if (!m_command.strBackground.empty())
        {
            const bool bNew =
                m_background.nWidth != _keyed.picture.nWidth || m_background.nHeight != _keyed.picture.nHeight;
            if (bNew)
                m_background = Background_Load(m_command.strBackground, _keyed.picture.nWidth, _keyed.picture.nHeight);
            Picture_Over(_keyed.picture, m_background);
        }
        m_upPictures->Write(_keyed.picture);
    }
    void WriteDeep(const KEYED& _keyed)
    {
        if (!_keyed.bDeep)
            throw CZUsageError("--bits 16: the results have 8; leave output.argb and output.depth out of --set");
        m_upPictures->Write(_keyed.deep);
    }
    void Commit(CZKeyer& _keyer)
    {
        if (m_pKeys)
            m_pKeys->Write(_keyer.Document());
        m_files.CommitAll();
    }

private:
    const KEY_COMMAND& m_command;
    CZOutFiles m_files; // before the writers, which use it
    std::unique_ptr<CZPictureWriter> m_upPictures;
    std::unique_ptr<CZPictureWriter> m_upMasks;
    CZOutFile* m_pKeys = nullptr; // belongs to m_files
    PICTURE m_background;
};

/// Keys all frames; the size of the last one. The plug-in object is gone when it comes back, and has logged its last.
ZF_SIZE KeyAll(const KEY_COMMAND& _command, CZFrameSource& _source, CZProgress& _progress)
{
    CZKeyOutputs outputs(_command, _source.Stream());
    CZKeyer keyer(CZModule::Own(), _command.options.ClassId());
    ZF_SIZE szLast = {};
    int64_t nDone = 0;
    KeyJob_Run(_source, keyer, _command.options, _command.piece, [&](KEYED& _keyed) {
        szLast = {_keyed.picture.nWidth, _keyed.picture.nHeight};
        outputs.Write(_keyed);
        _progress.Step();
        if (_command.hooks.fnStep)
            _command.hooks.fnStep(++nDone);
    });
    outputs.Commit(keyer);
    return szLast;
}

/// How many frames there will be; -1: that is not known.
int64_t FramesOf(const KEY_PIECE& _piece, const STREAM& _stream)
{
    const int64_t nThere = _stream.nFrames < 0 ? -1 : std::max<int64_t>(_stream.nFrames - _piece.nFirst + 1, 0);
    return _piece.nFrames > 0 && (nThere < 0 || nThere > _piece.nFrames) ? _piece.nFrames : nThere;
}

void Run(KEY_COMMAND& _command)
{
    if (_command.hooks.fnStep)
        _command.options.BeginQuietly();
    else
        _command.options.Begin();
    if (!_command.strCodec.empty() && !VideoOutput_IsOne(_command.strOutput))
        throw CZUsageError(
            ZFormat("--codec %s: %s is no video that ffmpeg writes", _command.strCodec, _command.strOutput));
    if (!_command.strBackground.empty())
    {
        if (_command.options.IsDeep())
            throw CZUsageError("--background makes an opaque picture of 8 bits; leave it or --bits 16 out");
        _command.options.NeedStraight();
    }
    const auto upSource = Stream_OpenAt(_command.options.Input(), _command.options.RawSpec(), _command.piece.Begin());
    if (VideoOutput_IsDeep(_command.strOutput) && _command.strBackground.empty())
        _command.options.SuggestDeep(upSource->Stream());
    CZProgress progress("keyed", FramesOf(_command.piece, upSource->Stream()), _command.options.IsQuiet());
    const ZF_SIZE sz = KeyAll(_command, *upSource, progress);
    progress.Summary(ZFormat("%d x %d to %s", sz.cx, sz.cy, _command.strOutput));
}

/// Adds the command with its options. The hooks may be empty.
void Add(CLI::App& _app, KEY_COMMAND_HOOKS _hooks)
{
    CLI::App& command = *_app.add_subcommand("key", "Key frames: the backdrop becomes transparent");
    const auto spCommand = std::make_shared<KEY_COMMAND>();
    spCommand->options.UseDocument(_hooks.strDocument);
    spCommand->hooks = std::move(_hooks);
    command.footer(c_pszExamples);
    spCommand->options.AddInput(command);
    command
        .add_option("-o,--output", spCommand->strOutput,
                    "With ffmpeg, and with the sound, time code and metadata of a video: *.mov (ProRes 4444), *.mkv\n"
                    "(FFV1), *.webm (VP9), or *.mp4 with --background. Without: *.png or name_%05d.png,\n"
                    "*.y4m or - (4:4:4 with alpha), *.raw (ARGB32, rows top-down); with --bits 16 *.raw and - are\n"
                    "rgba64le. Alpha is straight")
        ->type_name("FILE")
        ->check(Command_File())
        ->required();
    command.add_option("--mask", spCommand->strMask, "The mask alone, grey, in any of the kinds of -o")
        ->type_name("FILE")
        ->check(Command_File());
    command
        .add_option("--background", spCommand->strBackground,
                    "Lay the result over a colour (#RRGGBB) or a picture; the output is opaque then")
        ->type_name("FILE")
        ->check(Command_File());
    command
        .add_option("--codec", spCommand->strCodec,
                    "Options for ffmpeg in the place of those for the video's kind: \"-c:v qtrle -pix_fmt argb\"")
        ->type_name("OPTIONS");
    command.add_option("--first", spCommand->piece.nFirst, "The first frame to key, counted from 1")
        ->type_name("N")
        ->check(Command_Whole(1));
    command.add_option("--frames", spCommand->piece.nFrames, "Key this many frames; all unless given")
        ->type_name("N")
        ->check(Command_Whole(1));
    command
        .add_option("--preroll", spCommand->piece.nPreroll,
                    "Key this many frames before --first as well, without writing them: the keyer learns from them.\n"
                    "Keys are made on the first of them")
        ->type_name("N")
        ->check(Command_Whole(0));
    spCommand->options.AddBits(command);
    spCommand->options.AddKeys(command);
    command.callback([spCommand] { Run(*spCommand); });
}

} // namespace

void Command_AddKey(CLI::App& _app)
{
    Add(_app, {});
}

void KeyCommand_Run(std::vector<std::string> _vecArguments, KEY_COMMAND_HOOKS _hooks)
{
    CLI::App app("", "zkhost");
    Add(app, std::move(_hooks));
    _vecArguments.insert(_vecArguments.begin(), "key");
    std::reverse(_vecArguments.begin(), _vecArguments.end()); // the parser takes them off the end
    try
    {
        app.parse(_vecArguments);
    }
    catch (const CLI::ParseError& error)
    {
        throw CZUsageError(error.what());
    }
}
