// Each pass of the second generation by itself, in both profiles, against its definition.

#include "DirectX/Pipeline/GPURenderer.h"
#include "Gpu/PipelineSupport.h"
#include "Gpu/UnmixTwin.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <span>
#include <utility>

namespace
{

using TEXTURE = CZPtr<ID3D11Texture2D>;

constexpr int c_nTwinWidth = 37; // no cell divides it
constexpr int c_nTwinHeight = 45;
constexpr int c_nTwinCells = 10;
constexpr int c_nTwinPlates = 5;

template <class T> TEXTURE TextureOf(int _nWidth, DXGI_FORMAT _eFormat, const std::vector<T>& _vec)
{
    const auto* const p = reinterpret_cast<const uint8_t*>(_vec.data());
    const std::vector<uint8_t> vecBytes(p, p + _vec.size() * sizeof(T));
    const auto nRows = vecBytes.size() / (static_cast<size_t>(_nWidth) * Gpu_TexelBytes(_eFormat));
    return Gpu_Texture(static_cast<uint32_t>(_nWidth), static_cast<uint32_t>(nRows), _eFormat, vecBytes);
}

/// Numbers of a texture.
template <class T> std::vector<T> NumbersIn(const std::vector<uint8_t>& _vecBytes)
{
    std::vector<T> vec(_vecBytes.size() / sizeof(T));
    std::memcpy(vec.data(), _vecBytes.data(), vec.size() * sizeof(T));
    return vec;
}

/// A pass as it is drawn.
struct TWIN_PASS
{
    std::string strText;
    std::vector<TEXTURE> vecInputs;
    const void* pConstants;
    size_t cbConstants;
    DXGI_FORMAT eFormat;
    int nWidth = c_nTwinWidth;
    int nHeight = c_nTwinHeight;

    std::vector<uint8_t> Drawn(ID3D11PixelShader* _pShader) const
    {
        std::vector<ID3D11Texture2D*> vecInputsBare;
        for (const TEXTURE& cpInput : vecInputs)
            vecInputsBare.push_back(cpInput.Get());
        const GPU_TARGET target = {static_cast<uint32_t>(nWidth), static_cast<uint32_t>(nHeight), eFormat,
                                   Gpu_Props(eZFCC_ARGB32, nWidth, -nHeight)};
        CZPtr<IDX11Texture> cpOut;
        EXPECT_EQ(Renderer("Twin").RenderInputs(Gpu_Wrapper().Get(), vecInputsBare,
                                                {_pShader, nullptr, pConstants, cbConstants}, target,
                                                Gpu_Allocator().Get(), cpOut.Put()),
                  S_OK);
        return Gpu_Read(Gpu_TextureIn(cpOut.Get()).Get());
    }
};

/// A shader whose text is compiled once; the code is nothing of a device.
CZPtr<ID3D11PixelShader> ShaderOf(const std::string& _strText, D3D_FEATURE_LEVEL _eLevel)
{
    static std::map<std::pair<std::string, D3D_FEATURE_LEVEL>, CZPtr<ID3DBlob>> s_mapCode;
    CZPtr<ID3DBlob>& cpCode = s_mapCode[{_strText, _eLevel}];
    if (!cpCode)
    {
        EXPECT_EQ(DX11Device::Shader_Compile(_strText.c_str(), eDXS_Pixel, _eLevel, cpCode.Put()), S_OK);
    }
    CZPtr<ID3D11PixelShader> cpShader;
    EXPECT_EQ(
        Gpu_Device()->CreatePixelShader(cpCode->GetBufferPointer(), cpCode->GetBufferSize(), nullptr, cpShader.Put()),
        S_OK);
    return cpShader;
}

class GpuUnmixTwin : public testing::Test
{
protected:
    GpuUnmixTwin()
    {
        UNMIX_CONSTANTS& c = m_twin.constants;
        c = {};
        Take(c.anPicture, {c_nTwinWidth, c_nTwinHeight, 2, 1});
        Take(c.anGrid, {c_nTwinCells, 6, c_nTwinPlates, 3}); // of 23 and 22 rows
        Take(c.anFilter, {90, 0, 0, 120});
        Take(c.anDeep, {0, 0, 1, 0});
        c.arrClips[0] = .02f;
        c.arrClips[1] = .97f;
        PlatesMake();
        PictureMake();
        for (int n = 0; n < 2 * 6 * c_nTwinCells; ++n)
            m_twin.vecCells.push_back(static_cast<uint32_t>(Pick(0, 15) | Pick(0, 2) << 8 | Pick(0, 15) << 12) |
                                      static_cast<uint32_t>(Pick(-9000, 9000)) << 16);
        for (UNMIX_SHADER_RULES& rules : std::span(c.arrRules).first(3))
            rules = RulesAny();
        for (int n = 0; n < c_nTwinWidth * c_nTwinHeight; ++n)
            m_twin.vecPast.push_back(static_cast<int16_t>(n % 9 == 0 ? -32768 : Pick(-1000, 9000)));
    }

