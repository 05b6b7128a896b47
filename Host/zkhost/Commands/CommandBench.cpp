#include "zkhost/Commands/Commands.h"

#include "Bench/BenchStream.h"
#include "Bench/BenchTimes.h"
#include "Kit/HostError.h"
#include "Kit/Keyer.h"
#include "Kit/Result.h"
#include "Kit/Tables.h"
#include "Sample/KeyScene.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/StandardError.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZCpu.h"
#include "Base/ZHelpers.h"
#include "Base/ZLog.h"

#include <chrono>
#include <memory>

namespace
{

constexpr size_t c_nWarmUp = c_nBenchRing;
constexpr size_t c_nMinTimes = 40;
constexpr double c_dblMinSeconds = 1;

struct BENCH_COMMAND
{
    std::string strSize = "1920x1080";
    std::string strFormat = "RGB32";
    int nKeys = 1;
    int nThreads = 1;
    bool bGPU = false;
    int nWidth = 0;
    int nHeight = 0;
    uint32_t fccType = 0;
};

/// Keys a scene frame after frame through the plug-in module, as a host would.
class CZBenchKeyer
{
public:
    explicit CZBenchKeyer(const BENCH_COMMAND& _command)
        : m_nKeys(_command.nKeys)
    {
        m_arrFrames = BenchRing_OfScene(KeyScene_Picture(_command.nWidth, _command.nHeight, m_nKeys), _command.fccType);
        m_keyer.OptionSet("output.thread", "false");
        m_keyer.OptionSet("gpu_mode", _command.bGPU ? "1" : "0");
        m_keyer.OptionSet("process.threads", std::to_string(_command.nThreads));
        ZF_VID_PROPS vidProps = {};
        Result_Check(m_arrFrames[0]->VideoPropsGet(&vidProps), "looking at the first frame");
        m_keys = KeyScene_Keys(vidProps, KeyScene_Type(_command.fccType), m_nKeys);
        Result_Check(m_keyer.Key()->KeyRawSet(&m_keys, nullptr), "setting the keys");
    }

