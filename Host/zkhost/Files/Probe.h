#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A ratio as a file says it; 0 below or above: not known.
struct PROBE_RATIO
{
    int64_t nNum = 0;
    int64_t nDen = 0;

    bool IsKnown() const
    {
        return nNum > 0 && nDen > 0;
    }
    double Value() const
    {
        return IsKnown() ? static_cast<double>(nNum) / static_cast<double>(nDen) : 0;
    }
};

/// What ffprobe says of a file: its first track of moving pictures, and of the others what matters beside them. Texts
/// are ffmpeg's names; empty: not known.
struct PROBE
{
    std::string strContainer; ///< names of the file's kind, with commas
    double dblFileStart = 0;  ///< seconds: the first of all its times

    int nTrack = -1; ///< the number of the track of pictures; -1: there is none
    std::string strCodec;
    std::string strPixels; ///< pixel format
    int64_t nWidth = 0;    ///< as coded, not turned yet
    int64_t nHeight = 0;
    std::string strFields; ///< progressive, tt, bb, tb, bt: which field is coded first and which is shown first
    std::string strMatrix;
    std::string strRange;
    std::string strPrimaries;
    std::string strTransfer;
    PROBE_RATIO rate;            ///< the lowest rate that all times fit
    PROBE_RATIO rateMean;        ///< frames by duration
    PROBE_RATIO pixelShape;      ///< width by height of a pixel
    int64_t nFrames = -1;        ///< as the file says; -1: it does not
    double dblDuration = 0;      ///< seconds; 0: not known
    double dblStart = 0;         ///< seconds: the time of the first picture
    int64_t nRotation = 0;       ///< degrees, counter-clockwise, by which pictures are to be turned
    bool bSeparateAlpha = false; ///< VP8 and VP9: alpha lies beside the pictures

    std::string strTimeCode;
    std::vector<std::string> vecSounds; ///< codecs of the tracks of sound
};

/// Reads lines NAME=VALUE or NAME="VALUE" as "ffprobe -of flat" writes them. Names that are not known are skipped.
/// Throws CZHostError, naming _strWhere, on anything else, and on sizes that no picture can have.
PROBE Probe_Parse(std::string_view _svText, const std::string& _strWhere);

/// Runs ffprobe on a file. Throws CZHostError with its words where it fails, and where the file has no pictures.
PROBE Probe_File(const std::string& _strPath);
