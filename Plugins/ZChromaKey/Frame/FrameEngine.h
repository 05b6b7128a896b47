#pragma once

#include "Base/ZPtr.h"
#include "Image/ImgColor.h"
#include "Interfaces/IZFFrame.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <type_traits>
#include <vector>

/// What settings name by a number, because it is too large to be copied and compared with every frame. An engine that
/// has such parts derives its own record from it.
struct ENGINE_PARTS
{
};

/// What an engine keys with, borrowed for the call.
struct ENGINE_SETTINGS
{
    /// A plain record without padding that the engine alone reads. The frame path takes one copy a frame and compares
    /// it, byte for byte, with that of the frame before.
    std::span<const std::byte> spanRecord;
    const ENGINE_PARTS* pParts; ///< what its numbers stand for; null where it has none
};

/// The settings of an engine whose record this is; borrows both.
template <class Record> ENGINE_SETTINGS EngineSettings_Of(const Record& _record, const ENGINE_PARTS* _pParts = nullptr)
{
    static_assert(std::is_trivially_copyable_v<Record>);
    return {std::as_bytes(std::span<const Record>(&_record, 1)), _pParts};
}

/// What an engine is going to do with its settings.
struct ENGINE_PLAN
{
    bool bCompares; ///< a repeated frame with the same settings is answered with the last output
    bool bKeys;     ///< else frames pass, converted and cut where the options ask for it
    bool bCleans;   ///< colours are changed, in the formats that CanClean names
    /// The engine reads the input in its own format, whatever the result is: nothing is converted before it. Of a
    /// result with alpha it writes every pixel. Frames in memory all go to Process, whoever keys them.
    bool bReadsSource;
};

/// A picture in system memory.
struct ENGINE_PICTURE
{
    ZF_VID_PROPS vidProps;
    ZF_VID_PTR vidPtr; ///< its planes, row 0 at the top
};

/// What the frame path asks of the GPU besides the settings.
struct ENGINE_GPU_OPTIONS
{
    bool bOutputARGB;   ///< the result is ARGB32, whatever the input is
    bool bFlushContext; ///< hand the recorded work to the GPU before the result is waited for
    eZYMatrix eMatrix;  ///< of YUV pictures, and what YUV keys of them are measured with
    bool bPremultiply;  ///< colours of the result are multiplied by its alpha
    uint32_t nThreads;  ///< 1 to c_nMaxFrameThreads, for what the processor does
    bool bOnly;         ///< nothing else may key: a device is made also where the processor stands in for a card
    uint64_t nChange;   ///< of the options: a device that could not be had is asked for again at once when it changes
};

/// One frame in system memory to key, and where its mask goes.
struct ENGINE_JOB
{
    ENGINE_PICTURE source; ///< what is keyed; never written to
    ENGINE_PICTURE result; ///< of the same size; the same picture, unless the engine asked for the source
    bool bWrite;           ///< the result's pixels are ours: alpha of ARGB32 and clean colours may be written
    bool bMultiplyAlpha;   ///< the alpha that the input comes with counts as well; for engines that are given a
                           ///< converted source, others have settings of their own for that
    bool bPremultiply;     ///< colours of a result with alpha are multiplied by it
    uint8_t* pbMask;       ///< the top row; the stride is that of VidProps_Mask of the result
    eZYMatrix eMatrix;     ///< of the input, whatever it was converted into
    uint32_t nThreads;     ///< 1 to c_nMaxFrameThreads
    /// The GPU is to do what it can, of engines that are handed every frame in memory this way (bReadsSource).
    std::optional<ENGINE_GPU_OPTIONS> gpu;
};

/// An engine, as the frame path sees it: what turns a frame into a keyed one. One for each plug-in object; calls come
/// from one thread at a time, under the lock of the frame path. Settings are of the size that the engine's own record
/// has.
class CFrameEngine
{
public:
    CFrameEngine() = default;
    virtual ~CFrameEngine() = default;
    CFrameEngine(const CFrameEngine&) = delete;
    CFrameEngine& operator=(const CFrameEngine&) = delete;

    virtual ENGINE_PLAN Plan(ENGINE_SETTINGS _settings) const = 0;
    /// Whether colours can be cleaned in a pixel format.
    virtual bool CanClean(uint32_t _fccType) const = 0;

    /// Keys a picture in memory: fills the mask, writes alpha and colours where the job lets it. Z_E_TIMEOUT: a thread
    /// may still touch pictures and mask; see Hold. Any other failure: nothing touches them any more.
    virtual HRESULT Process(const ENGINE_JOB& _job, ENGINE_SETTINGS _settings) = 0;
    /// After a Process that timed out: keeps the owners of pictures and mask for as long as a thread may touch them.
    virtual void Hold(std::initializer_list<IUnknown*> _listOwners) noexcept = 0;

    /// Keys a frame on the GPU into a new one with a mask attached, as the CPU does; a frame in a texture into a new
    /// texture of the same device. Any failure, or no frame: it can be keyed on the CPU.
    virtual HRESULT ProcessGPU(IZFFrame* _pFrame, ENGINE_SETTINGS _settings, const ENGINE_GPU_OPTIONS& _options,
                               IZFFrame** _ppFrameRes) = 0;
    /// The frames that the last ProcessGPU has made, so that the caller can let go of them where it holds no lock.
    virtual std::vector<CZPtr<IZFFrame>> FramesTake() = 0;

    /// The next frame begins a new stream: what was learned from those before is forgotten.
    virtual void Flush() = 0;
    /// Gives threads, memory and devices back; the next frame makes them again.
    virtual void Close() = 0;
};