    static void Take(int32_t (&_anTo)[4], const std::array<int32_t, 4>& _an)
    {
        std::copy_n(_an.begin(), 4, _anTo);
    }
    int Pick(int _nFrom, int _nTo)
    {
        return _nFrom + static_cast<int>(m_random() % static_cast<uint32_t>(_nTo - _nFrom + 1));
    }
    float Share(int _nFrom, int _nTo, int _nOf)
    {
        return static_cast<float>(Pick(_nFrom, _nTo)) / static_cast<float>(_nOf);
    }
    /// A green backdrop, and any foreground, of which some is hardly known or not at all.
    void PlatesMake()
    {
        for (int n = 0; n < 3 * c_nTwinPlates; ++n)
            for (const int nLevel : {50, 160, 60, 4})
                m_twin.vecBack.push_back(static_cast<float>(nLevel) + Share(-80, 80, 8));
        for (int n = 0; n < 2 * 3 * c_nTwinPlates; ++n)
        {
            const float fltConfidence = n % 4 == 0 ? 0 : Share(1, 64, 64);
            for (const int nMost : {255, 120, 255})
                m_twin.vecFore.push_back(Share(0, nMost, 1) * fltConfidence);
            m_twin.vecFore.push_back(fltConfidence);
        }
        for (int n = 0; n < 3 * c_nTwinPlates; ++n)
            m_twin.vecShade.push_back(n % 3 == 0 ? 0 : Share(0, 64, 64));
    }
    /// Any colours, and colours between backdrop and foreground, with hard alpha.
    void PictureMake()
    {
        for (int n = 0; n < c_nTwinWidth * c_nTwinHeight; ++n)
        {
            const float fltAlpha = Share(-2, 18, 16);
            const bool bAny = Pick(0, 3) == 0;
            for (const int nBack : {50, 160, 60})
                m_twin.vecPicture.push_back(static_cast<uint8_t>(
                    bAny ? Pick(0, 255)
                         : std::clamp(static_cast<int>(static_cast<float>(nBack) +
                                                       fltAlpha * static_cast<float>(200 - nBack)) +
                                          Pick(-6, 6),
                                      0, 255)));
            m_twin.vecPicture.push_back(static_cast<uint8_t>(Pick(0, 2) ? 255 : Pick(0, 255)));
            for (std::vector<uint8_t>* const pvec : {&m_twin.vecGarbage, &m_twin.vecHoldOut, &m_twin.vecMarked})
                pvec->push_back(static_cast<uint8_t>(std::clamp(Pick(-300, 400), 0, 255)));
        }
    }
    /// Of a green key.
    UNMIX_SHADER_RULES RulesAny()
    {
        UNMIX_SHADER_RULES rules = {};
        constexpr int32_t c_anX[3] = {-32, 64, -32}, c_anZ[3] = {-32, 0, 32};
        constexpr float c_arrX[3] = {-.5f, 1, -.5f}, c_arrZ[3] = {-.5f, 0, .5f};
        for (int n = 0; n < 3; ++n)
        {
            rules.anX[n] = c_anX[n];
            rules.anZ[n] = c_anZ[n];
            rules.anTake[n] = Pick(0, 1500);
            rules.arrX[n] = c_arrX[n];
            rules.arrZ[n] = c_arrZ[n];
            rules.arrTake[n] = Share(0, 1500, 1024);
            rules.arrBeyond[n] = Share(0, 90, 64);
        }
        rules.nWedge = Pick(4000, 14000);
        rules.nLimit = Pick(0, 500);
        rules.nOwn = Pick(0, 1 << 20);
        rules.nLeast = Pick(0, 1 << 15);
        rules.anGlare[0] = Pick(0, 1 << 14);
        rules.fltLimit = Share(0, 500, 256);
        rules.fltLeast = Share(0, 32, 16);
        rules.fltOwn = Share(0, 64, 1);
        rules.fltLeastX = 12;
        rules.fltWedge = Share(4000, 14000, 8192);
        rules.fltOneSquareX = 1 / 1.5f;
        rules.fltClip = Share(0, 40, 4);
        return rules;
    }

