#include "zkhost/Commands/Commands.h"

#include "Sample/SampleScene.h"
#include "zkhost/Commands/Progress.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureWriter.h"
#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/StandardError.h"
#include "zkhost/Files/System.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"

#include <memory>

namespace
{

struct SAMPLE_COMMAND
{
    std::string strOutput;
    std::string strTruth;
    std::string strSize = "1280x720";
    std::string strFormat = "I420";
    std::string strScreen = "green";
    double dblRate = 25;
    double dblNoise = 2;
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

SAMPLE_SCENE SceneOf(const SAMPLE_COMMAND& _command)
{
    SAMPLE_SCENE scene;
    Raw_ReadSizeOption(_command.strSize, scene.nWidth, scene.nHeight);
    scene.bBlue = _command.strScreen == "blue";
    scene.dblNoise = _command.dblNoise;
    scene.nSeed = _command.nSeed;
    scene.dblRate = _command.dblRate;
    return scene;
}

void Run(const SAMPLE_COMMAND& _command)
{
    StandardError_LogSet(_command.bQuiet ? eZLog_Error : eZLog_Warning);
    const SAMPLE_SCENE scene = SceneOf(_command);
    const uint32_t fccType = Raw_ReadFormatOption(_command.strFormat);
    STREAM stream;
    stream.vidProps = Stream_Props(fccType, scene.nWidth, scene.nHeight, eZI_Progressive);
    Stream_SetRate(stream, _command.dblRate);
    Stream_SetPixelShape(stream, 1, 1);
    CZOutFiles files;
    const auto upScene =
        PictureWriter_Open(InFolder(_command.strOutput, "frame_%05d.png", files), stream, fccType, files);
    std::unique_ptr<CZPictureWriter> upTruth;
    if (!_command.strTruth.empty())
        upTruth = PictureWriter_Open(InFolder(_command.strTruth, "truth_%05d.png", files), stream, eZFCC_Y444, files);
    CZProgress progress("painted", _command.nFrames, _command.bQuiet);
    const CZSampleScene painter(scene);
    PICTURE picture, alpha;
    for (int64_t i = 0; i < _command.nFrames; ++i)
    {
        painter.Paint(i, picture, alpha);
        upScene->Write(picture);
        if (upTruth)
            upTruth->Write(alpha);
        progress.Step();
    }
    files.CommitAll();
    progress.Summary(ZFormat("%d x %d to %s", scene.nWidth, scene.nHeight, _command.strOutput));
}

void AddOptions(CLI::App& _app, SAMPLE_COMMAND& _command)
{
    _app.add_option("-o,--output", _command.strOutput,
                    "*.y4m or - (I420, I422, Y444), *.raw, *.png, name_%05d.png, or a folder, which is made where it "
                    "is not there")
        ->type_name("FILE")
        ->check(Command_File())
        ->required();
    _app.add_option("--truth", _command.strTruth, "Where its true alpha goes, grey, in any of these kinds")
        ->type_name("FILE")
        ->check(Command_File());
    _app.add_option("--size", _command.strSize, "Width and height in pixels")->type_name("WxH")->capture_default_str();
    _app.add_option("--frames", _command.nFrames, "How many frames")
        ->type_name("N")
        ->check(Command_Whole(1))
        ->capture_default_str();
    _app.add_option("--format", _command.strFormat, "Pixel format of *.y4m and *.raw (\"zkhost formats\" lists them)")
        ->type_name("NAME")
        ->capture_default_str();
    _app.add_option("--screen", _command.strScreen, "Colour of the backdrop, green or blue")
        ->check(CLI::IsMember({"green", "blue"}))
        ->capture_default_str();
    _app.add_option("--rate", _command.dblRate, "Frames per second")
        ->check(CLI::Range(1.0, 1000.0))
        ->capture_default_str();
    _app.add_option("--noise", _command.dblNoise, "Deviation of the noise, in levels of 255")
        ->check(CLI::Range(0.0, 64.0))
        ->capture_default_str();
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
                   "  zkhost sample -o - | zkhost key - -o keyed_%05d.png --auto\n");
    command.callback([spCommand] { Run(*spCommand); });
}
