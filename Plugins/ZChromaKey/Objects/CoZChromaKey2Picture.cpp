#include "ZChromaKey/Objects/CoZChromaKey2.h"

#include "Base/ZAssert.h"
#include "Base/ZBorder.h"
#include "Base/ZSaturate.h"
#include "Image/ImgPlane.h"
#include "Props/PropText.h"
#include "Video/ZFrame.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"
#include "ZChromaKey/Keys2/FramePick.h"

#include <cstring>

// What is a picture: plate, regions, views; and what is known of the last frame.

namespace
{

/// A frame of our own with the bytes of a picture, row by row from the top.
HRESULT FrameOf(uint32_t _fccType, int32_t _nWidth, int32_t _nHeight, const std::vector<uint8_t>& _vecBytes,
                IZFFrame** _ppFrame)
{
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = _fccType;
    vidProps.nWidth = _nWidth;
    vidProps.nHeight = -_nHeight;
    CZPtr<CZFrame> cpFrame;
    ZF_VID_PTR vidPtr = {};
    HRESULT hr = ZFrame_Create(vidProps, cpFrame.Put());
    if (SUCCEEDED(hr))
        hr = cpFrame->VideoPtrGet(eZFP_Flip | eZFP_Write, &vidPtr);
    if (FAILED(hr))
        return hr;
    const size_t cbRow = _vecBytes.size() / static_cast<size_t>(_nHeight);
    for (int32_t y = 0; y < _nHeight; ++y)
        std::memcpy(Img_RowOf(vidPtr, 0, y), _vecBytes.data() + static_cast<size_t>(y) * cbRow, cbRow);
    *_ppFrame = cpFrame.Detach();
    return S_OK;
}

/// A number of the statistics under its name.
struct STAT
{
    const char* pszName;
    double (*pfnValue)(const CHROMA_KEY2_STATS& _stats);
};
constexpr STAT c_arrStats[] = {
    {"backdrop", [](const CHROMA_KEY2_STATS& _stats) { return _stats.dblBackdrop; }},
    {"mixed", [](const CHROMA_KEY2_STATS& _stats) { return _stats.dblMixed; }},
    {"solid", [](const CHROMA_KEY2_STATS& _stats) { return _stats.dblSolid; }},
    {"noise", [](const CHROMA_KEY2_STATS& _stats) { return _stats.dblNoise; }},
    {"milliseconds", [](const CHROMA_KEY2_STATS& _stats) { return _stats.dblMilliseconds; }},
    {"plate_frames", [](const CHROMA_KEY2_STATS& _stats) { return static_cast<double>(_stats.nPlateFrames); }},
    {"cuts", [](const CHROMA_KEY2_STATS& _stats) { return static_cast<double>(_stats.nCuts); }},
    {"keyed_on", [](const CHROMA_KEY2_STATS& _stats) { return static_cast<double>(_stats.eKeyedOnValue); }},
};

bool IsRegion(int32_t _eRegion)
{
    if (_eRegion >= 0 && _eRegion < Z_REGIONS)
        return true;
    ZLog(eZLog_Error, "CCoZChromaKey2: there is no region %d; use %d to %d\n", _eRegion, eRegion_Garbage,
         eRegion_Backdrop);
    return false;
}

} // namespace

HRESULT CCoZChromaKey2::PlateLearn(eLearn _eLearn)
{
    return ZBorder(Method("PlateLearn"), [&] {
        const HRESULT hr = m_keyState.ParamSet("learn", static_cast<int32_t>(_eLearn));
        return FAILED(hr) ? hr : S_OK;
    });
}

HRESULT CCoZChromaKey2::PlateSet(IZFFrame* _pZFramePlateOrNull)
{
    return ZBorder(Method("PlateSet"), [&]() -> HRESULT {
        std::shared_ptr<IMG_PICTURE> spPlate;
        if (_pZFramePlateOrNull)
        {
            spPlate = std::make_shared<IMG_PICTURE>();
            const HRESULT hr = FramePick_Picture(_pZFramePlateOrNull, spPlate.get(), ChromaKeyOptions_YUV(Store()));
            if (FAILED(hr))
                return hr;
        }
        m_keyState.PlateSet(std::move(spPlate));
        return S_OK;
    });
}

HRESULT CCoZChromaKey2::PlateGet(IZFFrame** _ppZFramePlate)
{
    return ZBorder(Method("PlateGet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_ppZFramePlate))
            return E_POINTER;
        *_ppZFramePlate = nullptr;
        IMG_PICTURE picture;
        const HRESULT hr = m_engine.PlateGet(&picture);
        if (hr != S_OK)
            return hr;
        return FrameOf(eZFCC_RGB32, picture.nWidth, picture.nHeight, picture.vecBGRA, _ppZFramePlate);
    });
}

