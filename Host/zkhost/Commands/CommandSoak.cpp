#include "zkhost/Commands/Commands.h"

#include "Kit/HostError.h"
#include "Soak/PlainModule.h"
#include "Soak/Soaker.h"
#include "Soak/Usage.h"
#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/StandardError.h"
#include "zkhost/Files/System.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

namespace
{

constexpr int c_nCheckEvery = 100;   // frames
constexpr int c_nCheckEveryGPU = 20; // these are fewer in the same time, where a processor draws them
constexpr double c_dblStatusSeconds = 10;
constexpr double c_dblWarmSeconds = 60;
constexpr double c_dblMaxGrowth = 0.01;                // of the most memory in use when warm
constexpr std::chrono::milliseconds c_timeSettle{200}; // until the system has put threads that have ended away

struct SOAK_COMMAND
{
    double dblMinutes = 20;
    int nKeyer = 2;
    SOAK_SETUP setup;
    bool bNoMemory = false;
};

double MB(int64_t _cbSize)
{
    return static_cast<double>(_cbSize) / (1 << 20);
}

/// A size as a share of another one; 0 where the system does not tell that.
double Share(int64_t _cbSize, int64_t _cbWhole)
{
    return _cbWhole > 0 ? static_cast<double>(_cbSize) / static_cast<double>(_cbWhole) : 0;
}

/// A long run in two parts, each with objects and frames of its own: after the first one the program is warm, and the
/// second one must leave it as it was.
class CZSoak
{
public:
    explicit CZSoak(const SOAK_COMMAND& _command)
        : m_command(_command)
        , m_bTerminal(System_IsTerminal(stderr))
        , m_timeBegin(CLOCK::now())
    {
    }

    void Run()
    {
        const double dblEnd = m_command.dblMinutes * 60;
        const SYSTEM_USAGE usageWarm = Part(m_command.setup.nSeed, std::min(c_dblWarmSeconds, dblEnd / 2));
        const SYSTEM_USAGE usageEnd = Part(~m_command.setup.nSeed, dblEnd);
        Compare(usageWarm, usageEnd);
        Report(usageWarm, usageEnd);
    }

private:
    using CLOCK = std::chrono::steady_clock;

    double Seconds() const
    {
        return std::chrono::duration<double>(CLOCK::now() - m_timeBegin).count();
    }
    /// Soaks up to a time of the run; answers what the program takes when all is given back.
    SYSTEM_USAGE Part(uint64_t _nSeed, double _dblEnd)
    {
        {
            SOAK_SETUP setup = m_command.setup;
            setup.nSeed = _nSeed;
            const auto upSoaker = Soaker_Make(m_command.nKeyer, setup, m_plain.Module());
            upSoaker->Fill();
            do
            {
                for (int i = 1; i < (setup.bGPU ? c_nCheckEveryGPU : c_nCheckEvery); ++i)
                    upSoaker->Step();
                upSoaker->StepChecked();
                Status(upSoaker->Counts());
            } while (Seconds() < _dblEnd);
            m_counts += upSoaker->Counts();
            m_pszTelling = upSoaker->TellingName();
        }
        std::this_thread::sleep_for(c_timeSettle);
        Usage_TrimMemory();
        return Usage_Get();
    }
    void Status(const SOAK_COUNTS& _counts)
    {
        const double dblSeconds = Seconds();
        const SYSTEM_USAGE usage = Usage_Get();
        m_nMostThreads = std::max(m_nMostThreads, usage.nThreads);
        if (!m_bTerminal || dblSeconds - m_dblStatus < c_dblStatusSeconds)
            return;
        m_dblStatus = dblSeconds;
        SOAK_COUNTS counts = m_counts;
        counts += _counts;
        std::fputs(
            ZFormat("%.0f s of %.0f: %I64d frames, %I64d checked, %I64d objects, %.1f MB (most %.1f), %d threads\n",
                    dblSeconds, m_command.dblMinutes * 60, counts.nFrames, counts.nChecks, counts.nObjects,
                    MB(usage.cbResident), MB(usage.cbPeak), usage.nThreads)
                .c_str(),
            stderr);
    }
    void Compare(const SYSTEM_USAGE& _warm, const SYSTEM_USAGE& _end) const
    {
        if (_end.nThreads > _warm.nThreads || _end.nHandles > _warm.nHandles + c_nHandlesKept)
            throw CZHostError(ZFormat("%d threads and %d handles are left at the end, %d and %d when warm; objects do "
                                      "not give back what they take",
                                      _end.nThreads, _end.nHandles, _warm.nThreads, _warm.nHandles));
        const int nMostThreads = _warm.nThreads + 2 * (m_command.setup.nThreadsMax + 1);
        if (m_nMostThreads > nMostThreads && !m_command.setup.bGPU) // a graphics driver has threads of its own
            throw CZHostError(ZFormat("%d threads ran at a time; two objects need %d", m_nMostThreads, nMostThreads));
        if (!m_command.bNoMemory)
            CompareMemory(_warm, _end);
    }
    void CompareMemory(const SYSTEM_USAGE& _warm, const SYSTEM_USAGE& _end) const
    {
        if (Share(_end.cbHeap - _warm.cbHeap, _warm.cbPeak) > c_dblMaxGrowth)
            throw CZHostError(ZFormat("memory is lost: %.2f MB allocated without objects at the end, %.2f MB when warm",
                                      MB(_end.cbHeap), MB(_warm.cbHeap)));
        if (m_command.setup
                .bGPU) // a graphics driver keeps shaders while its device is there, and freed memory for later
            return;
        const auto fnGrown = [&](int64_t _cbMore) {
            return _cbMore > c_cbKeptBySystem && Share(_cbMore, _warm.cbPeak) > c_dblMaxGrowth;
        };
        if (fnGrown(_end.cbResident - _warm.cbResident))
            throw CZHostError(ZFormat("memory is lost: %.2f MB resident without objects at the end, %.2f MB when warm",
                                      MB(_end.cbResident), MB(_warm.cbResident)));
        if (fnGrown(_end.cbPeak - _warm.cbPeak))
            throw CZHostError(ZFormat("the memory grows: at most %.1f MB resident at the end, %.1f MB when warm",
                                      MB(_end.cbPeak), MB(_warm.cbPeak)));
    }
    void Report(const SYSTEM_USAGE& _warm, const SYSTEM_USAGE& _end) const
    {
        std::string strText =
            ZFormat("keyer\t%d\nseconds\t%.0f\nseed\t%I64u\nframes\t%I64d\nresults\t%I64d\n", m_command.nKeyer,
                    Seconds(), m_command.setup.nSeed, m_counts.nFrames, m_counts.nResults);
        strText += ZFormat("checked against the plain path\t%I64d, %hs\nof these %hs\t%I64d\n", m_counts.nChecks,
                           !m_command.setup.bGPU   ? "all equal"
                           : m_counts.nPixels == 0 ? "all equal in size"
                                                   : "all within the bounds of the GPU",
                           m_pszTelling, m_counts.nTelling);
        if (m_counts.nPixels > 0)
            strText += ZFormat("pixels off by more than a level of alpha or two of colour\t%I64d of %I64d, at most %d "
                               "levels\n",
                               m_counts.nPixelsOff, m_counts.nPixels, m_counts.nMostOff);
        if (m_counts.nTextures > 0)
            strText +=
                ZFormat("in textures of the host\t%I64d, %I64d with a keyed mutex; %I64d checked, %I64d devices\n",
                        m_counts.nTextures, m_counts.nMutexes, m_counts.nTexChecks, m_counts.nDevices);
        strText += ZFormat("objects\t%I64d\n", m_counts.nObjects);
        strText += ZFormat("edits\t%I64d\nsaved and loaded\t%I64d\n", m_counts.nEdits, m_counts.nDocuments);
        strText += ZFormat("most memory\t%.1f MB, %.1f MB when warm (%+.2f %%)\n", MB(_end.cbPeak), MB(_warm.cbPeak),
                           100 * Share(_end.cbPeak - _warm.cbPeak, _warm.cbPeak));
        strText +=
            ZFormat("memory without objects\t%.2f MB, %.2f MB when warm\n", MB(_end.cbResident), MB(_warm.cbResident));
        strText += ZFormat("allocated of it\t%.2f MB, %.2f MB when warm\n", MB(_end.cbHeap), MB(_warm.cbHeap));
        OutFile_Print(strText + ZFormat("threads\tmost %d, then %d, %d when warm\nhandles\t%d, %d when warm\n",
                                        m_nMostThreads, _end.nThreads, _warm.nThreads, _end.nHandles, _warm.nHandles));
    }

