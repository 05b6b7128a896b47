#include "zkhost/Commands.h"

#include "zkhost/BenchScene.h"
#include "zkhost/HostError.h"
#include "zkhost/HostLog.h"
#include "zkhost/Keyer.h"
#include "zkhost/OutFile.h"
#include "zkhost/RawReader.h"

#include "Base/ZCpu.h"
#include "Base/ZHelpers.h"
#include "Base/ZLog.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>

namespace
{

constexpr size_t c_nFrames = 3; // in turn: the module hands the last result out again for a frame that it has just seen
constexpr int c_nWarmUp = 6;
constexpr int c_nBlock = 8; // calls of one kind in a row
constexpr size_t c_nMinTimes = 5 * c_nBlock;
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
        for (size_t i = 0; i < c_nFrames; ++i)
        {
            m_arrPictures[i] =
                BenchScene_Picture(_command.nWidth, _command.nHeight, m_nKeys, static_cast<uint32_t>(i + 1));
            m_arrFrames[i] = BenchScene_Frame(m_arrPictures[i], _command.fccType);
        }
        m_keyer.OptionSet("output.thread", "false");
        m_keyer.OptionSet("gpu_mode", "0");
        m_keyer.OptionSet("process.threads", std::to_string(_command.nThreads));
        ZF_VID_PROPS vidProps = {};
        CZKeyer::Check(m_arrFrames[0]->VideoPropsGet(&vidProps), "looking at the first frame");
        m_keys = BenchScene_Keys(vidProps, m_nKeys);
        CZKeyer::Check(m_keyer.Key()->KeyRawSet(&m_keys, nullptr), "setting the keys");
    }

    void KeyNext()
    {
        m_keyer.Process(m_arrFrames[m_nNext++ % c_nFrames].Get(), m_fnIgnore);
    }
    /// Keys all frames once more and looks at their masks.
    void CheckAnswers()
    {
        for (const CZPtr<IZFFrame>& cpFrame : m_arrFrames)
        {
            bool bAnswer = false;
            m_keyer.Process(cpFrame.Get(), [&](IZFFrame* _pResult) {
                CZPtr<IUnknown> cpAttached;
                CZKeyer::Check(_pResult->AttachmentGet(L"mask", cpAttached.Put()), "taking the mask of a frame");
                const auto cpMask = ZQuery<IZFFrame>(cpAttached);
                if (!cpMask)
                    return;
                PICTURE mask;
                Picture_FromMask(cpMask.Get(), mask);
                BenchScene_Check(mask, m_nKeys);
                bAnswer = true;
            });
            if (!bAnswer)
                throw CZHostError("the module answers without a mask; measuring it means nothing");
        }
    }
    const PICTURE& Picture(size_t _nNumber) const
    {
        return m_arrPictures[_nNumber % c_nFrames];
    }
    const char* TypeName() const
    {
        return m_keys.eType == eCKT_RGB ? "rgb" : "yuv";
    }

private:
    int m_nKeys;
    CZKeyer m_keyer;
    CHROMA_KEY_RAW m_keys = {};
    PICTURE m_arrPictures[c_nFrames];
    CZPtr<IZFFrame> m_arrFrames[c_nFrames];
    size_t m_nNext = 0;
    const std::function<void(IZFFrame*)> m_fnIgnore = [](IZFFrame*) {};
};

/// The least that any keyer has to do with memory: reads the pictures as B, G, R, A and writes a mask.
class CZBenchStream
{
public:
    explicit CZBenchStream(const CZBenchKeyer& _keyer)
        : m_keyer(_keyer)
    {
        for (std::vector<uint8_t>& vecMask : m_arrMasks)
            vecMask.resize(_keyer.Picture(0).vecPixels.size() / 4);
    }
    void StreamNext()
    {
        constexpr size_t c_nPixels = 64; // blocks of fixed length become wide loads and stores, and hardly more
        const uint8_t* pPixels = m_keyer.Picture(m_nNext).vecPixels.data();
        std::vector<uint8_t>& vecMask = m_arrMasks[m_nNext++ % c_nFrames];
        for (size_t n = 0; n + c_nPixels <= vecMask.size(); n += c_nPixels)
        {
            uint8_t arrPixels[4][c_nPixels];
            std::memcpy(arrPixels, pPixels + 4 * n, sizeof(arrPixels));
            for (size_t i = 0; i < c_nPixels; ++i)
                arrPixels[0][i] ^= arrPixels[1][i] ^ arrPixels[2][i] ^ arrPixels[3][i];
            std::memcpy(vecMask.data() + n, arrPixels[0], c_nPixels);
        }
        m_nSink = vecMask[vecMask.size() / 2];
    }

private:
    const CZBenchKeyer& m_keyer;
    std::vector<uint8_t> m_arrMasks[c_nFrames];
    size_t m_nNext = 0;
    volatile uint8_t m_nSink = 0; // somebody looks at the result
};

