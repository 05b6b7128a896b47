#pragma once

#include "Base/ZMatrix.h"
#include "Base/ZPtr.h"
#include "Image/ImgPlane.h"
#include "Interfaces/IZFFrame.h"
#include "Video/ZFrame.h"

#include <cstdint>
#include <memory>
#include <string>

class CZKeyer;

/// What a file says about its frames.
struct STREAM
{
    ZF_VID_PROPS vidProps = {};
    int64_t nRateNum = 0; ///< frames per second as a fraction; 0 = not known
    int64_t nRateDen = 1;
    int64_t nPixelX = 0; ///< shape of a pixel; 0 = not known
    int64_t nPixelY = 0;
    int64_t nFrames = -1; ///< how many frames there are, of a video as it says itself; -1 = not known before the end
    Z_YUV_FORM yuv = {};  ///< how pictures in YUV are coded; {}: nothing is said
};

/// Sets the rate as a fraction and in the record; 29.97 and its kin become the exact fraction over 1001.
void Stream_SetRate(STREAM& _stream, double _dblRate);
void Stream_SetRate(STREAM& _stream, int64_t _nNum, int64_t _nDen);
/// Sets the pixel shape, and the picture's shape in the record.
void Stream_SetPixelShape(STREAM& _stream, int64_t _nX, int64_t _nY);

/// A record of system memory with the derived row size; interlace 0 counts as progressive.
ZF_VID_PROPS Stream_Props(uint32_t _fccType, int _nWidth, int _nHeight, int32_t _eInterlace);

/// One frame after the other out of a file.
class CZFrameSource
{
public:
    virtual ~CZFrameSource() = default;
    const STREAM& Stream() const
    {
        return m_stream;
    }
    /// The next frame, or an empty pointer after the last one. Throws CZHostError on damage.
    virtual CZPtr<IZFFrame> Next() = 0;
    /// Leaves out so many frames, or as many as there are left.
    virtual void Skip(int64_t _nFrames);

protected:
    /// A frame of the stream's record, its memory from the source's pool.
    CZPtr<IZFFrame> NewFrame();
    /// The planes of a frame, to be written.
    static ZF_VID_PTR WritePtr(IZFFrame* _pFrame);

    STREAM m_stream;

private:
    CZPtr<CZFramePool> m_cpPool;
};

/// Opens an input: *.png and *.jpg, name_%05d.png, *.y4m, "-" (Y4M), *.raw with its description (else empty), or any
/// other file that ffmpeg reads. Throws CZHostError; CZUsageError when the name or the description is wrong.
std::unique_ptr<CZFrameSource> Stream_Open(const std::string& _strPath, const std::string& _strRawSpec);
/// The same from the n-th frame on, counted from 0: exactly that one comes first, and none where there are fewer.
std::unique_ptr<CZFrameSource> Stream_OpenAt(const std::string& _strPath, const std::string& _strRawSpec,
                                             int64_t _nFirst);

/// Whether an input of this name is read by ffmpeg.
bool Stream_IsVideo(const std::string& _strPath);

/// Sets the options of a keyer that say how pictures in YUV are coded, where the stream says so. A key file that sets
/// them is to be loaded before, and options that a person sets come after.
void Stream_Tell(const STREAM& _stream, CZKeyer& _keyer);
