#pragma once

#include "Kit/Keyer.h"
#include "Soak/TextureHost.h"
#include "zkhost/Files/Picture.h"

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"
#include "Video/ZFramePool.h"

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

/// What a long run has done so far.
struct SOAK_COUNTS
{
    int64_t nFrames = 0;
    int64_t nResults = 0;
    int64_t nChecks = 0;    ///< results held against the plain path
    int64_t nTelling = 0;   ///< of these, with what the generation does best in them: CZSoaker::TellingName
    int64_t nObjects = 0;   ///< plug-in objects made
    int64_t nEdits = 0;     ///< key sets, picks, adjustments, detections
    int64_t nDocuments = 0; ///< saved and loaded again
    int64_t nTextures = 0;  ///< of the frames: in textures of the host's device
    int64_t nMutexes = 0;   ///< of these: with a keyed mutex
    int64_t nDevices = 0;   ///< of the host
    int64_t nTexChecks = 0; ///< of the checks: of frames in textures
    int64_t nPixels = 0;    ///< of results that the GPU made and may be a little off: checked,
    int64_t nPixelsOff = 0; ///< and off by more than a level of alpha or two of colour
    int nMostOff = 0;       ///< levels

    SOAK_COUNTS& operator+=(const SOAK_COUNTS& _other)
    {
        nFrames += _other.nFrames;
        nResults += _other.nResults;
        nChecks += _other.nChecks;
        nTelling += _other.nTelling;
        nObjects += _other.nObjects;
        nEdits += _other.nEdits;
        nDocuments += _other.nDocuments;
        nTextures += _other.nTextures;
        nMutexes += _other.nMutexes;
        nDevices += _other.nDevices;
        nTexChecks += _other.nTexChecks;
        nPixels += _other.nPixels;
        nPixelsOff += _other.nPixelsOff;
        nMostOff = std::max(nMostOff, _other.nMostOff);
        return *this;
    }
};

/// How a run is to be.
struct SOAK_SETUP
{
    uint64_t nSeed = 1;
    int nThreadsMax = 16; ///< the most threads that key a frame, 1 to 16
    /// The GPU keys. Of the first generation it keys what it takes, and only the sizes of results are held against the
    /// plain path, which measures otherwise; of the second it keys every frame, in memory or in a texture of the host's
    /// device, and hardly any pixel may be off.
    bool bGPU = false;
};

/// Keys frames through the plug-in module and changes something at random all the time: sizes, formats, key sets,
/// options, threads, objects. The same seed makes the same changes.
///
/// The result of a frame can be held against that of a copy of the module that runs on plain C++ code. Every method
/// throws CZHostError when something is off. What one generation of the keyer has of its own is in its class.
class CZSoaker
{
public:
    virtual ~CZSoaker() = default;
    CZSoaker(const CZSoaker&) = delete;
    CZSoaker& operator=(const CZSoaker&) = delete;

    /// Takes as much memory as a run can come to: all that frames are kept for, and all threads; and keys each source.
    void Fill();
    /// Changes something, or not, and hands a frame in.
    void Step();
    /// Changes something, or not, keys a frame or a short stream, and throws when a result is not that of the plain
    /// path.
    void StepChecked();
    const SOAK_COUNTS& Counts() const
    {
        return m_counts;
    }
    /// What SOAK_COUNTS::nTelling counts: "with colour cancel".
    virtual const char* TellingName() const = 0;

protected:
    struct SOURCE
    {
        std::string strName;                     ///< "1920x1080 UYVY"
        std::vector<CZPtr<IZFFrame2>> vecFrames; ///< pictures of it, in no order
        bool bScene;                             ///< shows a backdrop; else random bytes
    };
    struct SOAK_SIZE
    {
        int nWidth;
        int nHeight;
    };
    /// How the frames of a generation are.
    struct SOAK_KIND
    {
        CLSID clsid;
        std::vector<SOAK_SIZE> vecSizes; ///< every format has the first one, and one of the others
        int nChangeSource;               ///< a new frame is of another source so rarely
        int nFramesChecked;              ///< that a check keys, one after the other
        bool bGPUAgrees;                 ///< the GPU makes the plain path's pixels, nearly
    };

