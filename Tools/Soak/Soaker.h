#pragma once

#include "Kit/Keyer.h"
#include "Kit/Tables.h"

#include "Base/ZPtr.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZFFrame.h"

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
    int64_t nCleaned = 0;   ///< of these, with colour cancel
    int64_t nObjects = 0;   ///< plug-in objects made
    int64_t nEdits = 0;     ///< key sets, picks, adjustments, detections
    int64_t nDocuments = 0; ///< saved and loaded again

    SOAK_COUNTS& operator+=(const SOAK_COUNTS& _other)
    {
        nFrames += _other.nFrames;
        nResults += _other.nResults;
        nChecks += _other.nChecks;
        nCleaned += _other.nCleaned;
        nObjects += _other.nObjects;
        nEdits += _other.nEdits;
        nDocuments += _other.nDocuments;
        return *this;
    }
};

/// Keys frames through the plug-in module and changes something at random all the time: sizes, formats, key sets,
/// options, threads, objects. The same seed makes the same changes.
///
/// The result of a frame can be held against that of a copy of the module that runs on plain C++ code. Every method
/// throws CZHostError when something is off.
class CZSoaker
{
public:
    /// _nThreadsMax: the most threads that key a frame, 1 to 16. _bGPU: the GPU keys what it takes; of the results only
    /// the sizes are held against the plain path then, which measures otherwise. _modulePlain: see CZPlainModule; it
    /// has to outlive this object.
    CZSoaker(uint64_t _nSeed, int _nThreadsMax, bool _bGPU, CZModule& _modulePlain);

    /// Takes as much memory as a run can come to: all that frames are kept for, and all threads; and keys each source.
    void Fill();
    /// Changes something, or not, and hands a frame in.
    void Step();
    /// Changes something, or not, keys a frame, and throws when the result is not that of the plain path.
    void StepChecked();
    const SOAK_COUNTS& Counts() const
    {
        return m_counts;
    }

private:
    struct SOURCE
    {
        std::string strName; ///< "1920x1080 UYVY"
        CZPtr<IZFFrame2> cpFrame;
    };

    int Pick(int _nFrom, int _nTo);
    bool OneIn(int _nTimes);
    const SOURCE& SourceAny();
    void SourcesMake();
    void ObjectMake();
    void Set(const std::string& _strName, const std::string& _strValue);
    void Change();
    void OptionChange();
    void KeysChange();
    CK_ADJUST AdjustAny();
    double AdjustValue(size_t _nAdjust);
    bool IsCleaned(IZFFrame* _pResult);
    CZPtr<IZFFrame> KeyPlain();
    void KeysEdit();
    void Detect();
    void SaveAndLoad();
    void FrameNext();
    void Check();
    CZPtr<IZFFrame> Receive(IZFFrame* _pFrameOrNull);
    void Compare(IZFFrame* _pResult, IZFFrame* _pExpected) const;

    std::mt19937_64 m_random;
    int m_nThreadsMax;
    bool m_bGPU;
    std::vector<ZTABLE_ROW> m_vecAdjusts; ///< at the index of their eCK_Adjust
    std::vector<SOURCE> m_vecSources;
    const SOURCE* m_pSource = nullptr; ///< of the frame under way
    CZPtr<IZFFrame> m_cpFrame;         ///< as it is handed in: another one each time, on the source's pixels
    bool m_bPictureIn = false;         ///< the object has a picture to take keys from
    std::unique_ptr<CZKeyer> m_upKeyer;
    CZPtr<IZFProcess> m_cpProcess;
    CZKeyer m_keyerPlain; ///< the object that results are held against
    SOAK_COUNTS m_counts;
};
