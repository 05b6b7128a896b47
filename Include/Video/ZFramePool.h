#pragma once

#include "Base/ZPtr.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

class CZFrame;

/// The memory of one picture, shared by the frames that show it.
struct CZPicture
{
    std::atomic<uint32_t> nRefs{1};  ///< frames that show the picture
    uint8_t* pData = nullptr;        ///< 64-byte aligned memory of the pool; null when the memory is the host's
    size_t cbCapacity = 0;           ///< bytes at pData
    bool bReadOnly = false;          ///< the host's memory, and not to be written
    uint64_t nLastUsed = 0;          ///< the pool's clock when the picture came back
    std::function<void()> fnRelease; ///< gives the host's memory back
};

/// Frames and pictures that wait to be used again, shared by a family of frames.
///
/// Every frame holds a reference to its pool, so the pool lives until the last of them is gone. What comes back is
/// kept up to a bound; a picture that many others in a row could not use is given back to the system. Thread safe.
class CZFramePool
{
public:
    /// A new pool. May throw std::bad_alloc.
    static CZPtr<CZFramePool> Create();

    uint32_t AddRef();
    uint32_t Release();

    /// A picture of at least _cbPicture bytes, not initialised; null when memory is short.
    CZPicture* PictureTake(size_t _cbPicture);
    /// One frame less shows the picture; with the last one it is kept, or given back to the host.
    void PictureRelease(CZPicture* _pPicture);
    /// A frame used before, or null. It holds nothing and has no reference.
    CZFrame* FrameTake();
    /// Keeps an empty frame, or deletes it.
    void FrameGive(CZFrame* _pFrame);

private:
    CZFramePool();
    ~CZFramePool();
    CZPicture* TakeFitting(size_t _cbPicture);
    CZPicture* TakeStale();

    std::atomic<uint32_t> m_nRefs{1};
    std::mutex m_mtxFree;
    std::vector<CZFrame*> m_vecFrames;
    std::vector<CZPicture*> m_vecPictures; ///< the one given back last is at the end
    uint64_t m_nClock = 0;                 ///< pictures taken so far
};
