#include "zkhost/Files/Y4mReader.h"

#include "Kit/HostError.h"
#include "zkhost/Files/FullChroma.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr size_t c_nMaxLine = 1024;
constexpr size_t c_cbFrameLine = 6; // "FRAME" and the line end
constexpr size_t c_cbStep = size_t{16} << 20;

int32_t InterlaceOf(const Y4M_HEADER& _header)
{
    if (_header.nHeight % 2) // fields need whole pairs of rows
        return eZI_Progressive;
    return _header.chInterlace == 't' ? eZI_TopFirst : _header.chInterlace == 'b' ? eZI_BottomFirst : eZI_Progressive;
}

/// Full range to studio range, in place.
void ToStudioRange(uint8_t* _pSamples, size_t _nSamples, int _nLow, int _nSpan)
{
    uint8_t arrMap[256];
    for (int i = 0; i < 256; ++i)
        arrMap[i] = static_cast<uint8_t>(_nLow + (i * _nSpan + 127) / 255);
    for (size_t i = 0; i < _nSamples; ++i)
        _pSamples[i] = arrMap[_pSamples[i]];
}

} // namespace

CZY4mReader::CZY4mReader(const std::string& _strPath)
    : m_file(_strPath)
{
    std::string strLine;
    if (!m_file.ReadLine(strLine, c_nMaxLine, "the stream header"))
        throw CZHostError(ZFormat("%s is empty; a Y4M stream was expected", m_file.Name()));
    m_header = Y4m_ParseHeader(strLine, m_file.Name());
    m_cbHeader = strLine.size() + 1;
    InitStream();
}

bool CZY4mReader::IsNative() const
{
    const Y4M_LAYOUT& layout = *m_header.pLayout;
    return layout.nPlanes == 3 && layout.nShiftX == 1 && m_header.nWidth % 2 == 0 &&
           (layout.nShiftY == 0 || m_header.nHeight % 2 == 0);
}

void CZY4mReader::InitStream()
{
    uint32_t fccType = m_header.pLayout->nPlanes == 4 ? eZFCC_ARGB32 : eZFCC_RGB32;
    int nHeight = -m_header.nHeight; // top-down
    if (IsNative())
    {
        fccType = m_header.pLayout->nShiftY ? eZFCC_I420 : eZFCC_I422;
        nHeight = m_header.nHeight;
    }
    m_stream.vidProps = Stream_Props(fccType, m_header.nWidth, nHeight, InterlaceOf(m_header));
    Stream_SetRate(m_stream, m_header.nRateNum, m_header.nRateDen);
    Stream_SetPixelShape(m_stream, m_header.nPixelX, m_header.nPixelY);
    const int64_t cbFile = m_file.Size();
    const auto cbFrame = static_cast<int64_t>(m_header.FrameBytes() + c_cbFrameLine);
    if (cbFile >= 0)
        m_stream.nFrames = (cbFile - static_cast<int64_t>(m_cbHeader)) / cbFrame;
}

bool CZY4mReader::ReadFrameLine()
{
    std::string strLine;
    const std::string strWhat = ZFormat("the header of frame %d", m_nFrame + 1);
    if (!m_file.ReadLine(strLine, c_nMaxLine, strWhat.c_str()))
        return false;
    ++m_nFrame;
    if (strLine != "FRAME" && !strLine.starts_with("FRAME "))
        throw CZHostError(ZFormat("%s: frame %d does not begin with \"FRAME\"; the stream is damaged before it",
                                  m_file.Name(), m_nFrame));
    return true;
}

void CZY4mReader::ReadSamples()
{
    const size_t cbFrame = m_header.FrameBytes();
    // The memory for the first frame grows with what is there: a header alone must not take a gigabyte.
    for (size_t cbRead = 0; cbRead < cbFrame;)
    {
        const size_t cbWanted = std::min(std::max(m_vecSamples.size(), cbRead + c_cbStep), cbFrame);
        m_vecSamples.resize(cbWanted);
        cbRead += m_file.Read(m_vecSamples.data() + cbRead, cbWanted - cbRead);
        if (cbRead < cbWanted)
            throw CZHostError(ZFormat("%s: frame %d is cut off: %d of its %d bytes are there; the copy is incomplete",
                                      m_file.Name(), m_nFrame, cbRead, cbFrame));
    }
    if (!m_header.bFullRange)
        return;
    const size_t nLuma = m_header.PlaneWidth(0) * m_header.PlaneHeight(0);
    ToStudioRange(m_vecSamples.data(), nLuma, 16, 219);
    if (m_header.pLayout->nPlanes > 1)
        ToStudioRange(m_vecSamples.data() + nLuma, 2 * m_header.PlaneWidth(1) * m_header.PlaneHeight(1), 16, 224);
}

CZPtr<IZFFrame> CZY4mReader::Next()
{
    if (!ReadFrameLine())
        return {};
    ReadSamples();
    CZPtr<IZFFrame> cpFrame = NewFrame();
    if (IsNative())
        CopyPlanes(cpFrame.Get());
    else
        FullChroma_ToRows(m_header, m_vecSamples.data(), WritePtr(cpFrame.Get()));
    return cpFrame;
}

void CZY4mReader::CopyPlanes(IZFFrame* _pFrame) const
{
    const ZF_VID_PTR vidPtr = WritePtr(_pFrame);
    const uint8_t* pSamples = m_vecSamples.data();
    for (int i = 0; i < 3; ++i)
        for (int y = 0; y < static_cast<int>(m_header.PlaneHeight(i)); ++y, pSamples += m_header.PlaneWidth(i))
            std::memcpy(Img_RowOf(vidPtr, i, y), pSamples, m_header.PlaneWidth(i));
}
