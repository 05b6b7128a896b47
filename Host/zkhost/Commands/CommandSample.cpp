#include "zkhost/Commands/Commands.h"

#include "Sample/HardScene.h"
#include "Sample/SampleScene.h"
#include "zkhost/Commands/Progress.h"
#include "zkhost/Files/FullChroma.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureWriter.h"
#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/StandardError.h"
#include "zkhost/Files/System.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <optional>

namespace
{

constexpr double c_dblUsualNoise = 2; // levels

struct SAMPLE_COMMAND
{
    std::string strOutput;
    std::string strTruth;
    std::string strSize = "1280x720";
    std::string strFormat = "I420";
    std::string strScene;
    std::string strScreen = "green";
    double dblRate = 25;
    std::optional<double> optNoise;
    uint64_t nSeed = 1;
    int64_t nFrames = 60;
    bool bQuiet = false;
};

/// A folder, or a name without an extension, stands for a sequence of pictures in that folder.
std::string InFolder(const std::string& _strPath, const char* _pszName, CZOutFiles& _files)
{
    const bool bFolder = System_IsFolder(_strPath) || (_strPath != "-" && NamePattern_Extension(_strPath).empty());
    if (!bFolder)
        return _strPath;
    if (NamePattern_IsPattern(_strPath))
        throw CZUsageError(ZFormat("%s: a picture sequence is named with its extension, as name_%%05d.png", _strPath));
    _files.MakeFolder(_strPath);
    return _strPath + "/" + _pszName;
}

/// What paints a frame, and its truth: grey alpha, or for a hard scene colours with alpha.
using PAINT = std::function<void(int64_t _nFrame, PICTURE& _picture, PICTURE& _truth)>;

PAINT HardPainter(const SAMPLE_COMMAND& _command, int _nWidth, int _nHeight)
{
    const HARD_SCENE* const pScene = HardScene_Find(_command.strScene);
    if (!pScene)
        throw CZUsageError(ZFormat("--scene %s: there is no such scene; \"zkhost sample --scene list\" names them",
                                   _command.strScene));
    const HARD_SETUP setup{_nWidth, _nHeight, _command.dblRate, _command.optNoise.value_or(-1), _command.nSeed};
    return [pScene, setup](int64_t _nFrame, PICTURE& _picture, PICTURE& _truth) {
        HardScene_Paint(*pScene, setup, _nFrame, _picture, _truth);
    };
}

PAINT Painter(const SAMPLE_COMMAND& _command, int _nWidth, int _nHeight)
{
    if (!_command.strScene.empty())
        return HardPainter(_command, _nWidth, _nHeight);
    const auto spScene = std::make_shared<CZSampleScene>(SAMPLE_SCENE{_nWidth, _nHeight, _command.strScreen == "blue",
                                                                      _command.optNoise.value_or(c_dblUsualNoise),
                                                                      _command.nSeed, _command.dblRate});
    return
        [spScene](int64_t _nFrame, PICTURE& _picture, PICTURE& _truth) { spScene->Paint(_nFrame, _picture, _truth); };
}

void PrintScenes()
{
    for (const HARD_SCENE& scene : HardScene_All())
        std::printf("%s\t%s\n", scene.pszName, scene.pszSummary);
}

void Run(const SAMPLE_COMMAND& _command)
{
    if (_command.strScene == "list")
    {
        PrintScenes();
        return;
    }
    if (_command.strOutput.empty())
        throw CZUsageError("-o is needed: where the frames go");
    StandardError_LogSet(_command.bQuiet ? eZLog_Error : eZLog_Warning);
    int nWidth = 0, nHeight = 0;
    Raw_ReadSizeOption(_command.strSize, nWidth, nHeight);
    const PAINT fnPaint = Painter(_command, nWidth, nHeight);
    const uint32_t fccType = Raw_ReadFormatOption(_command.strFormat);
    STREAM stream;
    stream.vidProps = Stream_Props(fccType, nWidth, nHeight, eZI_Progressive);
    Stream_SetRate(stream, _command.dblRate);
    Stream_SetPixelShape(stream, 1, 1);
    CZOutFiles files;
    const auto upScene =
        PictureWriter_Open(InFolder(_command.strOutput, "frame_%05d.png", files), stream, fccType, files);
    std::unique_ptr<CZPictureWriter> upTruth;
    if (!_command.strTruth.empty())
        upTruth = PictureWriter_Open(InFolder(_command.strTruth, "truth_%05d.png", files), stream, c_fccI444, files);
    CZProgress progress("painted", _command.nFrames, _command.bQuiet);
    PICTURE picture, truth;
    for (int64_t i = 0; i < _command.nFrames; ++i)
    {
        fnPaint(i, picture, truth);
        upScene->Write(picture);
        if (upTruth)
            upTruth->Write(truth);
        progress.Step();
    }
    files.CommitAll();
    progress.Summary(ZFormat("%d x %d to %s", nWidth, nHeight, _command.strOutput));
}

void AddOptions(CLI::App& _app, SAMPLE_COMMAND& _command)
{
    _app.add_option("-o,--output", _command.strOutput,
                    "*.y4m or - (I420, I422, I444), *.raw, *.png, name_%05d.png, or a folder, which is made where it "
                    "is not there")
        ->type_name("FILE")
        ->check(Command_File());
    _app.add_option("--scene", _command.strScene,
                    "A scene that is hard to key instead of the usual one, with its own backdrop; \"list\" names them")
        ->type_name("NAME");
    _app.add_option("--truth", _command.strTruth,
                    "Where its true alpha goes, in any of these kinds: grey, or with --scene as straight alpha of the "
                    "true colours")
        ->type_name("FILE")
        ->check(Command_File());
    _app.add_option("--size", _command.strSize, "Width and height in pixels")->type_name("WxH")->capture_default_str();
    _app.add_option("--frames", _command.nFrames, "How many frames")
        ->type_name("N")
        ->check(Command_Whole(1))
        ->capture_default_str();
    _app.add_option("--format", _command.strFormat,
                    "Pixel format of *.y4m and *.raw: those that \"zkhost formats\" lists as keyed, and I444, planes "
                    "Y, U, V of full "
                    "width. Rows of *.raw lie top-down, as --in reads them")
        ->type_name("NAME")
        ->capture_default_str();
    _app.add_option("--screen", _command.strScreen, "Colour of the usual scene's backdrop, green or blue")
        ->check(CLI::IsMember({"green", "blue"}))
        ->capture_default_str();
    _app.add_option("--rate", _command.dblRate, "Frames per second")
        ->check(CLI::Range(1.0, 1000.0))
        ->capture_default_str();
    _app.add_option("--noise", _command.optNoise, "Deviation of the noise, in levels of 255; 2, or the scene's own")
        ->check(CLI::Range(0.0, 64.0));
    _app.add_option("--seed", _command.nSeed, "Another number: other hair, bubbles and noise")->capture_default_str();
    _app.add_flag("--quiet,-q", _command.bQuiet, "Only errors on standard error");
}

} // namespace

void Command_AddSample(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand("sample", "Make a moving green-screen scene, with its true alpha");
    const auto spCommand = std::make_shared<SAMPLE_COMMAND>();
    AddOptions(command, *spCommand);
    command.footer("Examples:\n"
                   "  zkhost sample -o clip.y4m --truth truth.y4m\n"
                   "  zkhost sample -o clip.raw --size 1920x1080 --format UYVY --screen blue --frames 10\n"
                   "  zkhost sample --scene hair -o hair.png --frames 1 --truth hair-truth.png\n"
                   "  zkhost sample -o - | zkhost key - -o keyed_%05d.png --auto\n");
    command.callback([spCommand] { Run(*spCommand); });
}
