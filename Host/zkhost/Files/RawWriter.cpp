#include "zkhost/Files/RawWriter.h"

#include "zkhost/Files/FullChroma.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Video/ZFrameWriter.h"

#include <cstring>
#include <utility>

void CZFramePacker::Make(const PICTURE& _picture, uint32_t _fccType, int32_t _eInterlace)
{
    ZF_VID_PROPS vidProps = Stream_Props(_fccType, _picture.nWidth, _picture.nHeight, _eInterlace);
    vidProps.nHeight = FCC_IsRGB(_fccType) ? -vidProps.nHeight : vidProps.nHeight; // RGB top-down
    VidProps_Normalize(&vidProps, false);
    if (vidProps.nWidth != _picture.nWidth || std::abs(vidProps.nHeight) != _picture.nHeight)
        throw CZUsageError(ZFormat("%d x %d cannot be written as %s, which needs an even %s", _picture.nWidth,
                                   _picture.nHeight, FCC_Name(_fccType),
                                   vidProps.nWidth != _picture.nWidth ? "width" : "height"));
    m_vecBytes.assign(static_cast<size_t>(VidProps_ImageSize(&vidProps)), 0);
    m_vidPtr = VidPtr_Build(&vidProps, Img_Address(m_vecBytes.data()), false);
    if (_picture.nChannels == 1)
    {
        for (int y = 0; y < _picture.nHeight; ++y)
            std::memcpy(Img_RowOf(m_vidPtr, 0, y), _picture.Row(y), _picture.RowBytes());
        return;
    }
    const HRESULT hr =
        ZFrameWriter_Write(vidProps, m_vidPtr, _picture.Row(0), static_cast<ptrdiff_t>(_picture.RowBytes()));
    if (FAILED(hr))
        throw CZUsageError(ZFormat("frames cannot be written as %s (hr=%08X)", FCC_Name(_fccType), hr));
}

CZRawWriter::CZRawWriter(const std::string& _strPath, const STREAM& _stream, uint32_t _fccOpaque, CZOutFiles& _files)
    : m_eInterlace(_stream.vidProps.eInterlace)
    , m_fccOpaque(_fccOpaque)
    , m_file(_files.Create(_strPath))
{
}

void CZRawWriter::Write(const PICTURE& _picture)
{
    const uint32_t fccType = _picture.nChannels == 1 ? eZFCC_RGB8 : _picture.bAlpha ? eZFCC_ARGB32 : m_fccOpaque;
    if (fccType == c_fccI444)
    {
        FullChroma_FromPicture(_picture, m_vecPlanes);
        return m_file.Write(m_vecPlanes.data(), m_vecPlanes.size());
    }
    // Field order matters only where chroma is shared between rows.
    m_packer.Make(_picture, fccType, FCC_IsRGB(fccType) ? eZI_Progressive : m_eInterlace);
    m_file.Write(m_packer.Bytes().data(), m_packer.Bytes().size());
}

void CZRawWriter::Write(const DEEP_PICTURE& _picture)
{
    m_vecWords = _picture.vecWords;
    for (size_t i = 0; i < m_vecWords.size(); i += 4)
        std::swap(m_vecWords[i], m_vecWords[i + 2]); // to R, G, B, A
    m_file.Write(m_vecWords.data(), m_vecWords.size() * sizeof(uint16_t));
}
