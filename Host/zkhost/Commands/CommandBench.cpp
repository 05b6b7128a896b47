#include "zkhost/Commands/Commands.h"

#include "Bench/BenchStream.h"
#include "Bench/BenchTimes.h"
#include "Kit/HostError.h"
#include "Kit/Tables.h"
#include "zkhost/Commands/BenchKeyer.h"
#include "zkhost/Commands/BenchLatency.h"
#include "zkhost/Commands/KeyerChoice.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/StandardError.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZCpu.h"
#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgRowReader.h"

#include <algorithm>
#include <chrono>
#include <memory>

namespace
{

constexpr size_t c_nWarmUp = 10;
constexpr size_t c_nMinTimes = 40;
constexpr double c_dblMinSeconds = 1;

std::string Report(const BENCH_COMMAND& _command, CZBenchKeyer& _keyer, CZBenchTimes& _timesKeyed,
                   CZBenchTimes& _timesStream)
{
    const double dblKeyed = _timesKeyed.Typical(), dblStream = _timesStream.Typical();
    const double dblPixels = static_cast<double>(_command.nWidth) * _command.nHeight;
    std::string strText = ZFormat("size\t%dx%d\nformat\t%s\n%sthreads\t%d\n", _command.nWidth, _command.nHeight,
                                  FCC_Name(_command.fccType), _keyer.WhatText(), _command.nThreads);
    strText += ZFormat("keyed on\t%s\n", _command.bGPU ? "GPU" : "CPU");
    strText += ZFormat("SIMD in use\t%s\n", ZCpu_LevelName(ZCpu_Level()));
    strText += ZFormat("%sframes measured\t%d\n", _keyer.CheckText(), _timesKeyed.Count());
    strText += ZFormat("ns/pixel\t%.3f\nframes/s\t%.1f\n", dblKeyed / dblPixels * 1e9, 1 / dblKeyed);
    strText += ZFormat("%hs ns/pixel\t%.3f\nratio\t%.2f\n", _command.nKeyer == 1 ? "streaming" : "copying",
                       dblStream / dblPixels * 1e9, dblKeyed / dblStream);
    return strText;
}

/// What the first generation alone can be measured with, as it was given; empty: nothing of it.
std::string BenchOnly1(const BENCH_COMMAND& _command)
{
    if (_command.nKeys > 1)
        return ZFormat("--keys %d", _command.nKeys);
    return _command.bGPU ? "--gpu" : "";
}

/// Completes the command, or throws CZUsageError. The latency of both generations is measured unless it says which.
void Check(BENCH_COMMAND& _command)
{
    const std::string strOnly1 = BenchOnly1(_command);
    if (!_command.bLatency || _command.nKeyer != 0 || !strOnly1.empty())
        _command.nKeyer = KeyerChoice_Make({_command.nKeyer, "", strOnly1, ""});
    Raw_ReadSizeOption(_command.strSize, _command.nWidth, _command.nHeight);
    const int nLeast = BenchKeyer_LeastSide(_command.nKeyer == 1 ? 1 : 2);
    if (std::min(_command.nWidth, _command.nHeight) < nLeast)
        throw CZUsageError(
            ZFormat("--size %s: the picture has to be %d pixels each way at least", _command.strSize, nLeast));
    _command.fccType = Raw_ReadFormatOption(_command.strFormat);
    if (!Img_IsReadable(_command.fccType))
        throw CZUsageError(ZFormat("--format %s: the module has no such frames; files alone have", _command.strFormat));
    if (_command.fccType == eZFCC_RGB8)
        throw CZUsageError(ZFormat("--format %s: a grey picture has no colours to key", _command.strFormat));
    if (_command.bGPU && Tables_Read(CZModule::Own(), eZTable_Adapters).empty())
        throw CZHostError("there is no GPU path to measure: this build has none, or the system has no adapter "
                          "(\"zkhost info\" lists them); leave --gpu out to measure the CPU");
}

void RunSpeed(const BENCH_COMMAND& _command)
{
    const auto upKeyer = BenchKeyer_Make(_command);
    CZBenchStream stream(_command.nWidth, _command.nHeight, _command.nKeyer == 1 ? eBP_Mask : eBP_Picture);
    for (size_t i = 0; i < c_nWarmUp; ++i)
    {
        upKeyer->PushNext();
        stream.Next();
    }
    CZBenchTimes timesKeyed, timesStream;
    const auto timeBegin = std::chrono::steady_clock::now();
    while (timesKeyed.Count() < c_nMinTimes ||
           std::chrono::duration<double>(std::chrono::steady_clock::now() - timeBegin).count() < c_dblMinSeconds)
    {
        OutFile_CheckInterrupt();
        timesKeyed.Run([&] { upKeyer->PushNext(); });
        timesStream.Run([&] { stream.Next(); });
    }
    OutFile_Print(Report(_command, *upKeyer, timesKeyed, timesStream));
}

void Run(BENCH_COMMAND _command)
{
    if (_command.nSpin > 0)
        return BenchLatency_Spin(_command.nSpin);
    StandardError_LogSet(eZLog_Warning);
    Check(_command);
    if (_command.bLatency)
        BenchLatency_Run(_command);
    else
        RunSpeed(_command);
}

} // namespace

void Command_AddBench(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand(
        "bench", "Measure how fast frames are keyed, beside a pass that only reads a frame and writes a result");
    const auto spCommand = std::make_shared<BENCH_COMMAND>();
    command.add_option("--size", spCommand->strSize, "Width and height in pixels")
        ->type_name("WxH")
        ->capture_default_str();
    command
        .add_option("--format", spCommand->strFormat,
                    "Pixel format of the frames; RGB ones are keyed in RGB, the others in YUV")
        ->type_name("NAME")
        ->capture_default_str();
    command
        .add_option(
            "--keyer", spCommand->nKeyer,
            "The generation: 2 keys a moving scene with known alpha, 1 stripes of backdrop; 2 unless --keys or\n"
            "--gpu ask for what 1 has")
        ->type_name("1|2")
        ->check(CLI::IsMember({1, 2}));
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
    command.add_flag(
        "--latency", spCommand->bLatency,
        "How long a frame takes from being handed in to being handed out: median, 99 % and worst, of both\n"
        "generations unless --keyer says which, with output.thread off and on, and beside a process of\n"
        "ours that keeps all cores busy but one and is ended with its rows");
    command.add_option("--frames", spCommand->nFrames, "Frames that each row of --latency measures")
        ->type_name("N")
        ->check(Command_Whole(1, 1000000))
        ->capture_default_str();
    command.add_option("--spin", spCommand->nSpin, "Only keep so many cores busy, until standard input ends")
        ->check(Command_Whole(1, 1024))
        ->group("");
    command.footer("Times are the lowest deciles over the frames of at least a second.\n\n"
                   "Examples:\n"
                   "  zkhost bench\n"
                   "  zkhost bench --keyer 1\n"
                   "  zkhost bench --size 3840x2160 --format UYVY --keys 4 --threads 2\n"
                   "  zkhost bench --gpu --format UYVY\n"
                   "  zkhost bench --latency --frames 1000\n"
                   "  ZCK_SIMD=none zkhost bench\n");
    command.callback([spCommand] { Run(*spCommand); });
}
