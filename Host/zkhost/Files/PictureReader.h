#pragma once

#include "zkhost/Files/Picture.h"
#include "zkhost/Files/Stream.h"

/// A picture file (one frame), or a numbered sequence of them, which begins with the lowest number from 0 to 9 that
/// exists and ends before the first one missing. Frames are RGB32, or ARGB32 where the first picture has alpha.
class CZPictureReader : public CZFrameSource
{
public:
    explicit CZPictureReader(const std::string& _strPath);
    CZPtr<IZFFrame> Next() override;
    void Skip(int64_t _nFrames) override;

private:
    void FindFirst();
    void CountFrames();

    std::string m_strPath;
    bool m_bSequence;
    int64_t m_nNumber = 0; ///< of the next picture
    PICTURE m_picture;     ///< the next picture while bLoaded
    bool m_bLoaded = false;
    int64_t m_nLast = 0; ///< number of the last picture
};