    TEXTURE Picture() const
    {
        return TextureOf(c_nTwinWidth, DXGI_FORMAT_B8G8R8A8_UNORM, m_twin.vecPicture);
    }
    /// What the passes over pixels take, t0 to t8.
    std::vector<TEXTURE> Inputs() const
    {
        const auto Mask = [](const std::vector<uint8_t>& _vec) {
            return TextureOf(c_nTwinWidth, DXGI_FORMAT_R8_UNORM, _vec);
        };
        return {Picture(),
                TextureOf(c_nTwinCells, DXGI_FORMAT_R32_UINT, m_twin.vecCells),
                TextureOf(c_nTwinPlates, DXGI_FORMAT_R32G32B32A32_FLOAT, m_twin.vecBack),
                TextureOf(c_nTwinPlates, DXGI_FORMAT_R32G32B32A32_FLOAT, m_twin.vecFore),
                TextureOf(c_nTwinWidth, DXGI_FORMAT_R16_SINT, m_twin.vecPast),
                Mask(m_twin.vecGarbage),
                Mask(m_twin.vecHoldOut),
                TextureOf(c_nTwinPlates, DXGI_FORMAT_R32_FLOAT, m_twin.vecShade),
                Mask(m_twin.vecMarked)};
    }
    TWIN_PASS Pass(std::string _strText, std::vector<TEXTURE> _vecInputs, DXGI_FORMAT _eFormat) const
    {
        return {std::move(_strText), std::move(_vecInputs), &m_twin.constants, sizeof(m_twin.constants), _eFormat};
    }
    /// Calls _check with the texels that each profile draws. _nCase: of those that one Direct3D alone goes through.
    static void Check(const TWIN_PASS& _pass, size_t _nCase,
                      const std::function<void(const std::vector<uint8_t>&)>& _check)
    {
        for (const auto eLevel : {D3D_FEATURE_LEVEL_10_0, D3D_FEATURE_LEVEL_11_0})
        {
            SCOPED_TRACE(eLevel);
            if (!Gpu_IsLeftOut(_nCase++))
                _check(_pass.Drawn(ShaderOf(_pass.strText, eLevel).Get()));
        }
    }

