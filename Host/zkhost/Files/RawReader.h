#pragma once

#include "zkhost/Files/InFile.h"
#include "zkhost/Files/Stream.h"

/// Reads a size as "1920x1080"; false when it is none. The height may be negative.
bool Raw_ParseSize(const std::string& _strText, int& _nWidth, int& _nHeight);

/// Reads the value of an option --size. Throws CZUsageError, also for a size that no picture can have.
void Raw_ReadSizeOption(const std::string& _strText, int& _nWidth, int& _nHeight);

/// Code of a pixel format that headerless frames are read and written in, c_fccI444 among them; 0 when the name is
/// none.
uint32_t Raw_ParseFormat(const std::string& _strName);
/// The same for the value of an option --format. Throws CZUsageError.
uint32_t Raw_ReadFormatOption(const std::string& _strName);

/// What a file of headerless frames holds.
struct RAW_SPEC
{
    STREAM stream;        ///< the frames as they are handed out
    uint32_t fccFile = 0; ///< as they lie in the file: the format of those, or c_fccI444, which is handed out as RGB32
};

/// Reads "FCC:WxH[@RATE][i|iT|iB|p][:STRIDE]", for example "UYVY:1920x1080@29.97i" or "RGB32:640x480:-4096". Rows lie
/// top-down, as they are written; those of RGB bottom-up where the stride is negative. The height of RGB may be given
/// as negative, as records of top-down pictures have it, and means the same. Throws CZUsageError.
RAW_SPEC Raw_ParseSpec(const std::string& _strSpec);

/// Headerless frames, one image size after the other. The log warns of a file whose size fits another format better.
class CZRawReader : public CZFrameSource
{
public:
    CZRawReader(const std::string& _strPath, const std::string& _strSpec);
    CZPtr<IZFFrame> Next() override;

private:
    CZRawReader(const std::string& _strPath, const RAW_SPEC& _spec);
    void WarnOfSize() const;

    CZInFile m_file;
    uint32_t m_fccFile;
    std::vector<uint8_t> m_vecPlanes; ///< a frame of full chroma as it is in the file
    size_t m_cbFrame = 0;
    int64_t m_nFrame = 0; ///< frames begun so far
};
