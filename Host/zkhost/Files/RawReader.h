#pragma once

#include "zkhost/Files/InFile.h"
#include "zkhost/Files/Stream.h"

/// Reads a size as "1920x1080"; false when it is none. The height may be negative.
bool Raw_ParseSize(const std::string& _strText, int& _nWidth, int& _nHeight);

/// Reads the value of an option --size. Throws CZUsageError, also for a size that no picture can have.
void Raw_ReadSizeOption(const std::string& _strText, int& _nWidth, int& _nHeight);

/// Code of a pixel format that frames are read and written in; 0 when the name is none.
uint32_t Raw_ParseFormat(const std::string& _strName);
/// The same for the value of an option --format. Throws CZUsageError.
uint32_t Raw_ReadFormatOption(const std::string& _strName);

/// Reads "FCC:WxH[@RATE][i|iT|iB|p][:STRIDE]", for example "UYVY:1920x1080@29.97i" or "RGB32:640x-480:4096".
/// Throws CZUsageError.
STREAM Raw_ParseSpec(const std::string& _strSpec);

/// Headerless frames, one image size after the other.
class CZRawReader : public CZFrameSource
{
public:
    CZRawReader(const std::string& _strPath, const std::string& _strSpec);
    CZPtr<IZFFrame> Next() override;

private:
    CZRawReader(const std::string& _strPath, const STREAM& _stream);

    CZInFile m_file;
    size_t m_cbFrame = 0;
    int64_t m_nFrame = 0; ///< frames begun so far
};
