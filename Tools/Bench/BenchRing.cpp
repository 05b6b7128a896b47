#include "Bench/BenchRing.h"

#include "Kit/HostError.h"
#include "Sample/KeyScene.h"
#include "zkhost/Files/Stream.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgPlane.h"

#include <cstring>

size_t BenchRing_Count(int _nWidth, int _nHeight)
{
    constexpr int64_t c_nManyPixels = 3840 * 2160;
    return int64_t{_nWidth} * _nHeight > c_nManyPixels ? 3 : 10;
}

BENCH_RING BenchRing_Make(uint32_t _fccType, int _nWidth, int _nHeight)
{
    BENCH_RING ring(BenchRing_Count(_nWidth, _nHeight));
    const ZF_VID_PROPS vidProps = Stream_Props(_fccType, _nWidth, -_nHeight, eZI_Progressive);
    for (CZPtr<IZFFrame>& cpFrame : ring)
    {
        CZPtr<CZFrame> cpNew;
        if (const HRESULT hr = ZFrame_Create(vidProps, cpNew.Put()); FAILED(hr))
            throw CZHostError(ZFormat("no memory for %d frames of %d x %d (hr=%08X); measure a smaller size",
                                      ring.size(), _nWidth, _nHeight, hr));
        cpFrame = CZPtr<IZFFrame>::Adopt(cpNew.Detach());
        std::memset(BenchRing_Bytes(cpFrame.Get()), 255, static_cast<size_t>(VidProps_ImageSize(&vidProps)));
    }
    return ring;
}

uint8_t* BenchRing_Bytes(IZFFrame* _pFrame)
{
    ZF_VID_PTR vidPtr = {};
    return SUCCEEDED(_pFrame->VideoPtrGet(eZFP_Write, &vidPtr)) ? Img_RowOf(vidPtr, 0, 0) : nullptr;
}

BENCH_RING BenchRing_OfScene(const PICTURE& _picture, uint32_t _fccType)
{
    BENCH_RING ring(BenchRing_Count(_picture.nWidth, _picture.nHeight));
    ring[0] = KeyScene_Frame(_picture, _fccType);
    for (size_t i = 1; i < ring.size(); ++i)
        if (const HRESULT hr = ZQuery<IZFFrame2>(ring[0])->FrameClone(eZFC_OwnPicture, ring[i].Put()); FAILED(hr))
            throw CZHostError(ZFormat("no memory for %d frames (hr=%08X); measure a smaller size", ring.size(), hr));
    return ring;
}
