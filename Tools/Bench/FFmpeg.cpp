#include "Bench/FFmpeg.h"

#include "Kit/HostError.h"
#include "Kit/Process.h"

#include "Base/ZLog.h"
#include "Image/ImgColor.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace
{

namespace fs = std::filesystem;

constexpr int c_nFrames = 40;
constexpr int c_nRuns = 2; // of each filter; the least counts

/// A picture as raw frames for ffmpeg, in memory where the system has such files. Removed again.
class CRawFile
{
public:
    CRawFile(const PICTURE& _picture, const std::string& _strPixelFormat)
        : m_path((fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) /
                 ("zck_bench_" + std::to_string(reinterpret_cast<uintptr_t>(this)) + ".raw"))
    {
        const std::vector<uint8_t> vecFrame = _strPixelFormat == "bgra" ? _picture.vecPixels : PlanarOf(_picture);
        std::ofstream file(m_path, std::ios::binary);
        file.write(reinterpret_cast<const char*>(vecFrame.data()), static_cast<std::streamsize>(vecFrame.size()));
        if (!file.flush())
            throw CZHostError(ZFormat("cannot write %s; is there space?", m_path.string()));
    }
    ~CRawFile()
    {
        std::error_code err;
        fs::remove(m_path, err);
    }
    CRawFile(const CRawFile&) = delete;
    CRawFile& operator=(const CRawFile&) = delete;
    std::string Path() const
    {
        return m_path.string();
    }

private:
    /// Planes Y, U, V and alpha, all of full size.
    static std::vector<uint8_t> PlanarOf(const PICTURE& _picture)
    {
        const size_t nPixels = _picture.vecPixels.size() / 4;
        std::vector<uint8_t> vecYUVA(4 * nPixels), vecPlanes(4 * nPixels);
        for (int y = 0; y < _picture.nHeight; ++y)
            Img_RowToYUV(_picture.Row(y), vecYUVA.data() + static_cast<size_t>(y) * _picture.RowBytes(),
                         _picture.nWidth, eZYM_601);
        for (size_t n = 0; n < 4 * nPixels; ++n)
            vecPlanes[n % 4 * nPixels + n / 4] = vecYUVA[n];
        return vecPlanes;
    }
    fs::path m_path;
};

double NumberAfter(const std::string& _strText, const char* _pszWord)
{
    const size_t nAt = _strText.rfind(_pszWord);
    return nAt == std::string::npos ? -1 : std::atof(_strText.c_str() + nAt + std::string_view(_pszWord).size());
}

/// Processor seconds of a run over all frames.
double RunSeconds(const BENCH_FILTER& _filter, const PICTURE& _picture, const std::string& _strFile)
{
    const std::string strSize = ZFormat("%dx%d", _picture.nWidth, _picture.nHeight);
    const PROCESS_RESULT result = Process_Run({"ffmpeg",
                                               "-nostdin",
                                               "-hide_banner",
                                               "-benchmark",
                                               "-threads",
                                               "1",
                                               "-f",
                                               "rawvideo",
                                               "-pixel_format",
                                               _filter.pszPixelFormat,
                                               "-video_size",
                                               strSize,
                                               "-stream_loop",
                                               std::to_string(c_nFrames - 1),
                                               "-i",
                                               _strFile,
                                               "-filter_threads",
                                               "1",
                                               "-vf",
                                               _filter.pszFilter,
                                               "-f",
                                               "null",
                                               "-"});
    std::string strText;
    for (const std::string& strLine : result.vecSaid)
        strText += ZFormat("%s\n", strLine);
    const double dblUser = NumberAfter(strText, "utime="), dblSystem = NumberAfter(strText, "stime=");
    if (result.nExit != 0 || dblUser < 0 || dblSystem < 0 || NumberAfter(strText, "frame=") != c_nFrames)
        throw CZHostError(ZFormat("ffmpeg with %hs failed:\n%s", _filter.pszFilter, strText));
    return dblUser + dblSystem;
}

} // namespace

bool FFmpeg_IsThere()
{
    return Process_IsThere("ffmpeg");
}

double FFmpeg_FilterSeconds(const BENCH_FILTER& _filter, const PICTURE& _picture)
{
    const CRawFile file(_picture, _filter.pszPixelFormat);
    double dblNull = 1e9, dblFilter = 1e9;
    for (int i = 0; i < c_nRuns; ++i)
    {
        dblNull = std::min(dblNull, RunSeconds({"null", _filter.pszPixelFormat}, _picture, file.Path()));
        dblFilter = std::min(dblFilter, RunSeconds(_filter, _picture, file.Path()));
    }
    return (dblFilter - dblNull) / c_nFrames;
}