    void KeyNext()
    {
        m_keyer.Process(m_arrFrames[m_nNext++ % c_nBenchRing].Get(), m_fnIgnore);
    }
    /// Keys all frames once more and looks at their masks.
    void CheckAnswers()
    {
        for (const CZPtr<IZFFrame>& cpFrame : m_arrFrames)
        {
            bool bAnswer = false;
            m_keyer.Process(cpFrame.Get(), [&](IZFFrame* _pResult) {
                PICTURE mask;
                bAnswer = Picture_FromMask(_pResult, mask);
                if (bAnswer)
                    KeyScene_Check(mask, m_nKeys);
            });
            if (!bAnswer)
                throw CZHostError("the module answers without a mask; measuring it means nothing");
        }
    }
    const char* TypeName() const
    {
        return m_keys.eType == eCKT_RGB ? "rgb" : "yuv";
    }

private:
    int m_nKeys;
    CZKeyer m_keyer;
    CHROMA_KEY_RAW m_keys = {};
    BENCH_RING m_arrFrames;
    size_t m_nNext = 0;
    const std::function<void(IZFFrame*)> m_fnIgnore = [](IZFFrame*) {};
};

std::string Report(const BENCH_COMMAND& _command, const char* _pszType, CZBenchTimes& _timesKeyed,
                   CZBenchTimes& _timesStream)
{
    const double dblKeyed = _timesKeyed.Typical(), dblStream = _timesStream.Typical();
    const double dblPixels = static_cast<double>(_command.nWidth) * _command.nHeight;
    std::string strText =
        ZFormat("size\t%dx%d\nformat\t%s\nkeys\t%d\ntype\t%s\nthreads\t%d\n", _command.nWidth, _command.nHeight,
                FCC_Name(_command.fccType), _command.nKeys, _pszType, _command.nThreads);
    strText += ZFormat("keyed on\t%s\n", _command.bGPU ? "GPU" : "CPU");
    strText += ZFormat("SIMD in use\t%s\n", ZCpu_LevelName(ZCpu_Level()));
    strText += ZFormat("mask\tright\nframes measured\t%d\n", _timesKeyed.Count());
    strText += ZFormat("ns/pixel\t%.3f\nframes/s\t%.1f\n", dblKeyed / dblPixels * 1e9, 1 / dblKeyed);
    return strText +
           ZFormat("streaming ns/pixel\t%.3f\nratio\t%.2f\n", dblStream / dblPixels * 1e9, dblKeyed / dblStream);
}

void Run(BENCH_COMMAND _command)
{
    StandardError_LogSet(eZLog_Warning);
    Raw_ReadSizeOption(_command.strSize, _command.nWidth, _command.nHeight);
    if (_command.nWidth < c_nKeySceneMinSide || _command.nHeight < c_nKeySceneMinSide)
        throw CZUsageError(ZFormat("--size %s: the picture has to be %d pixels each way at least", _command.strSize,
                                   c_nKeySceneMinSide));
    _command.fccType = Raw_ReadFormatOption(_command.strFormat);
    if (_command.fccType == eZFCC_RGB8)
        throw CZUsageError(ZFormat("--format %s: a grey picture has no colours to key", _command.strFormat));
    if (_command.bGPU && Tables_Read(CZModule::Own(), eZTable_Adapters).empty())
        throw CZHostError("there is no GPU path to measure: this build has none, or the system has no adapter "
                          "(\"zkhost info\" lists them); leave --gpu out to measure the CPU");
    CZBenchKeyer keyer(_command);
    CZBenchStream stream(_command.nWidth, _command.nHeight);
    for (size_t i = 0; i < c_nWarmUp; ++i)
    {
        keyer.KeyNext();
        stream.Next();
    }
    CZBenchTimes timesKeyed, timesStream;
    const auto timeBegin = std::chrono::steady_clock::now();
    while (timesKeyed.Count() < c_nMinTimes ||
           std::chrono::duration<double>(std::chrono::steady_clock::now() - timeBegin).count() < c_dblMinSeconds)
    {
        OutFile_CheckInterrupt();
        timesKeyed.Run([&] { keyer.KeyNext(); });
        timesStream.Run([&] { stream.Next(); });
    }
    keyer.CheckAnswers();
    OutFile_Print(Report(_command, keyer.TypeName(), timesKeyed, timesStream));
}

} // namespace

void Command_AddBench(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand(
        "bench", "Measure how fast frames are keyed, beside a pass that only reads a frame and writes a mask");
    const auto spCommand = std::make_shared<BENCH_COMMAND>();
    command.add_option("--size", spCommand->strSize, "Width and height in pixels")
        ->type_name("WxH")
        ->capture_default_str();
    command
        .add_option("--format", spCommand->strFormat,
                    "Pixel format of the frames; RGB ones are keyed in RGB, the others in YUV")
        ->type_name("NAME")
        ->capture_default_str();
    command.add_option("--keys", spCommand->nKeys, "How many keys, 1 to 16")
        ->type_name("N")
        ->check(Command_Whole(1, Z_MAX_KEYS))
        ->capture_default_str();
    command
        .add_option("--threads", spCommand->nThreads, "How many threads key a frame, 1 to 16; the other pass has one")
        ->type_name("N")
        ->check(Command_Whole(1, 16))
        ->capture_default_str();
    command.add_flag("--gpu", spCommand->bGPU,
                     "Measure the GPU path, upload and download included; threads do not count then");
    command.footer("Times are the lowest deciles over the frames of at least a second.\n\n"
                   "Examples:\n"
                   "  zkhost bench\n"
                   "  zkhost bench --size 3840x2160 --format UYVY --keys 4 --threads 2\n"
                   "  zkhost bench --gpu --format UYVY\n"
                   "  ZCK_SIMD=none zkhost bench\n");
    command.callback([spCommand] { Run(*spCommand); });
}