/// A polygon counts the pixels of the frame that points refer to.
HRESULT CCoZChromaKey2::PolygonMake(const std::string& _strPolygon, std::shared_ptr<KEY2_REGION>* _pspRegion)
{
    const CZPtr<IZFFrame> cpFrame = m_keyState.FrameGet();
    ZF_VID_PROPS vidProps = {};
    if (!cpFrame || FAILED(cpFrame->VideoPropsGet(&vidProps)))
    {
        ZLog(eZLog_Error, "CCoZChromaKey2::RegionSet: there is no frame whose pixels a polygon could count; set one "
                          "with FrameSet or send one in\n");
        return E_UNEXPECTED;
    }
    std::string strReason;
    *_pspRegion = Region_OfPolygon(_strPolygon, vidProps.nWidth, ZAbs32(vidProps.nHeight), &strReason);
    if (!*_pspRegion)
        ZLog(eZLog_Error, "CCoZChromaKey2::RegionSet: %hs\n", strReason);
    return *_pspRegion ? S_OK : E_INVALIDARG;
}

HRESULT CCoZChromaKey2::RegionSet(eRegion _eRegion, IZFFrame* _pZFrameMaskOrNull, BSTR _bsPolygon)
{
    return ZBorder(Method("RegionSet"), [&]() -> HRESULT {
        if (!IsRegion(_eRegion))
            return E_INVALIDARG;
        std::shared_ptr<KEY2_REGION> spRegion;
        const HRESULT hr = RegionMake(_pZFrameMaskOrNull, ZText_FromWide(_bsPolygon ? _bsPolygon : L""), &spRegion);
        return FAILED(hr) ? hr : m_keyState.RegionSet(_eRegion, std::move(spRegion));
    });
}

/// A region from a mask or a polygon; none from neither.
HRESULT CCoZChromaKey2::RegionMake(IZFFrame* _pMaskOrNull, const std::string& _strPolygon,
                                   std::shared_ptr<KEY2_REGION>* _pspRegion)
{
    if (_pMaskOrNull && !_strPolygon.empty())
    {
        ZLog(eZLog_Error, "CCoZChromaKey2::RegionSet: give a mask or a polygon, not both\n");
        return E_INVALIDARG;
    }
    if (!_pMaskOrNull)
        return _strPolygon.empty() ? S_OK : PolygonMake(_strPolygon, _pspRegion);
    auto spRegion = std::make_shared<KEY2_REGION>();
    const HRESULT hr = FramePick_Mask(_pMaskOrNull, &spRegion->mask, ChromaKeyOptions_YUV(Store()));
    if (SUCCEEDED(hr))
        *_pspRegion = std::move(spRegion);
    return hr;
}

HRESULT CCoZChromaKey2::RegionGet(eRegion _eRegion, IZFFrame** _ppZFrameMask)
{
    return ZBorder(Method("RegionGet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_ppZFrameMask))
            return E_POINTER;
        *_ppZFrameMask = nullptr;
        if (!IsRegion(_eRegion))
            return E_INVALIDARG;
        const auto spRegion = m_keyState.EditGet().arrRegions[static_cast<size_t>(_eRegion)];
        if (!spRegion)
            return S_FALSE;
        const IMG_MASK& mask = spRegion->mask;
        return FrameOf(eZFCC_RGB8, mask.nWidth, mask.nHeight, mask.vecBytes, _ppZFrameMask);
    });
}

HRESULT CCoZChromaKey2::ViewSet(eView _eView)
{
    return ZBorder(Method("ViewSet"), [&] {
        const HRESULT hr = m_keyState.ParamSet("view", static_cast<int32_t>(_eView));
        return FAILED(hr) ? hr : S_OK;
    });
}

HRESULT CCoZChromaKey2::FrameSet(IZFFrame* _pZFrameOrNull)
{
    CZPtr<IZFFrame> cpFrame(_pZFrameOrNull); // takes the old one along, to be let go of after the lock is released
    return ZBorder(Method("FrameSet"), [&] {
        m_keyState.FrameSetSwap(&cpFrame);
        return S_OK;
    });
}

HRESULT CCoZChromaKey2::StatsGet(CHROMA_KEY2_STATS* _pStats)
{
    return ZBorder(Method("StatsGet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pStats))
            return E_POINTER;
        *_pStats = {};
        return m_engine.StatsGet(_pStats);
    });
}

HRESULT CCoZChromaKey2::StatGet(BSTR _bsName, double* _pdblValue)
{
    return ZBorder(Method("StatGet"), [&]() -> HRESULT {
        if (!Z_VERIFY(_pdblValue))
            return E_POINTER;
        *_pdblValue = 0;
        CHROMA_KEY2_STATS stats = {};
        const HRESULT hr = m_engine.StatsGet(&stats);
        const std::string strName = ZText_FromWide(_bsName ? _bsName : L"");
        std::string strNames;
        for (const STAT& stat : c_arrStats)
        {
            if (strName == stat.pszName)
            {
                *_pdblValue = stat.pfnValue(stats);
                return hr;
            }
            strNames += ZFormat(" %hs", stat.pszName);
        }
        ZLog(eZLog_Error, "CCoZChromaKey2::StatGet: there is no number %hs; there are%hs\n", PropText_Quote(strName),
             strNames);
        return E_INVALIDARG;
    });
}