using CLOCK = std::chrono::steady_clock;
using TIMES = std::vector<double>;

template <class Call> void MeasureBlock(TIMES& _vecSeconds, Call&& _call)
{
    for (int i = 0; i < c_nBlock; ++i)
    {
        const auto timeBegin = CLOCK::now();
        _call();
        _vecSeconds.push_back(std::chrono::duration<double>(CLOCK::now() - timeBegin).count());
    }
}

double Median(TIMES _vecSeconds)
{
    const auto itMiddle = _vecSeconds.begin() + static_cast<ptrdiff_t>(_vecSeconds.size() / 2);
    std::nth_element(_vecSeconds.begin(), itMiddle, _vecSeconds.end());
    return *itMiddle;
}

std::string Report(const BENCH_COMMAND& _command, const char* _pszType, const TIMES& _vecKeyed, const TIMES& _vecStream)
{
    const double dblKeyed = Median(_vecKeyed), dblStream = Median(_vecStream);
    const double dblPixels = static_cast<double>(_command.nWidth) * _command.nHeight;
    std::string strText =
        ZFormat("size\t%dx%d\nformat\t%s\nkeys\t%d\ntype\t%s\nthreads\t%d\n", _command.nWidth, _command.nHeight,
                FCC_Name(_command.fccType), _command.nKeys, _pszType, _command.nThreads);
    strText += ZFormat("SIMD in use\t%s\n", ZCpu_LevelName(ZCpu_Level()));
    strText += ZFormat("mask\tright\nframes measured\t%d\n", _vecKeyed.size());
    strText += ZFormat("ns/pixel\t%.3f\nframes/s\t%.1f\n", dblKeyed / dblPixels * 1e9, 1 / dblKeyed);
    return strText +
           ZFormat("streaming ns/pixel\t%.3f\nratio\t%.2f\n", dblStream / dblPixels * 1e9, dblKeyed / dblStream);
}

void Run(BENCH_COMMAND _command)
{
    HostLog_SetLevel(eZLog_Warning);
    Raw_ReadSizeOption(_command.strSize, _command.nWidth, _command.nHeight);
    if (_command.nWidth < c_nBenchMinSide || _command.nHeight < c_nBenchMinSide)
        throw CZUsageError(
            ZFormat("--size %s: the picture has to be %d pixels each way at least", _command.strSize, c_nBenchMinSide));
    _command.fccType = Raw_ReadFormatOption(_command.strFormat);
    if (_command.fccType == eZFCC_RGB8)
        throw CZUsageError(ZFormat("--format %s: a grey picture has no colours to key", _command.strFormat));
    if (_command.bGPU)
        throw CZHostError("this build has no GPU path to measure; leave --gpu out to measure the CPU");
    CZBenchKeyer keyer(_command);
    CZBenchStream stream(keyer);
    TIMES vecKeyed, vecStream;
    for (int i = 0; i < c_nWarmUp; ++i)
    {
        keyer.KeyNext();
        stream.StreamNext();
    }
    const auto timeBegin = CLOCK::now();
    while (vecKeyed.size() < c_nMinTimes ||
           std::chrono::duration<double>(CLOCK::now() - timeBegin).count() < c_dblMinSeconds)
    {
        OutFile_CheckInterrupt();
        MeasureBlock(vecKeyed, [&] { keyer.KeyNext(); });
        MeasureBlock(vecStream, [&] { stream.StreamNext(); });
    }
    keyer.CheckAnswers();
    OutFile_Print(Report(_command, keyer.TypeName(), vecKeyed, vecStream));
}

} // namespace

void Command_AddBench(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand(
        "bench", "Measure how fast frames are keyed, beside a pass that only reads a frame and writes a mask");
    const auto spCommand = std::make_shared<BENCH_COMMAND>();
    command.add_option("--size", spCommand->strSize, "WxH")->capture_default_str();
    command
        .add_option("--format", spCommand->strFormat,
                    "Pixel format of the frames; RGB ones are keyed in RGB, the others in YUV")
        ->capture_default_str();
    command.add_option("--keys", spCommand->nKeys, "How many keys, 1 to 16")
        ->check(Command_Whole(1, Z_MAX_KEYS))
        ->capture_default_str();
    command
        .add_option("--threads", spCommand->nThreads, "How many threads key a frame, 1 to 16; the other pass has one")
        ->check(Command_Whole(1, 16))
        ->capture_default_str();
    command.add_flag("--gpu", spCommand->bGPU, "Measure the GPU path");
    command.footer("Times are medians over the frames of at least a second.\n\n"
                   "Examples:\n"
                   "  zkhost bench\n"
                   "  zkhost bench --size 3840x2160 --format UYVY --keys 4 --threads 2\n"
                   "  ZCK_SIMD=none zkhost bench\n");
    command.callback([spCommand] { Run(*spCommand); });
}
