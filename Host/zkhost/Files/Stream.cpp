#include "zkhost/Files/Stream.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/HostError.h"
#include "Kit/Keyer.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureReader.h"
#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/UsageError.h"
#include "zkhost/Files/VideoReader.h"
#include "zkhost/Files/Y4mReader.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>

void Stream_SetRate(STREAM& _stream, int64_t _nNum, int64_t _nDen)
{
    _stream.nRateNum = _nNum > 0 && _nDen > 0 ? _nNum : 0;
    _stream.nRateDen = _stream.nRateNum ? _nDen : 1;
    _stream.vidProps.dblRate = static_cast<double>(_stream.nRateNum) / static_cast<double>(_stream.nRateDen);
}

void Stream_SetRate(STREAM& _stream, double _dblRate)
{
    const double dblWhole = std::round(_dblRate);
    const double dblNtsc = std::round(_dblRate * 1.001); // 23.98, 29.97, 59.94 ...
    if (std::abs(_dblRate - dblWhole) < 0.001)
        Stream_SetRate(_stream, static_cast<int64_t>(dblWhole), 1);
    else if (std::abs(_dblRate - dblNtsc / 1.001) < 0.01)
        Stream_SetRate(_stream, static_cast<int64_t>(dblNtsc) * 1000, 1001);
    else
        Stream_SetRate(_stream, static_cast<int64_t>(std::round(_dblRate * 1000)), 1000);
}

void Stream_SetPixelShape(STREAM& _stream, int64_t _nX, int64_t _nY)
{
    if (_nX < 1 || _nY < 1)
        return;
    _stream.nPixelX = _nX;
    _stream.nPixelY = _nY;
    const int64_t nX = _nX * _stream.vidProps.nWidth;
    const int64_t nY = _nY * std::abs(_stream.vidProps.nHeight);
    const int64_t nDivisor = std::gcd(nX, nY);
    if (nX / nDivisor > INT16_MAX || nY / nDivisor > INT16_MAX)
        return; // the record cannot say it
    _stream.vidProps.nAspectX = static_cast<int16_t>(nX / nDivisor);
    _stream.vidProps.nAspectY = static_cast<int16_t>(nY / nDivisor);
}

ZF_VID_PROPS Stream_Props(uint32_t _fccType, int _nWidth, int _nHeight, int32_t _eInterlace)
{
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = _fccType;
    vidProps.nWidth = _nWidth;
    vidProps.nHeight = _nHeight;
    vidProps.eInterlace = _eInterlace == eZI_NotSet ? eZI_Progressive : _eInterlace;
    return vidProps;
}

CZPtr<IZFFrame> CZFrameSource::NewFrame()
{
    if (!m_cpPool)
        m_cpPool = CZFramePool::Create();
    CZPtr<CZFrame> cpFrame;
    const HRESULT hr = ZFrame_Create(m_stream.vidProps, cpFrame.Put(), m_cpPool.Get());
    if (FAILED(hr))
        throw CZHostError(ZFormat("no frame of %d x %d could be made (hr=%08X); is there enough memory?",
                                  m_stream.vidProps.nWidth, std::abs(m_stream.vidProps.nHeight), hr));
    return CZPtr<IZFFrame>::Adopt(cpFrame.Detach());
}

ZF_VID_PTR CZFrameSource::WritePtr(IZFFrame* _pFrame)
{
    ZF_VID_PTR vidPtr = {};
    const HRESULT hr = _pFrame->VideoPtrGet(eZFP_Write, &vidPtr);
    if (hr != S_OK)
        throw CZHostError(ZFormat("a new frame cannot be written (hr=%08X)", hr));
    return vidPtr;
}

void CZFrameSource::Skip(int64_t _nFrames)
{
    while (_nFrames-- > 0 && Next())
        ;
}

bool Stream_IsVideo(const std::string& _strPath)
{
    constexpr const char* c_arrOwn[] = {"raw", "y4m", "png", "jpg", "jpeg"};
    return _strPath != "-" && std::ranges::find(c_arrOwn, NamePattern_Extension(_strPath)) == std::end(c_arrOwn);
}

std::unique_ptr<CZFrameSource> Stream_Open(const std::string& _strPath, const std::string& _strRawSpec)
{
    return Stream_OpenAt(_strPath, _strRawSpec, 0);
}

std::unique_ptr<CZFrameSource> Stream_OpenAt(const std::string& _strPath, const std::string& _strRawSpec,
                                             int64_t _nFirst)
{
    const std::string strType = NamePattern_Extension(_strPath);
    const bool bRaw = strType == "raw" || (_strPath == "-" && !_strRawSpec.empty());
    if (bRaw && _strRawSpec.empty())
        throw CZUsageError(ZFormat("%s has no header; say what is in it, as --in UYVY:1920x1080@25", _strPath));
    if (!bRaw && !_strRawSpec.empty())
        throw CZUsageError(
            ZFormat("--in describes headerless frames (*.raw or \"-\"); %s says itself what it holds", _strPath));
    if (Stream_IsVideo(_strPath))
        return std::make_unique<CZVideoReader>(_strPath, _nFirst);
    std::unique_ptr<CZFrameSource> upSource;
    if (bRaw)
        upSource = std::make_unique<CZRawReader>(_strPath, _strRawSpec);
    else if (strType == "y4m" || _strPath == "-")
        upSource = std::make_unique<CZY4mReader>(_strPath);
    else
        upSource = std::make_unique<CZPictureReader>(_strPath);
    upSource->Skip(_nFirst);
    return upSource;
}

void Stream_Tell(const STREAM& _stream, CZKeyer& _keyer)
{
    constexpr const char* c_arrMatrices[] = {"601", "709", "2020"};
    if (_stream.yuv.nMatrix)
        _keyer.OptionNeed(c_szOptionMatrix, c_arrMatrices[_stream.yuv.nMatrix - 1]);
    if (_stream.yuv.bFull)
        _keyer.OptionNeed(c_szOptionRange, "full");
}
