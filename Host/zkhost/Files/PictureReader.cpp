#include "zkhost/Files/PictureReader.h"

#include "Kit/HostError.h"
#include "Kit/Platform.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureFile.h"

#include "Base/ZLog.h"

#include <algorithm>
#include <cstring>

CZPictureReader::CZPictureReader(const std::string& _strPath)
    : m_strPath(_strPath)
    , m_bSequence(NamePattern_IsPattern(_strPath))
{
    if (m_bSequence)
        FindFirst();
    m_picture = PictureFile_Read(NamePattern_Name(m_strPath, m_nNumber));
    m_bLoaded = true;
    m_stream.vidProps = Stream_Props(m_picture.bAlpha ? eZFCC_ARGB32 : eZFCC_RGB32, m_picture.nWidth,
                                     -m_picture.nHeight, eZI_Progressive);
    CountFrames();
}

void CZPictureReader::FindFirst()
{
    constexpr int64_t c_nLastFirst = 9;
    while (m_nNumber < c_nLastFirst && !Platform_Exists(NamePattern_Name(m_strPath, m_nNumber)))
        ++m_nNumber;
    if (!Platform_Exists(NamePattern_Name(m_strPath, m_nNumber)))
        throw CZHostError(ZFormat("no picture of the sequence %s is there; its first one is numbered 0 to %d, as %s",
                                  m_strPath, c_nLastFirst, NamePattern_Name(m_strPath, 0)));
}

void CZPictureReader::CountFrames()
{
    m_stream.nFrames = 1;
    while (m_bSequence && Platform_Exists(NamePattern_Name(m_strPath, m_nNumber + m_stream.nFrames)))
        ++m_stream.nFrames;
    m_nLast = m_bSequence ? INT64_MAX : m_nNumber; // pictures may come while others are read
}

void CZPictureReader::Skip(int64_t _nFrames)
{
    m_nNumber += std::min(_nFrames, m_stream.nFrames);
    m_bLoaded = m_bLoaded && _nFrames == 0;
}

CZPtr<IZFFrame> CZPictureReader::Next()
{
    const std::string strName = NamePattern_Name(m_strPath, m_nNumber);
    if (!m_bLoaded)
    {
        if (m_nNumber > m_nLast || !Platform_Exists(strName))
            return {};
        m_picture = PictureFile_Read(strName);
    }
    if (m_picture.nWidth != m_stream.vidProps.nWidth || m_picture.nHeight != -m_stream.vidProps.nHeight)
        throw CZHostError(ZFormat("%s is %d x %d, the pictures before it are %d x %d; make them all of one size",
                                  strName, m_picture.nWidth, m_picture.nHeight, m_stream.vidProps.nWidth,
                                  -m_stream.vidProps.nHeight));
    m_bLoaded = false;
    ++m_nNumber;
    CZPtr<IZFFrame> cpFrame = NewFrame();
    const ZF_VID_PTR vidPtr = WritePtr(cpFrame.Get());
    for (int y = 0; y < m_picture.nHeight; ++y)
        std::memcpy(Img_RowOf(vidPtr, 0, y), m_picture.Row(y), m_picture.RowBytes());
    return cpFrame;
}
