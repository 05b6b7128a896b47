#pragma once

#include "zkhost/Files/RawWriter.h"

/// A Y4M file or pipe: mono, 4:4:4 with alpha, or for opaque pictures 4:2:0, 4:2:2 or 4:4:4.
class CZY4mWriter : public CZPictureWriter
{
public:
    CZY4mWriter(const std::string& _strPath, const STREAM& _stream, uint32_t _fccOpaque, CZOutFiles& _files);
    void Write(const PICTURE& _picture) override;
    void Write(const DEEP_PICTURE& _picture) override; ///< throws: there is no such Y4M

private:
    const char* LayoutOf(const PICTURE& _picture) const;
    void WriteHeaders(const PICTURE& _picture);
    void WritePlanes(const ZF_VID_PTR& _vidPtr);
    void WriteFullChroma(const PICTURE& _picture);

    STREAM m_stream;
    uint32_t m_fccOpaque;
    CZOutFile& m_file; // belongs to the files of the job
    bool m_bBegun = false;
    CZFramePacker m_packer;
    std::vector<uint8_t> m_vecPlanes;
};
