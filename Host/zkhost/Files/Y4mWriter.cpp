#include "zkhost/Files/Y4mWriter.h"

#include "zkhost/Files/FullChroma.h"
#include "zkhost/Files/UsageError.h"

#include "Base/ZLog.h"

#include <utility>

CZY4mWriter::CZY4mWriter(const std::string& _strPath, const STREAM& _stream, uint32_t _fccOpaque, CZOutFiles& _files)
    : m_stream(_stream)
    , m_fccOpaque(_fccOpaque)
    , m_file(_files.Create(_strPath))
{
    if (_fccOpaque != eZFCC_I420 && _fccOpaque != eZFCC_I422 && _fccOpaque != c_fccI444)
        throw CZUsageError(
            ZFormat("%s: a Y4M stream holds I420, I422 or I444; write other formats to *.raw", _strPath));
}

const char* CZY4mWriter::LayoutOf(const PICTURE& _picture) const
{
    if (_picture.nChannels == 1)
        return "mono";
    if (_picture.bAlpha)
        return "444alpha";
    return m_fccOpaque == eZFCC_I420 ? "420jpeg" : m_fccOpaque == eZFCC_I422 ? "422" : "444";
}

void CZY4mWriter::WriteHeaders(const PICTURE& _picture)
{
    if (!std::exchange(m_bBegun, true))
        m_file.Write(Y4m_HeaderText(m_stream, _picture.nWidth, _picture.nHeight, LayoutOf(_picture)));
    m_file.Write("FRAME\n", 6);
}

void CZY4mWriter::Write(const PICTURE& _picture)
{
    const bool bPlain = _picture.nChannels == 1 || _picture.bAlpha || m_fccOpaque == c_fccI444;
    if (!bPlain) // may refuse the size, and does so before anything is written
        m_packer.Make(_picture, m_fccOpaque, m_stream.vidProps.eInterlace);
    WriteHeaders(_picture);
    if (!bPlain)
        WritePlanes(m_packer.Planes());
    else if (_picture.nChannels == 1)
        m_file.Write(_picture.vecPixels.data(), _picture.vecPixels.size());
    else
        WriteFullChroma(_picture);
}

void CZY4mWriter::Write(const DEEP_PICTURE& /*_picture*/)
{
    throw CZUsageError(ZFormat("%s: a Y4M stream with alpha has 8 bits; write 16 to *.png or *.raw", m_file.Name()));
}

void CZY4mWriter::WritePlanes(const ZF_VID_PTR& _vidPtr)
{
    for (int i = 0; i < 3; ++i)
        for (int y = 0; y < _vidPtr.szVideoPlanes[i].cy; ++y)
            m_file.Write(Img_RowOf(_vidPtr, i, y), static_cast<size_t>(_vidPtr.szVideoPlanes[i].cx));
}

void CZY4mWriter::WriteFullChroma(const PICTURE& _picture)
{
    FullChroma_FromPicture(_picture, m_vecPlanes);
    m_file.Write(m_vecPlanes.data(), m_vecPlanes.size());
}
