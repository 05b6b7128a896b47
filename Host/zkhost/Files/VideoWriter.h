#pragma once

#include "zkhost/Files/PictureWriter.h"
#include "zkhost/Files/VideoOutput.h"

class CZVideoEncoder;

/// A video that ffmpeg writes beside this program. It takes sound, time code and metadata of the source along.
class CZVideoWriter : public CZPictureWriter
{
public:
    /// _bDeep: pictures of 16 bits are to come.
    CZVideoWriter(const std::string& _strPath, const STREAM& _stream, bool _bDeep, const OUTPUT_WISHES& _wishes,
                  CZOutFiles& _files);
    void Write(const PICTURE& _picture) override;
    void Write(const DEEP_PICTURE& _picture) override;

private:
    void WriteBytes(eVideoKind _eKind, int _nWidth, int _nHeight, const void* _pBytes, size_t _cbBytes);

    std::string m_strPath;
    STREAM m_stream;
    OUTPUT_WISHES m_wishes;
    std::shared_ptr<CZVideoEncoder> m_spEncoder; ///< the file has it as well, and ends it before it gets its name
    std::string m_strTarget;
};
