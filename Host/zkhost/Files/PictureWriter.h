#pragma once

#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/Picture.h"
#include "zkhost/Files/Stream.h"

#include <memory>
#include <string>

/// Writes pictures of one size and kind to an output. What is written gets its final name when the files of the job
/// are committed.
class CZPictureWriter
{
public:
    virtual ~CZPictureWriter() = default;
    /// Throws CZHostError.
    virtual void Write(const PICTURE& _picture) = 0;
    /// The same for pictures of 16 bits a channel, which PNG and raw files take.
    virtual void Write(const DEEP_PICTURE& _picture) = 0;
};

/// Opens an output: *.png, name_%05d.png, *.y4m, "-" (Y4M), or *.raw. The file is made at once, so that two outputs of
/// one name are found before anything is written; those of a sequence are made with their pictures.
///
/// Grey pictures become grey PNG, mono Y4M, RGB8. Pictures with alpha become RGBA PNG (straight alpha), Y4M 4:4:4 with
/// alpha, ARGB32. Opaque ones become RGB PNG, and the given pixel format in Y4M (I420, I422 or c_fccI444) and in raw
/// (any that is written here, rows top-down). With eZFCC_ARGB64 pictures of 16 bits are to come: "-" is raw then, and
/// Y4M refused. They become RGBA PNG of 16 bits, and in raw little-endian words R, G, B, A, as pipes between programs
/// have them (rgba64le). Rate, field order and pixel shape come from the stream. Throws CZUsageError for a name or a
/// format that does not fit. _files must outlive the writer.
std::unique_ptr<CZPictureWriter> PictureWriter_Open(const std::string& _strPath, const STREAM& _stream,
                                                    uint32_t _fccOpaque, CZOutFiles& _files);
