#pragma once

#include "zkhost/Files/PictureWriter.h"

/// Makes pictures into frames of a pixel format, in memory that is used again.
class CZFramePacker
{
public:
    /// The frame, one plane after the other from plane 0 on; padding bytes are 0. Throws CZUsageError for a
    /// format that cannot be written, or cannot keep this size.
    void Make(const PICTURE& _picture, uint32_t _fccType, int32_t _eInterlace);
    const ZF_VID_PTR& Planes() const
    {
        return m_vidPtr;
    }
    const std::vector<uint8_t>& Bytes() const
    {
        return m_vecBytes;
    }

private:
    std::vector<uint8_t> m_vecBytes;
    ZF_VID_PTR m_vidPtr = {};
};

/// Headerless frames.
class CZRawWriter : public CZPictureWriter
{
public:
    CZRawWriter(const std::string& _strPath, const STREAM& _stream, uint32_t _fccOpaque, CZOutFiles& _files);
    void Write(const PICTURE& _picture) override;
    void Write(const DEEP_PICTURE& _picture) override;

private:
    int32_t m_eInterlace;
    uint32_t m_fccOpaque;
    CZOutFile& m_file; // belongs to the files of the job
    CZFramePacker m_packer;
    std::vector<uint16_t> m_vecWords;
    std::vector<uint8_t> m_vecPlanes;
};
