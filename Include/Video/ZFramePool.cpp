#include "Video/ZFramePool.h"

#include "Base/ZBorder.h"
#include "Video/ZFrame.h"

#include <new>

namespace
{
constexpr std::align_val_t c_nAlignment{64};
constexpr size_t c_nMaxFrames = 64;   // kept frames, small
constexpr size_t c_nMaxPictures = 32; // kept pictures
// After so many others that it did not serve for, a kept picture is of a size that is gone.
constexpr uint64_t c_nStaleAfter = 256;

void Destroy(CZPicture* _pPicture)
{
    ::operator delete(_pPicture->pData, c_nAlignment);
    delete _pPicture;
}

// Memory of the host goes back to it.
void GiveBack(CZPicture* _pPicture)
{
    ZBorder("CZFrame::Release", [&] {
        if (_pPicture->fnRelease)
            _pPicture->fnRelease();
        return S_OK;
    });
    delete _pPicture;
}

CZPicture* MakePicture(size_t _cbPicture)
{
    auto* const pPicture = new (std::nothrow) CZPicture;
    if (!pPicture)
        return nullptr;
    pPicture->pData = static_cast<uint8_t*>(::operator new(_cbPicture, c_nAlignment, std::nothrow));
    pPicture->cbCapacity = _cbPicture;
    if (pPicture->pData)
        return pPicture;
    delete pPicture;
    return nullptr;
}
} // namespace

CZPtr<CZFramePool> CZFramePool::Create()
{
    return CZPtr<CZFramePool>::Adopt(new CZFramePool);
}

CZFramePool::CZFramePool()
{
    m_vecFrames.reserve(c_nMaxFrames);
    m_vecPictures.reserve(c_nMaxPictures);
}

CZFramePool::~CZFramePool()
{
    for (CZFrame* pFrame : m_vecFrames)
        delete pFrame;
    for (CZPicture* pPicture : m_vecPictures)
        Destroy(pPicture);
}

uint32_t CZFramePool::AddRef()
{
    return ++m_nRefs;
}

uint32_t CZFramePool::Release()
{
    const uint32_t nRefs = --m_nRefs;
    if (nRefs == 0)
        delete this;
    return nRefs;
}

CZPicture* CZFramePool::PictureTake(size_t _cbPicture)
{
    CZPicture* pStale = nullptr;
    CZPicture* pPicture = nullptr;
    {
        std::lock_guard lock(m_mtxFree);
        ++m_nClock;
        pPicture = TakeFitting(_cbPicture);
        pStale = TakeStale();
    }
    if (pStale)
        Destroy(pStale);
    if (!pPicture)
        return MakePicture(_cbPicture);
    pPicture->nRefs = 1;
    return pPicture;
}

// The latest one that is large enough, as it may still be in cache, but not more than twice as large: a mask must not
// hold the memory of a picture.
CZPicture* CZFramePool::TakeFitting(size_t _cbPicture)
{
    for (size_t n = m_vecPictures.size(); n-- > 0;)
    {
        CZPicture* const pPicture = m_vecPictures[n];
        if (pPicture->cbCapacity < _cbPicture || pPicture->cbCapacity / 2 > _cbPicture)
            continue;
        m_vecPictures.erase(m_vecPictures.begin() + static_cast<ptrdiff_t>(n));
        return pPicture;
    }
    return nullptr;
}

// One at a time, the one that waits longest is at the front.
CZPicture* CZFramePool::TakeStale()
{
    if (m_vecPictures.empty() || m_nClock - m_vecPictures.front()->nLastUsed < c_nStaleAfter)
        return nullptr;
    CZPicture* const pPicture = m_vecPictures.front();
    m_vecPictures.erase(m_vecPictures.begin());
    return pPicture;
}

void CZFramePool::PictureRelease(CZPicture* _pPicture)
{
    if (--_pPicture->nRefs > 0)
        return;
    if (!_pPicture->pData)
    {
        GiveBack(_pPicture);
        return;
    }
    CZPicture* pOver = nullptr;
    {
        std::lock_guard lock(m_mtxFree);
        _pPicture->nLastUsed = m_nClock;
        if (m_vecPictures.size() == c_nMaxPictures)
        {
            pOver = m_vecPictures.front();
            m_vecPictures.erase(m_vecPictures.begin());
        }
        m_vecPictures.push_back(_pPicture);
    }
    if (pOver)
        Destroy(pOver);
}

CZFrame* CZFramePool::FrameTake()
{
    std::lock_guard lock(m_mtxFree);
    if (m_vecFrames.empty())
        return nullptr;
    CZFrame* const pFrame = m_vecFrames.back();
    m_vecFrames.pop_back();
    return pFrame;
}

void CZFramePool::FrameGive(CZFrame* _pFrame)
{
    {
        std::lock_guard lock(m_mtxFree);
        if (m_vecFrames.size() < c_nMaxFrames)
        {
            m_vecFrames.push_back(_pFrame);
            return;
        }
    }
    delete _pFrame;
}