    /// _modulePlain: see CZPlainModule; it has to outlive this object.
    CZSoaker(const SOAK_KIND& _kind, const SOAK_SETUP& _setup, CZModule& _modulePlain);

    int Pick(int _nFrom, int _nTo);
    bool OneIn(int _nTimes);
    uint32_t Bits()
    {
        return static_cast<uint32_t>(m_random());
    }
    const SOURCE& SourceAny();
    CZKeyer& Keyer() const
    {
        return *m_upKeyer;
    }
    CZKeyer& KeyerPlain()
    {
        return m_keyerPlain;
    }
    const std::vector<SOURCE>& Sources() const
    {
        return m_vecSources;
    }
    void CountEdits(int _nEdits)
    {
        m_counts.nEdits += _nEdits;
    }
    /// Keys the frame with the plain copy, whose keys and options have just been loaded.
    CZPtr<IZFFrame> KeyPlain();

private:
    /// The pictures that a source of a size shows: one at least.
    virtual std::vector<PICTURE> Pictures(int _nWidth, int _nHeight, bool _bScene) = 0;
    /// Sets keys that take as much memory as any can.
    virtual void FillKeys() = 0;
    /// Sets other keys.
    virtual void KeysChange() = 0;
    /// Edits them step by step, on some frame.
    virtual void KeysEdit() = 0;
    /// Finds the backdrop of the last frame.
    virtual void Detect() = 0;
    /// Before a check, when nothing is under way: brings what a document lacks to the plain copy, which has just loaded
    /// one, and begins a new stream in both where frames depend on those before.
    virtual void PlainComplete() = 0;
    /// Throws where the last frame was not keyed on the GPU though that keys every one.
    virtual void CheckGPU()
    {
    }
    /// Whether a result of the plain copy shows what TellingName says.
    virtual bool IsTelling(IZFFrame* _pResult) = 0;

    void SourcesMake();
    void SourceAdd(uint32_t _fccType, const SOAK_SIZE& _size, CZFramePool* _pPool);
    void FillSources();
    void ObjectMake();
    void Set(const std::string& _strName, const std::string& _strValue);
    void Change();
    void OptionChange();
    void SourceChange();
    void FrameToTexture(IZFFrame2* _pFrame);
    /// The frame as it is handed in.
    IZFFrame* FrameIn() const
    {
        return m_cpFrameInTexture ? m_cpFrameInTexture.Get() : m_cpFrame.Get();
    }
    void SaveAndLoad();
    void FrameNext();
    void Check();
    void CheckFrame();
    CZPtr<IZFFrame> Receive(IZFFrame* _pFrameOrNull);
    void Read(IZFFrame* _pResult, PICTURE& _picture); ///< of a result in a texture
    void Compare(IZFFrame* _pResult, IZFFrame* _pExpected);
    /// Where a picture that the GPU has made differs too much; empty where it does not.
    std::string Disagreement(const PICTURE& _picture, const PICTURE& _expected);

    const SOAK_KIND m_kind;
    const SOAK_SETUP m_setup;
    std::mt19937_64 m_random;
    std::vector<SOURCE> m_vecSources;
    const SOURCE* m_pSource = nullptr;           ///< of the frame under way
    CZPtr<IZFFrame> m_cpFrame;                   ///< as it is handed in: another one each time, on the source's pixels
    CZPtr<IZFFrame> m_cpFrameInTexture;          ///< the same picture in a texture, where it is handed in in one
    std::unique_ptr<CZTextureHost> m_upTextures; ///< null: all frames are in memory
    bool m_bTextures = false;                    ///< frames are made in textures, where their format is taken
    bool m_bPictureIn = false;                   ///< the object has a picture to take keys from
    std::unique_ptr<CZKeyer> m_upKeyer;
    CZPtr<IZFProcess> m_cpProcess;
    CZKeyer m_keyerPlain; ///< the object that results are held against
    SOAK_COUNTS m_counts;
};

/// A run of a generation, 1 or 2. _modulePlain: see CZPlainModule; it has to outlive the object.
std::unique_ptr<CZSoaker> Soaker_Make(int _nKeyer, const SOAK_SETUP& _setup, CZModule& _modulePlain);
