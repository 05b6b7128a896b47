#pragma once

#include "zkhost/Files/OutFile.h"
#include "zkhost/Files/Picture.h"
#include "zkhost/Files/Stream.h"

#include <memory>
#include <string>

/// What else an output is to be.
struct OUTPUT_WISHES
{
    std::string strSource; ///< a video whose sound, time code and metadata go along into a video; empty: none
    int64_t nFirst = 0;  ///< the frame of the source that the first picture is, counted from 0; sequences begin with it
    int64_t nFrames = 0; ///< how many pictures there will be at most; 0: as many as the source has
    bool bOpaque = false; ///< the pictures will have no alpha
    std::string strCodec; ///< options of ffmpeg, with blanks between them, in the place of those for the kind of video
};

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

/// Opens an output: *.png, name_%05d.png, *.y4m, "-" (Y4M), *.raw, or a video by ffmpeg: *.mov (ProRes), *.mkv (FFV1),
/// *.webm (VP9), which hold alpha, and *.mp4 (H.264) for opaque and grey pictures. The file is made at once, so that
/// two outputs of one name are found before anything is written; those of a sequence are made with their pictures.
///
/// Grey pictures become grey PNG, mono Y4M, RGB8. Pictures with alpha become RGBA PNG (straight alpha), Y4M 4:4:4 with
/// alpha, ARGB32. Opaque ones become RGB PNG, and the given pixel format in Y4M (I420, I422 or c_fccI444) and in raw
/// (any that is written here, rows top-down). With eZFCC_ARGB64 pictures of 16 bits are to come: "-" is raw then, and
/// Y4M refused. They become RGBA PNG of 16 bits, and in raw little-endian words R, G, B, A, as pipes between programs
/// have them (rgba64le). Rate, field order and pixel shape come from the stream. Throws CZUsageError for a name or a
/// format that does not fit. _files must outlive the writer.
std::unique_ptr<CZPictureWriter> PictureWriter_Open(const std::string& _strPath, const STREAM& _stream,
                                                    uint32_t _fccOpaque, CZOutFiles& _files,
                                                    const OUTPUT_WISHES& _wishes = {});
