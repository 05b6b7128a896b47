// How near the second generation's pixels on the GPU come to the CPU's, measured at length: whole scenes, and pictures
// that somebody has. It takes minutes, so only runs that ask for it have it (Docs/Testing.md).

#include "Gpu/UnmixStreams.h"
#include "zkhost/Files/PictureFile.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <ostream>
#include <string_view>

namespace
{

constexpr int c_arrTold[] = {1, 2, 8, 24}; // after so many frames a row tells how many pixels are off

/// What is keyed: a scene's frames, or one picture again and again.
struct AGREEMENT_CASE
{
    std::string strName;
    std::function<PICTURE(int)> fnPicture; ///< the n-th frame
    int nFrames;

    friend void PrintTo(const AGREEMENT_CASE& _case, std::ostream* _pStream) // where a test fails
    {
        *_pStream << _case.strName;
    }
};

std::vector<AGREEMENT_CASE> CasesOfScenes()
{
    std::vector<AGREEMENT_CASE> vecCases;
    for (const HARD_SCENE& scene : HardScene_All())
        vecCases.push_back({scene.pszName, [&scene](int _n) { return HardPicture(scene, 480, 270, _n); }, 24});
    return vecCases;
}

/// Cut to even sides: planes of odd size are refused in textures.
PICTURE EvenPicture(const std::string& _strPath)
{
    const PICTURE picture = PictureFile_Read(_strPath);
    return Picture_Cropped(picture, 0, 0, picture.nWidth & ~1, picture.nHeight & ~1);
}

std::vector<AGREEMENT_CASE> CasesOfFolder(const std::string& _strFolder)
{
    std::vector<AGREEMENT_CASE> vecCases;
    for (const auto& entry : std::filesystem::directory_iterator(_strFolder))
        vecCases.push_back(
            {entry.path().stem().string(), [strPath = entry.path().string()](int) { return EvenPicture(strPath); }, 2});
    std::ranges::sort(vecCases, {}, &AGREEMENT_CASE::strName);
    return vecCases;
}

std::vector<AGREEMENT_CASE> Cases()
{
    const char* const pszWanted = std::getenv("ZCK_TEST_AGREEMENT");
    if (!pszWanted)
        return {};
    return std::string_view(pszWanted) == "scenes" ? CasesOfScenes() : CasesOfFolder(pszWanted);
}

std::string TestNameOf(const testing::TestParamInfo<AGREEMENT_CASE>& _info)
{
    std::string strName = _info.param.strName; // letters and digits alone
    std::ranges::replace_if(
        strName, [](unsigned char _c) { return !std::isalnum(_c); }, '_');
    return strName;
}

/// A stream in one format, keyed on the CPU and, from memory and from textures, on the GPU.
class CFormatStreams
{
public:
    explicit CFormatStreams(uint32_t _fccType)
        : m_fccType(_fccType)
    {
        for (GPUUnmix* const pKeyer : {&m_keyerMemory, &m_keyerTexture})
            EXPECT_EQ(pKeyer->DeviceInit(Gpu_Device()), S_OK);
    }

    void Key(const SCENE& _scene)
    {
        const auto cpFrame = SamplesOf(_scene, m_fccType, eZI_Progressive);
        const UNMIX_INPUT input = InputOf(cpFrame.Get());
        const BYTES vecCPU = m_streams.OnCPU(input);
        for (size_t n = 3; n < vecCPU.size(); n += 4)
            ++m_arrAlphas[vecCPU[n]];
        Compare(m_streams.OnGPU(input), vecCPU, &m_arrWays[0]);
        Compare(FromTexture(cpFrame.Get()), vecCPU, &m_arrWays[1]);
        ++m_nFrames;
    }
    /// The rows of the table; a stream that nothing was keyed in would agree for nothing.
    void Tell(const std::string& _strName)
    {
        EXPECT_GT(m_arrAlphas[0], 0);
        const int64_t nAll = std::accumulate(std::begin(m_arrAlphas), std::end(m_arrAlphas), int64_t{0});
        const double dblMixed = 100.0 * static_cast<double>(nAll - m_arrAlphas[0] - m_arrAlphas[255]) /
                                static_cast<double>(std::max(nAll, int64_t{1}));
        for (const WAY& way : m_arrWays)
            std::fputs(ZFormat("| %s | %s, %hs |%s %d | %d | %.1f |\n", _strName, FCC_Name(m_fccType), way.pszName,
                               way.strTold, way.nWorst, way.nMost, dblMixed)
                           .c_str(),
                       stdout);
        std::fflush(stdout);
    }

private:
    struct WAY
    {
        const char* pszName;
        std::string strTold; ///< pixels off after the frames of c_arrTold
        int nWorst = 0;      ///< pixels off of any frame
        int nMost = 0;       ///< levels
    };

    BYTES FromTexture(CZFrame* _pFrame)
    {
        ENGINE_GPU_OPTIONS options = c_unmixOptions;
        options.eMatrix = Img_MatrixOf(PropsOf(_pFrame));
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_keyerTexture.Key(SamplesInTexture(_pFrame).Get(), m_learner, options, cpRes.Put()), S_OK);
        return PixelsIn(cpRes.Get());
    }
    void Compare(const BYTES& _vecGPU, const BYTES& _vecCPU, WAY* _pWay) const
    {
        SCOPED_TRACE(ZFormat("%hs, %hs, frame %d", FCC_Name(m_fccType), _pWay->pszName, m_nFrames + 1));
        AGREEMENT agreement;
        agreement.Add(_vecGPU, _vecCPU);
        agreement.Check();
        if (std::ranges::count(c_arrTold, m_nFrames + 1) > 0)
            _pWay->strTold += ZFormat(" %d |", agreement.nOutside);
        _pWay->nWorst = std::max(_pWay->nWorst, agreement.nOutside);
        _pWay->nMost = std::max(_pWay->nMost, agreement.nMost);
    }

    const uint32_t m_fccType;
    int m_nFrames = 0;
    int64_t m_arrAlphas[256] = {}; ///< how many pixels of the CPU have each
    GPUUnmix m_keyerMemory;
    GPUUnmix m_keyerTexture;
    STREAMS m_streams{m_keyerMemory, {}};
    UNMIX_STATE m_stateTexture;
    LEARNER m_learner{m_stateTexture, m_streams.setup};
    WAY m_arrWays[2] = {{"memory", ""}, {"texture", ""}};
};

class GpuAgreement : public testing::TestWithParam<AGREEMENT_CASE>
{
};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(GpuAgreement); // without ZCK_TEST_AGREEMENT
INSTANTIATE_TEST_SUITE_P(Of, GpuAgreement, testing::ValuesIn(Cases()), TestNameOf);

TEST_P(GpuAgreement, IsWithinItsBounds)
{
    CFormatStreams arrFormats[] = {CFormatStreams(eZFCC_ARGB32), CFormatStreams(eZFCC_UYVY), CFormatStreams(eZFCC_NV12),
                                   CFormatStreams(eZFCC_P010)};
    for (int n = 0; n < GetParam().nFrames; ++n)
    {
        const SCENE scene = SceneOf(GetParam().fnPicture(n));
        for (CFormatStreams& format : arrFormats)
            format.Key(scene);
    }
    for (CFormatStreams& format : arrFormats)
        format.Tell(GetParam().strName);
}

} // namespace
