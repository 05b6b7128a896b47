#pragma once

#include "zkhost/Files/PictureWriter.h"
#include "zkhost/Files/Probe.h"

#include <optional>

/// What a video file is to hold.
enum class eVideoKind
{
    Alpha,     ///< B, G, R, A
    DeepAlpha, ///< the same in words of 16 bits
    Opaque,    ///< B, G, R and a byte of nothing
    Grey,
};

/// Whether a name is that of a video that is written here.
bool VideoOutput_IsOne(const std::string& _strPath);
/// Whether such a video keeps more than 8 bits a channel.
bool VideoOutput_IsDeep(const std::string& _strPath);
/// The names of those that hold alpha, for a message.
std::string VideoOutput_AlphaNames();

/// The arguments of ffmpeg that read pictures from its standard input and write a video. A pure function.
/// _strTarget: where it writes. _optSource: what ffprobe says of the file whose sound, time code and metadata go along,
/// by its name in the wishes. Throws CZUsageError where a video of that name cannot hold the kind.
std::vector<std::string> VideoOutput_Arguments(const std::string& _strPath, const std::string& _strTarget,
                                               eVideoKind _eKind, int _nWidth, int _nHeight, const STREAM& _stream,
                                               const OUTPUT_WISHES& _wishes, const std::optional<PROBE>& _optSource);