    std::mt19937 m_random{7};
    UNMIX_TWIN m_twin;
};

/// Whether rendered pixels are what _fnExpected says of their places; a step to whole levels may fall otherwise in one
/// of a hundred.
void ExpectPixels(const std::vector<uint8_t>& _vecBytes, const std::function<UNMIX_TWIN::PIXEL(int, int)>& _fnExpected)
{
    ASSERT_EQ(_vecBytes.size(), size_t{4} * c_nTwinWidth * c_nTwinHeight);
    int nOff = 0;
    for (size_t n = 0; n < _vecBytes.size(); n += 4)
    {
        const int nPixel = static_cast<int>(n / 4);
        const UNMIX_TWIN::PIXEL expected = _fnExpected(nPixel % c_nTwinWidth, nPixel / c_nTwinWidth);
        double dblMost = 0;
        for (size_t c = 0; c < 4; ++c)
            dblMost = std::max(dblMost, std::abs(_vecBytes[n + c] - expected[c]));
        EXPECT_LE(dblMost, 1) << nPixel % c_nTwinWidth << ',' << nPixel / c_nTwinWidth << ": "
                              << testing::PrintToString(expected) << " but " << int{_vecBytes[n]} << ' '
                              << int{_vecBytes[n + 1]} << ' ' << int{_vecBytes[n + 2]} << ' ' << int{_vecBytes[n + 3]};
        nOff += dblMost > 0;
    }
    EXPECT_LE(nOff * 100, c_nTwinWidth * c_nTwinHeight);
}

TEST_F(GpuUnmixTwin, Cells)
{
    constexpr int c_nRows = 6 + 2 + 3; // of cells; with pixels for the noise; with pixels of every second row
    m_twin.constants.anGrid[2] = c_nRows;
    m_twin.constants.anGrid[3] = 2;
    TWIN_PASS pass = Pass(UnmixCellsShader_Text(), {Picture()}, DXGI_FORMAT_R32G32B32A32_UINT);
    pass.nWidth = c_nTwinCells;
    pass.nHeight = 2 * c_nRows;
    Check(pass, 1, [&](const std::vector<uint8_t>& _vecBytes) {
        const auto vecTexels = NumbersIn<std::array<uint32_t, 4>>(_vecBytes);
        for (int n = 0; n < static_cast<int>(vecTexels.size()); ++n)
            ASSERT_EQ(vecTexels[static_cast<size_t>(n)], m_twin.Cell(n % c_nTwinCells, n / c_nTwinCells)) << n;
    });
}

TEST_F(GpuUnmixTwin, FilterOverTime)
{
    for (const int32_t nSeen : {0, 1})
    {
        m_twin.constants.anFilter[2] = nSeen;
        const auto pass = Pass(UnmixPastShader_Text(), Inputs(), DXGI_FORMAT_R16_SINT);
        Check(pass, 1, [&](const std::vector<uint8_t>& _vecBytes) {
            const auto vecTexels = NumbersIn<int16_t>(_vecBytes);
            int nOff = 0;
            for (int n = 0; n < static_cast<int>(vecTexels.size()); ++n)
            {
                const int nExpected = m_twin.Past(n % c_nTwinWidth, n / c_nTwinWidth);
                // A rounding that falls otherwise is a 32nd of a level.
                EXPECT_NEAR(vecTexels[static_cast<size_t>(n)], nExpected, 3) << n;
                nOff += vecTexels[static_cast<size_t>(n)] != nExpected;
            }
            EXPECT_LE(nOff * 100, c_nTwinWidth * c_nTwinHeight);
        });
    }
}

TEST_F(GpuUnmixTwin, Pixels)
{
    const auto CheckAll = [&](const char* _pszWhat, size_t _nCase) {
        SCOPED_TRACE(_pszWhat);
        const auto pass = Pass(UnmixPixelShader_Text(), Inputs(), DXGI_FORMAT_B8G8R8A8_UNORM);
        Check(pass, _nCase, [&](const std::vector<uint8_t>& _vecBytes) {
            ExpectPixels(_vecBytes, [&](int _nX, int _nRow) { return m_twin.Keyed(_nX, _nRow); });
        });
    };
    CheckAll("filtered in space", 0);
    UNMIX_CONSTANTS& c = m_twin.constants;
    c.arrClips[2] = 1;
    c.anFilter[1] = 1;
    c.anMore[0] = 2;
    for (UNMIX_SHADER_PROTECTED& colour : c.arrProtected)
        colour = {{Share(0, 360, 1), Share(0, 64, 64), Share(0, 255, 1), 0}, {1 / 30.0f, 3, 1 / 60.0f, 0}};
    CheckAll("filtered over time, linear, with protected colours", 1);
}

constexpr int32_t c_nAllAfter =
    eUAfter_Shadows | eUAfter_InputAlpha | eUAfter_Garbage | eUAfter_HoldOut | eUAfter_Marked;

TEST_F(GpuUnmixTwin, ShadowsRegionsAndViews)
{
    m_twin.constants.anMore[2] = c_nAllAfter;
    for (int32_t nView = 0; nView <= 6; ++nView)
    {
        SCOPED_TRACE(nView);
        m_twin.constants.anMore[1] = nView;
        m_twin.constants.anMore[3] = nView % 2 == 0;
        const auto pass = Pass(UnmixPixelShader_Text(), Inputs(), DXGI_FORMAT_B8G8R8A8_UNORM);
        Check(pass, 1, [&](const std::vector<uint8_t>& _vecBytes) {
            ExpectPixels(_vecBytes,
                         [&](int _nX, int _nRow) { return m_twin.Finished(m_twin.Keyed(_nX, _nRow), _nX, _nRow); });
        });
    }
}

/// Alpha that is drawn out of alpha, in integers.
class GpuUnmixAlphaTwin : public GpuUnmixTwin
{
protected:
    static constexpr UNMIX_EDGE_PICTURE c_picture = {c_nTwinWidth, c_nTwinHeight, 2, 257};