    const SOAK_COMMAND m_command;
    const CZPlainModule m_plain; ///< what results are held against
    const bool m_bTerminal;
    const CLOCK::time_point m_timeBegin;
    double m_dblStatus = 0;
    SOAK_COUNTS m_counts;
    const char* m_pszTelling = "";
    int m_nMostThreads = 0;
};

void Run(const SOAK_COMMAND& _command)
{
    StandardError_LogSet(eZLog_Error);
    Usage_TrimMemory();
    CZSoak(_command).Run();
}

} // namespace

void Command_AddSoak(CLI::App& _app)
{
    CLI::App& command = *_app.add_subcommand(
        "soak", "Key for a long time while everything changes at random, and watch results, memory and threads");
    const auto spCommand = std::make_shared<SOAK_COMMAND>();
    command.add_option("--minutes", spCommand->dblMinutes, "How long")
        ->check(CLI::Range(0.01, 100000.0))
        ->capture_default_str();
    command.add_option("--keyer", spCommand->nKeyer, "The generation, 1 or 2")
        ->capture_default_str()
        ->type_name("1|2")
        ->check(CLI::IsMember({1, 2}));
    command.add_option("--seed", spCommand->setup.nSeed, "Another number: other changes")->capture_default_str();
    command.add_option("--threads-max", spCommand->setup.nThreadsMax, "The most threads that key a frame, 1 to 16")
        ->type_name("N")
        ->check(Command_Whole(1, 16))
        ->capture_default_str();
    command.add_flag("--no-memory", spCommand->bNoMemory,
                     "Growing memory is no failure (for builds with a sanitizer, which keeps freed memory)");
    command.add_flag(
        "--gpu", spCommand->setup.bGPU,
        "Key on the GPU: of the first generation what it takes, where there is a card, and results are looked at\n"
        "for their size only; of the second every frame, in memory and in textures of devices that come and go, with\n"
        "hardly a pixel off. Memory is looked at for what is allocated without objects: drivers keep more");
    command.footer(
        "Sizes, formats, key sets, adjustments or parameters, regions, options, threads and objects change between\n"
        "frames; keys are picked, detected, saved and loaded. Every hundredth frame, every twentieth with --gpu, or a\n"
        "new stream of three, is held against the plain C++ path. After a minute (in runs under two minutes: half of\n"
        "the time) and at the end all objects are given back: no threads or handles may have been added in between.\n"
        "Neither the memory in use then (allocated, resident) nor the most in use at a time may have grown by more\n"
        "than 1 % of the most, or 2 MB of what is resident.\n\n"
        "Examples:\n"
        "  zkhost soak --minutes 20\n"
        "  zkhost soak --minutes 1 --seed 7 --threads-max 4\n");
    command.callback([spCommand] { Run(*spCommand); });
}
