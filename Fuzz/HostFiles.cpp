// Files that zkhost reads: any bytes as a Y4M stream, as a picture, or as headerless frames of any description. They
// give frames of the size that was announced, or end with a message.

#include "Support/FuzzTarget.h"

#include "Base/ZHelpers.h"
#include "Kit/HostError.h"
#include "zkhost/Files/NamePattern.h"
#include "zkhost/Files/PictureReader.h"
#include "zkhost/Files/RawReader.h"
#include "zkhost/Files/Y4mHeader.h"
#include "zkhost/Files/Y4mReader.h"

#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

constexpr int c_nMostFrames = 8;

/// Puts bytes into a file in memory and gives its name.
const std::string& FileOf(std::string_view _svBytes)
{
    static const int s_nFile = memfd_create("fuzz", 0);
    static const std::string s_strPath = "/proc/self/fd/" + std::to_string(s_nFile);
    const bool bWritten = ftruncate(s_nFile, 0) == 0 &&
                          pwrite(s_nFile, _svBytes.data(), _svBytes.size(), 0) == static_cast<ssize_t>(_svBytes.size());
    FUZZ_REQUIRE(bWritten);
    return s_strPath;
}

void ReadFrames(CZFrameSource& _source)
{
    const ZF_VID_PROPS& vidStream = _source.Stream().vidProps;
    FUZZ_REQUIRE(vidStream.nWidth > 0 && vidStream.nHeight != 0);
    for (int nFrame = 0; nFrame < c_nMostFrames; ++nFrame)
    {
        const CZPtr<IZFFrame> cpFrame = _source.Next();
        if (!cpFrame)
            return;
        ZF_VID_PROPS vidProps = {};
        FUZZ_REQUIRE(cpFrame->VideoPropsGet(&vidProps) == S_OK);
        FUZZ_REQUIRE(vidProps.nWidth == vidStream.nWidth && vidProps.nHeight == vidStream.nHeight);
        PICTURE picture;
        Picture_FromFrame(cpFrame.Get(), picture);
        FUZZ_REQUIRE(picture.nWidth == vidProps.nWidth && picture.nHeight == std::abs(vidProps.nHeight));
    }
}

/// Pictures that take seconds to decode teach nothing; those over the limits are to be refused. Looks for sizes where
/// headers have them: in the first chunk of a PNG, after any start of frame of a JPEG.
bool IsHandy(std::string_view _svBytes)
{
    const auto fnNumber = [&](size_t _nAt, size_t _nBytes) {
        int64_t nValue = 0;
        for (size_t n = _nAt; n < _nAt + _nBytes && n < _svBytes.size(); ++n)
            nValue = nValue << 8 | static_cast<uint8_t>(_svBytes[n]);
        return nValue;
    };
    const auto fnIsHandy = [](int64_t _nWidth, int64_t _nHeight) {
        return !Picture_SizeFault(_nWidth, _nHeight).empty() || _nWidth * _nHeight <= 1 << 16;
    };
    if (_svBytes.starts_with("\x89PNG"))
        return fnIsHandy(fnNumber(16, 4), fnNumber(20, 4));
    for (size_t n = 0; n + 9 < _svBytes.size(); ++n)
        if (_svBytes[n] == '\xFF' && _svBytes[n + 1] >= '\xC0' && _svBytes[n + 1] <= '\xC2' &&
            !fnIsHandy(fnNumber(n + 7, 2), fnNumber(n + 5, 2)))
            return false;
    return true;
}

void ReadFile(CByteReader& _in)
{
    switch (_in.Byte() % 3)
    {
    case 0: {
        CZY4mReader reader(FileOf(_in.Rest()));
        return ReadFrames(reader);
    }
    case 1: {
        const std::string_view svBytes = _in.Rest();
        if (!IsHandy(svBytes))
            return;
        CZPictureReader reader(FileOf(svBytes));
        return ReadFrames(reader);
    }
    default: {
        const std::string strSpec(_in.Line());
        const STREAM stream = Raw_ParseSpec(strSpec).stream;
        const int64_t cbFrame = VidProps_ImageSize(&stream.vidProps);
        FUZZ_REQUIRE(cbFrame > 0 && cbFrame <= int64_t{4} * c_nMaxPixels);
        if (cbFrame > 1 << 20)
            return;
        CZRawReader reader(FileOf(_in.Rest()), strSpec);
        return ReadFrames(reader);
    }
    }
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    try
    {
        ReadFile(_in);
    }
    catch (const CZHostError& error)
    {
        FUZZ_REQUIRE(*error.what());
    }
}
