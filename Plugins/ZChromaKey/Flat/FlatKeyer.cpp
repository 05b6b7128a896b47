#include "ZChromaKey/Flat/FlatKeyer.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Image/ImgPlane.h"
#include "Image/ImgRowReader.h"
#include "Interfaces/ZGuids.h"
#include "Interfaces/ZOptionNames.h"
#include "ZChromaKey/Objects/ClassTable.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <vector>

// Frames and options.

namespace
{

/// What follows from the frames that are handed in, and how they are held.
constexpr std::string_view c_arrOwnOptions[] = {c_szOptionARGB, c_szOptionDepth,  c_szOptionThread,
                                                c_szOptionKeep, c_szOptionMatrix, c_szOptionRange};
/// The values of both, as zck_matrix and zck_range count them.
constexpr const char* c_arrMatrices[] = {"", "601", "709", "2020"};
constexpr const char* c_arrRanges[] = {"", "limited", "full"};

HRESULT CreateObject(REFCLSID _clsid, REFIID _iid, void** _ppvObject)
{
    for (const MODULE_CLASS& row : ClassTable())
        if (row.clsid == _clsid)
            return row.pfnCreate(_iid, _ppvObject);
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT RefuseBusy(const char* _pszWhat)
{
    ZLog(eZLog_Error, "Another %hs has not come to its end for ten seconds; nothing was done\n", _pszWhat);
    return Z_E_TIMEOUT;
}

/// The picture of a frame, its top row first.
HRESULT PictureOf(IZFFrame* _pFrame, FLAT_PICTURE* _pPicture)
{
    const HRESULT hr = _pFrame->VideoPropsGet(&_pPicture->vidProps);
    return SUCCEEDED(hr) ? _pFrame->VideoPtrGet(eZFP_Flip, &_pPicture->vidPtr) : hr;
}

HRESULT CheckSize(const FLAT_PICTURE& _result, const FLAT_PICTURE* _pPictureOrNull, const char* _pszWhat)
{
    if (!_pPictureOrNull || (_pPictureOrNull->vidProps.nWidth == _result.vidProps.nWidth &&
                             std::abs(_pPictureOrNull->vidProps.nHeight) == std::abs(_result.vidProps.nHeight)))
        return S_OK;
    ZLog(eZLog_Error, "The %hs is of %dx%d pixels, must be of %dx%d as the result\n", _pszWhat,
         _pPictureOrNull->vidProps.nWidth, std::abs(_pPictureOrNull->vidProps.nHeight), _result.vidProps.nWidth,
         std::abs(_result.vidProps.nHeight));
    return E_INVALIDARG;
}

/// The alpha of a result that no mask is attached to, for it was not keyed.
HRESULT AlphaCopy(const FLAT_PICTURE& _result, const FLAT_PICTURE& _mask)
{
    CImgRowReader reader;
    const HRESULT hr = reader.Init(_result.vidProps, _result.vidPtr);
    if (FAILED(hr))
        return hr;
    std::vector<uint8_t> vecRow(size_t{4} * static_cast<size_t>(reader.Width()));
    for (int y = 0; y < reader.Height(); ++y)
    {
        const uint8_t* const pRow = reader.Row(y, vecRow.data());
        uint8_t* const pMask = Img_RowOf(_mask.vidPtr, 0, y);
        for (int x = 0; x < reader.Width(); ++x)
            pMask[x] = pRow[4 * x + 3];
    }
    return S_OK;
}

} // namespace

HRESULT CFlatKeyer::Open(int _nGeneration)
{
    if (_nGeneration < ZCK_GENERATION_DEFAULT || _nGeneration > ZCK_GENERATION_2)
    {
        ZLog(eZLog_Error, "There is no generation %d; use %d (the second) to %d\n", _nGeneration,
             ZCK_GENERATION_DEFAULT, ZCK_GENERATION_2);
        return E_INVALIDARG;
    }
    HRESULT hr = CreateObject(_nGeneration == ZCK_GENERATION_1 ? CLSID_ZChromaKey : CLSID_ZChromaKey2, IID_IZFProcess,
                              m_cpProcess.PutVoid());
    if (FAILED(hr))
        return hr;
    m_cpKey1 = ZQuery<IZChromaKey>(m_cpProcess);
    m_cpKey2 = ZQuery<IZChromaKey2>(m_cpProcess);
    m_cpKeys = ZQuery<IZKeys>(m_cpProcess);
    m_cpSteps = ZQuery<IZSteps>(m_cpProcess);
    m_cpProps = ZQuery<IZProps>(m_cpProcess);
    m_cpTables = ZQuery<IZTables>(m_cpProcess);
    m_cpPool = CZFramePool::Create();
    for (const auto& [pszName, pszValue] :
         {std::pair(c_szOptionARGB, "true"), {c_szOptionThread, "false"}, {c_szOptionKeep, "false"}})
        if (SUCCEEDED(hr))
            hr = PropSet(pszName, pszValue);
    if (SUCCEEDED(hr) && IsFirst())
        hr = PropSet(c_szOptionAlpha, "multiply"); // the second generation does by itself
    return hr;
}

void CFlatKeyer::Close()
{
    if (const auto cpPlugin = ZQuery<IZPlugin>(m_cpProcess))
        cpPlugin->Close();
}

HRESULT CFlatKeyer::PropSet(const char* _pszName, const char* _pszValue)
{
    return m_cpProps->PropsSet(ZText_ToWide(_pszName).c_str(), ZText_ToWide(_pszValue).c_str());
}

HRESULT CFlatKeyer::OptionSet(const char* _pszName, const char* _pszValue)
{
    const std::string_view svName = _pszName ? _pszName : "";
    if (std::ranges::find(c_arrOwnOptions, svName) == std::end(c_arrOwnOptions))
        return PropSet(_pszName ? _pszName : "", _pszValue ? _pszValue : "");
    ZLog(eZLog_Error, "Option \"%hs\" follows from the frames that are handed in\n", svName);
    return E_INVALIDARG;
}

/// Bits of a channel that the object is to give, so that the output is the result itself where it can be.
HRESULT CFlatKeyer::DepthSet(uint32_t _fccOut)
{
    const int nDepth = _fccOut == eZFCC_ARGB64 && !IsFirst() ? 16 : 8;
    if (nDepth == m_nDepth)
        return S_OK;
    const HRESULT hr = PropSet(c_szOptionDepth, nDepth == 16 ? "16" : "8");
    m_nDepth = SUCCEEDED(hr) ? nDepth : 0;
    return hr;
}

/// How YUV is coded is an option of the object's, not of its frames.
HRESULT CFlatKeyer::ColorsSet(const FLAT_PICTURE& _picture)
{
    HRESULT hr = S_OK;
    if (_picture.eMatrix != m_eMatrix)
        hr = PropSet(c_szOptionMatrix, c_arrMatrices[_picture.eMatrix]);
    if (SUCCEEDED(hr))
        m_eMatrix = _picture.eMatrix;
    if (SUCCEEDED(hr) && _picture.eRange != m_eRange)
        hr = PropSet(c_szOptionRange, c_arrRanges[_picture.eRange]);
    if (SUCCEEDED(hr))
        m_eRange = _picture.eRange;
    return hr;
}

HRESULT CFlatKeyer::Process(const zck_frame* _pIn, const zck_frame* _pOutOrNull, const zck_frame* _pMaskOrNull)
{
    FLAT_PICTURE in = {};
    FLAT_PICTURE out = {};
    FLAT_PICTURE mask = {};
    if (!_pOutOrNull && !_pMaskOrNull)
    {
        ZLog(eZLog_Error, "Output and mask are missing; one of them must be there\n");
        return E_POINTER;
    }
    HRESULT hr = FlatPicture_Read(_pIn, "input", &in);
    if (SUCCEEDED(hr) && _pOutOrNull)
        hr = FlatPicture_Read(_pOutOrNull, "output", &out);
    if (SUCCEEDED(hr) && _pMaskOrNull)
        hr = FlatPicture_Read(_pMaskOrNull, "mask", &mask);
    if (SUCCEEDED(hr) && _pMaskOrNull && mask.vidProps.fccType != eZFCC_RGB8)
    {
        ZLog(eZLog_Error, "The mask must be of format RGB8, a byte a pixel\n");
        hr = E_NOTIMPL;
    }
    if (FAILED(hr))
        return hr;
    const CZTimedGuard guard(&m_lockFrame);
    if (!guard)
        return RefuseBusy("frame");
    hr = DepthSet(out.vidProps.fccType);
    if (SUCCEEDED(hr))
        hr = ColorsSet(in);
    if (FAILED(hr))
        return hr;
    if (!m_cpFrame)
        m_cpFrame =
            CZPtr<CFlatFrame>::Adopt(new CFlatFrame(m_cpPool, CZPtr<CFlatFrame>::Adopt(new CFlatFrame(m_cpPool, {}))));
    m_cpFrame->Aim(in, _pOutOrNull && !FlatPicture_Overlap(in, out) ? &out : nullptr);
    {
        CZPtr<IZFFrame> cpResult;
        hr = m_cpProcess->OnMediaReceive(m_cpFrame.Get(), cpResult.Put());
        if (SUCCEEDED(hr))
            hr = cpResult ? ResultWrite(cpResult.Get(), _pOutOrNull ? &out : nullptr, _pMaskOrNull ? &mask : nullptr)
                          : E_UNEXPECTED;
    }
    m_cpFrame->TargetClear();
    if (!m_cpFrame->IsFree())
        m_cpFrame.Reset(); // a thread that hangs in the log still has it
    return hr;
}

HRESULT CFlatKeyer::ResultWrite(IZFFrame* _pResult, const FLAT_PICTURE* _pOutOrNull, const FLAT_PICTURE* _pMaskOrNull)
{
    FLAT_PICTURE result = {};
    HRESULT hr = PictureOf(_pResult, &result);
    if (SUCCEEDED(hr))
        hr = CheckSize(result, _pOutOrNull, "output");
    if (SUCCEEDED(hr))
        hr = CheckSize(result, _pMaskOrNull, "mask");
    if (SUCCEEDED(hr) && _pOutOrNull)
        hr = FlatPicture_Copy(result, *_pOutOrNull);
    if (FAILED(hr) || !_pMaskOrNull)
        return hr;
    CZPtr<IUnknown> cpObject;
    FLAT_PICTURE mask = {};
    _pResult->AttachmentGet(L"mask", cpObject.Put());
    const auto cpMask = ZQuery<IZFFrame>(cpObject);
    if (!cpMask)
        return AlphaCopy(result, *_pMaskOrNull);
    hr = PictureOf(cpMask.Get(), &mask);
    return SUCCEEDED(hr) ? FlatPicture_Copy(mask, *_pMaskOrNull) : hr;
}

HRESULT CFlatKeyer::Flush()
{
    return m_cpProcess->OnMediaFlush();
}

/// A failure that the log does not repeat with every frame keeps the words that it had.
void CFlatKeyer::ErrorSet(HRESULT _hr, const std::string& _strText)
{
    const std::lock_guard lock(m_mtxError);
    if (!_strText.empty())
        m_strError = _strText;
    else if (_hr != m_hrError)
        m_strError = _hr == S_FALSE ? "nothing has changed" : ZFormat("result code %08X; the log may say more", _hr);
    m_hrError = _hr;
}

std::string CFlatKeyer::ErrorGet()
{
    const std::lock_guard lock(m_mtxError);
    return m_strError;
}