    /// Mostly closed and open, of bytes.
    GpuUnmixAlphaTwin()
    {
        for (int n = 0; n < c_nTwinWidth * c_nTwinHeight; ++n)
            m_vecAlpha.push_back(static_cast<uint8_t>(std::clamp(Pick(-300, 500), 0, 255)));
    }
    template <class T> void CheckAlpha(const std::string& _strText, std::vector<TEXTURE> _vecInputs,
                                       const T& _constants, const std::function<int(int, int)>& _fnExpected)
    {
        const TWIN_PASS pass = {_strText, std::move(_vecInputs), &_constants, sizeof(_constants), DXGI_FORMAT_R16_UINT};
        Check(pass, 0, [&](const std::vector<uint8_t>& _vecBytes) {
            const auto vecTexels = NumbersIn<uint16_t>(_vecBytes);
            for (int n = 0; n < static_cast<int>(vecTexels.size()); ++n)
                ASSERT_EQ(vecTexels[static_cast<size_t>(n)], _fnExpected(n % c_nTwinWidth, n / c_nTwinWidth)) << n;
        });
    }

    std::vector<uint8_t> m_vecAlpha;
};

TEST_F(GpuUnmixAlphaTwin, Choke)
{
    for (uint32_t& nCell : m_twin.vecCells)
        nCell |= Pick(0, 3) == 0 ? eUCell_Plain : 0u;
    const ALPHA_TWIN twin = {c_picture, {m_vecAlpha.begin(), m_vecAlpha.end()}};
    UNMIX_CHOKE_CONSTANTS choke = {c_picture, {0, 0, 6, 0}, {}};
    for (auto& step : choke.arrSteps)
        for (int32_t& n : step)
            n = Pick(-2560, 2560);
    for (const int32_t nSteps : {c_nUnmixShaderSteps, 1})
    {
        choke.anMove[0] = nSteps;
        choke.anMove[1] = nSteps == 1;
        CheckAlpha(UnmixChokeShader_Text(),
                   {TextureOf(c_nTwinWidth, DXGI_FORMAT_R8_UINT, m_vecAlpha),
                    TextureOf(c_nTwinCells, DXGI_FORMAT_R32_UINT, m_twin.vecCells)},
                   choke, [&](int _nX, int _nRow) {
                       const int nCell = _nX / 4 + (_nRow / 2 / 4 + _nRow % 2 * 6) * c_nTwinCells;
                       const uint32_t nPlain = m_twin.vecCells[static_cast<size_t>(nCell)] & eUCell_Plain;
                       return twin.Choked(choke, nPlain != 0, _nX, _nRow);
                   });
    }
}

TEST_F(GpuUnmixAlphaTwin, Soften)
{
    std::vector<uint16_t> vecWords;
    for (const uint8_t nAlpha : m_vecAlpha)
        vecWords.push_back(static_cast<uint16_t>(nAlpha * 257 - (nAlpha ? Pick(0, 256) : 0)));
    ALPHA_TWIN twin = {c_picture, {vecWords.begin(), vecWords.end()}};
    twin.picture.nFactor = 1;
    for (const bool bAcross : {false, true})
    {
        UNMIX_BLUR_CONSTANTS blur = {twin.picture, {!bAcross, bAcross, bAcross ? c_nUnmixShaderReach : 1, 0}, {}};
        uint32_t nLeft = 65536;
        for (int n = 1; n <= blur.anWay[2]; ++n)
        {
            blur.arrWeights[n][0] = static_cast<uint32_t>(Pick(0, 3000));
            nLeft -= 2 * blur.arrWeights[n][0];
        }
        blur.arrWeights[0][0] = nLeft;
        CheckAlpha(UnmixBlurShader_Text(), {TextureOf(c_nTwinWidth, DXGI_FORMAT_R16_UINT, vecWords)}, blur,
                   [&](int _nX, int _nRow) { return twin.Blurred(blur, _nX, _nRow); });
    }
}

TEST_F(GpuUnmixAlphaTwin, IsTakenAndPutBack)
{
    const auto take = TWIN_PASS{UnmixAlphaShader_Text(), {Picture()}, nullptr, 0, DXGI_FORMAT_R8_UINT};
    Check(take, 1, [&](const std::vector<uint8_t>& _vecBytes) {
        for (size_t n = 0; n < _vecBytes.size(); ++n)
            ASSERT_EQ(_vecBytes[n], m_twin.vecPicture[4 * n + 3]);
    });
    const std::vector<uint8_t> vecKeyed = Gpu_RandomBytes(m_twin.vecPicture.size());
    std::vector<uint16_t> vecAlpha;
    for (size_t n = 0; n < m_vecAlpha.size(); ++n)
        vecAlpha.push_back(static_cast<uint16_t>(Pick(0, 2) ? m_vecAlpha[n] * 257 : vecKeyed[4 * n + 3] * 257));
    m_twin.constants.anMore[2] = c_nAllAfter;
    m_twin.constants.anMore[3] = 1;
    TWIN_PASS put = Pass(UnmixEdgedShader_Text(), Inputs(), DXGI_FORMAT_B8G8R8A8_UNORM);
    put.vecInputs.insert(put.vecInputs.end(), {nullptr, TextureOf(c_nTwinWidth, DXGI_FORMAT_B8G8R8A8_UNORM, vecKeyed),
                                               TextureOf(c_nTwinWidth, DXGI_FORMAT_R16_UINT, vecAlpha)});
    Check(put, 1, [&](const std::vector<uint8_t>& _vecBytes) {
        ExpectPixels(_vecBytes, [&](int _nX, int _nRow) {
            const size_t nAt = static_cast<size_t>(_nRow) * c_nTwinWidth + static_cast<size_t>(_nX);
            const uint8_t* const p = &vecKeyed[4 * nAt];
            const UNMIX_TWIN::PIXEL keyed = {double(p[0]), double(p[1]), double(p[2]), double(p[3])};
            return m_twin.Finished(m_twin.Edged(keyed, vecAlpha[nAt], _nX, _nRow), _nX, _nRow);
        });
    });
}

} // namespace
