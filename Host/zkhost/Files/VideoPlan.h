#pragma once

#include "zkhost/Files/Probe.h"
#include "zkhost/Files/Stream.h"

/// How a video is taken out of its file: what is asked of ffmpeg, and what its frames are here. A pure function of what
/// ffprobe says.
struct VIDEO_PLAN
{
    STREAM stream;           ///< of the frames as they are handed out
    std::string strPixels;   ///< ffmpeg's pixel format in the pipe
    bool bByTime = false;    ///< as many frames as the rate asks for are taken by their times; else all as they come
    bool bIrregular = false; ///< and it is known that some will come twice or not at all
    bool bMatrix = false;    ///< ffmpeg makes RGB of YUV here
    bool bSeeks = false;     ///< the file finds a frame by its time, and exactly that one
    double dblOffset = 0;    ///< seconds from the file's begin to its first picture
};
VIDEO_PLAN VideoPlan_Make(const PROBE& _probe);

/// ffmpeg's name of a matrix (Z_YUV_FORM::nMatrix), of what goes with the size where there is none.
const char* VideoPlan_MatrixName(int32_t _nMatrix, const ZF_VID_PROPS& _vidProps);

/// Whether ffmpeg jumps to a place before the n-th frame instead of counting from the first. What it says of the
/// pictures there is no sign of damage.
bool VideoPlan_Seeks(const VIDEO_PLAN& _plan, int64_t _nFirst);

/// The arguments of ffmpeg that write the frames of a file to its standard output, from the n-th on, counted from 0.
std::vector<std::string> VideoPlan_Arguments(const VIDEO_PLAN& _plan, const PROBE& _probe, const std::string& _strPath,
                                             int64_t _nFirst);
