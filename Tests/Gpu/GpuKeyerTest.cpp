// The keyer on the GPU: rendered pixels against the formulas, what a frame costs, and what becomes of failures.

#include "ZChromaKey/Engine1/Gpu/GPUChromaKey.h"

#include "Gpu/DeviceHooks.h"
#include "Gpu/FrameCosts.h"
#include "Gpu/PipelineSupport.h"
#include "Gpu/TwinPictures.h"
#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>

namespace
{

using ShaderTwin::PICTURE;

constexpr int c_nHeight = 6;

struct FORMAT
{
    uint32_t fccType;
    eKeyInput eInput; ///< that its texture is keyed as
    bool bBottomUp;
};

constexpr FORMAT c_arrFormats[] = {{eZFCC_RGB32, eKI_RGB, false},  {eZFCC_RGB32, eKI_RGB, true},
                                   {eZFCC_ARGB32, eKI_RGB, false}, {eZFCC_UYVY, eKI_UYVY, false},
                                   {eZFCC_HDYC, eKI_HDYC, false},  {eZFCC_YUY2, eKI_YUY2, false},
                                   {eZFCC_NV12, eKI_UYVY, false}};

struct OPTION
{
    const char* pszName;
    bool bARGB;
    bool bCancel;
    int32_t nSmooth;
    int32_t nInterlaced;
    int32_t nInverse;
    eZYMatrix eMatrix;
    int nKeys;
};

constexpr OPTION c_arrOptions[] = {
    {"plain", false, false, 0, 0, 0, eZYM_601, 3},  {"ARGB, one key", true, false, 0, 0, 1, eZYM_709, 1},
    {"cancel", false, true, 0, 0, 0, eZYM_601, 3},  {"cancel, ARGB, 16 keys", true, true, 0, 0, 0, eZYM_709, 16},
    {"smooth", false, false, 2, 0, 1, eZYM_601, 3}, {"smooth, interlaced, cancel", false, true, 1, 1, 0, eZYM_601, 2},
};

/// Keys of all kinds around greens, dead and inverse ones among them; the first is an ordinary one.
CHROMA_KEY_RAW RandomKeys(int32_t _eType, const OPTION& _option, std::mt19937* _pRandom)
{
    const auto Upto = [&](uint32_t _n) { return static_cast<int32_t>((*_pRandom)() % (_n + 1)); };
    CHROMA_KEY_RAW key = {};
    key.eType = _eType;
    key.nKeysUsed = _option.nKeys;
    for (int i = 0; i < _option.nKeys; ++i)
    {
        SINGLE_KEY& single = key.arrKeys[i];
        single.nValue = (*_pRandom)();
        single.nDelta = (*_pRandom)() & 0x3F3F3F3Fu;
        if (i % 3 == 1)
            single.nDelta &= 0xFFFF00FFu; // no width in one component
        single.nSmoothRange = i % 4 == 2 ? 0 : 10 + Upto(190);
        single.nAlpha = i % 8 == 5 ? 255 : 0;
        single.nReverseKey = i % 4 == 3;
        single.nCancelRange = Upto(100);
        single.nCancelPower = Upto(200) - 60;
        single.nCancelChroma = Upto(100) - 50;
        single.nCancelLuma = Upto(100) - 50;
        single.nCancelAlpha = i % 5 == 4 ? -128 : Upto(60);
    }
    key.nMaxTransparent = 255;
    key.nEdgesSmooth = _option.nSmooth;
    key.bColorCancel = _option.bCancel;
    key.nInterlacedVideo = _option.nInterlaced;
    key.nInverseKey = _option.nInverse;
    return key;
}

/// A frame of noise; greys, pure colours and the first key's centre are among it.
CZPtr<CZFrame> RandomFrame(uint32_t _fccType, int _nWidth, uint32_t _nCentre, std::mt19937* _pRandom,
                           int _nHeight = c_nHeight)
{
    const auto cpFrame = Gpu_Frame(Gpu_Props(_fccType, _nWidth, _nHeight), (*_pRandom)());
    const uint32_t arrSpecial[] = {
        0x00000000, 0xFFFFFFFF, 0x80808080, 0x00FF0000,
        0x0000FF00, 0x000000FF, _nCentre,   (_nCentre & 0xFF00u) | (_nCentre >> 16 & 0xFFu) | (_nCentre & 0xFFu) << 16};
    const auto nBytes = static_cast<size_t>(Img_RowBytesUsed(_fccType, _nWidth));
    std::memcpy(Img_RowOf(PtrOf(cpFrame.Get(), eZFP_Flip | eZFP_Write), 0, 1), arrSpecial,
                std::min(nBytes, sizeof(arrSpecial)));
    return cpFrame;
}

PICTURE PictureOf(IZFFrame* _pFrame)
{
    const ZF_VID_PROPS vidProps = PropsOf(_pFrame);
    PICTURE picture = ShaderTwin::Make(vidProps.fccType, vidProps.nWidth, c_nHeight);
    const std::vector<uint8_t> vecBytes = Gpu_Pixels(_pFrame);
    EXPECT_EQ(vecBytes.size(), picture.arrBytes.size());
    std::ranges::transform(vecBytes, picture.arrBytes.begin(), [](uint8_t _n) { return _n / 255.0; });
    return picture;
}

/// What an 8-bit texture keeps of a picture.
PICTURE Rounded(PICTURE _picture)
{
    for (double& dblByte : _picture.arrBytes)
        dblByte = std::floor(dblByte * 255 + 0.5) / 255;
    return _picture;
}

/// What is keyed: planar pictures are packed first.
PICTURE KeyedInput(const PICTURE& _source)
{
    return _source.fccType == eZFCC_NV12
               ? Rounded(ShaderTwin::Convert({eZFCC_NV12, eZFCC_UYVY}, _source, _source.nWidth, c_nHeight))
               : _source;
}

CK_SETTINGS SettingsOf(const CHROMA_KEY_RAW& _key, int _nWidth)
{
    CK_SETTINGS settings = {};
    Shader_FillKeys(_key, _nWidth, c_nHeight, false, &settings);
    return settings;
}

/// How far a rendered picture is from its formulas, in levels.
struct DISTANCE
{
    double dblNear; ///< levels that hardly any byte is apart
    int nBytes = 0;
    int nNotNear = 0;
    int nOver2 = 0;

    void Add(IZFFrame* _pFrame, const PICTURE& _picture, int _nRowBytes)
    {
        const ZF_VID_PTR vidPtr = PtrOf(_pFrame);
        ASSERT_GE(vidPtr.cbVideoRowBytes[0] < 0 ? -vidPtr.cbVideoRowBytes[0] : vidPtr.cbVideoRowBytes[0], _nRowBytes);
        for (int nY = 0; nY < _picture.nHeight; ++nY)
            for (int nX = 0; nX < _nRowBytes; ++nX)
            {
                const double dblApart = std::fabs(Img_RowOf(vidPtr, 0, nY)[nX] - _picture.Byte(nY, nX) * 255);
                ++nBytes;
                nNotNear += dblApart > dblNear;
                nOver2 += dblApart > 2.5; // the formula's own rounding counts half a level
            }
    }
};

CZPtr<IZFFrame> MaskOf(IZFFrame* _pFrame)
{
    const auto cpMask = ZQuery<IZFFrame>(AttachmentOf(_pFrame, L"mask"));
    EXPECT_TRUE(cpMask);
    return cpMask;
}

struct COST_ROW;

/// The keyer under test, on the tests' device.
class GpuKeyer : public testing::Test
{
protected:
    GpuKeyer()
    {
        EXPECT_EQ(m_keyer.DeviceInit(Gpu_Device()), S_OK);
    }
    CZPtr<IZFFrame> Key(IZFFrame* _pFrame, const GPU_KEY_SETTINGS& _settings, HRESULT _hrExpected = S_OK)
    {
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_keyer.Key(_pFrame, _settings, cpRes.Put()), _hrExpected);
        EXPECT_EQ(static_cast<bool>(cpRes), _hrExpected == S_OK);
        return cpRes;
    }
    void CheckRendered(const FORMAT& _format, const OPTION& _option, const CHROMA_KEY_RAW& _key, int _nWidth,
                       std::mt19937* _pRandom, DISTANCE* _pDistance);
    void CheckCost(const COST_ROW& _row, CZFrame* _pFrame, const GPU_KEY_SETTINGS& _settings);
    void CheckShaders(const COST_ROW& _row, CZFrame* _pFrame, const GPU_KEY_SETTINGS& _settings);

    GPUChromaKey m_keyer;
};

void GpuKeyer::CheckRendered(const FORMAT& _format, const OPTION& _option, const CHROMA_KEY_RAW& _key, int _nWidth,
                             std::mt19937* _pRandom, DISTANCE* _pDistance)
{
    const bool bRGB = _format.eInput == eKI_RGB;
    const int nWidth = bRGB ? _nWidth : std::max(_nWidth / 2 * 2, 2);
    const auto cpFrame = RandomFrame(_format.fccType, nWidth, _key.arrKeys[0].nValue, _pRandom,
                                     bRGB && !_format.bBottomUp ? -c_nHeight : c_nHeight);
    const PICTURE source = PictureOf(cpFrame.Get());
    const auto cpRes = Key(cpFrame.Get(), {_key, _option.bARGB, false, _option.eMatrix});
    ASSERT_TRUE(cpRes);

    CK_SETTINGS settings = SettingsOf(_key, nWidth);
    const PICTURE input = KeyedInput(source);
    const bool bARGB = _option.bARGB || _format.fccType == eZFCC_ARGB32;
    const bool bCancel = Shader_NeedsCancel(_key);
    const bool bCleanPicture = bCancel && (bARGB || bRGB);
    KEY_SHADER shader = {static_cast<eCK_Type>(_key.eType), _format.eInput, eKO_Picture, bCleanPicture,
                         _option.eMatrix};
    if (_option.nSmooth > 0) // the last smoothing inverts
        settings.ipar[3] = 0;
    PICTURE keyed = Rounded(ShaderTwin::Key(shader, settings, input));
    for (int n = 1; n <= _option.nSmooth; ++n)
        keyed =
            Rounded(ShaderTwin::Smooth(keyed, _option.nInterlaced, {false, _option.nInverse && n == _option.nSmooth}));
    PICTURE mask = ShaderTwin::Make(eZFCC_RGB8, nWidth, c_nHeight); // the alpha of the keyed picture
    for (size_t n = 0; n < mask.arrBytes.size(); ++n)
        mask.arrBytes[n] = keyed.arrBytes[4 * n + 3];
    if (!bCleanPicture && _option.nSmooth == 0) // HDYC repeats its pairs there
    {
        shader.eOutput = eKO_Mask;
        mask = ShaderTwin::Key(shader, settings, input);
    }
    const auto cpMask = MaskOf(cpRes.Get());
    ASSERT_TRUE(cpMask);
    _pDistance->Add(cpMask.Get(), mask, nWidth);
    const ZF_VID_PTR vidPtrTail = PtrOf(cpMask.Get());
    for (int nX = nWidth; nX < vidPtrTail.cbVideoRowBytes[0]; ++nX)
        EXPECT_EQ(Img_RowOf(vidPtrTail, 0, c_nHeight - 1)[nX], 255) << "past the row, byte " << nX;

    const uint32_t fccRes = PropsOf(cpRes.Get()).fccType;
    EXPECT_EQ(fccRes, bARGB ? uint32_t{eZFCC_ARGB32} : _format.fccType);
    if (bCleanPicture)
    {
        _pDistance->Add(cpRes.Get(), keyed, 4 * nWidth);
        return;
    }
    if (bCancel && _format.fccType != eZFCC_NV12)
    {
        shader.eOutput = eKO_Packed;
        shader.bColorCancel = true;
        _pDistance->Add(cpRes.Get(), ShaderTwin::Key(shader, settings, input), 2 * nWidth);
        return;
    }
    // The colours are the input's own, to the bit; the alpha of ARGB32 is the mask, that of RGB32 nobody's.
    CZPtr<IZFFrame> cpColours;
    EXPECT_EQ(cpFrame->FrameConvert(eZFC_Converted, fccRes, cpColours.Put()), S_OK);
    const std::vector<uint8_t> vecRes = Gpu_Pixels(cpRes.Get());
    const std::vector<uint8_t> vecMask = Gpu_Pixels(cpMask.Get());
    std::vector<uint8_t> vecExpected = Gpu_Pixels(cpColours.Get());
    ASSERT_EQ(vecRes.size(), vecExpected.size());
    for (size_t n = 3; (bARGB || bRGB) && n < vecRes.size(); n += 4)
        vecExpected[n] = bARGB ? vecMask[n / 4] : vecRes[n];
    EXPECT_TRUE(vecRes == vecExpected);
}

TEST_F(GpuKeyer, RendersWhatTheFormulasSay)
{
    std::mt19937 random(1);
    constexpr int c_arrWidths[] = {719, 720, 1919, 718};
    size_t nCase = 0;
    // Every option with every format, the key types in turn: compiling shaders is what takes the time.
    for (size_t nOption = 0; nOption < std::size(c_arrOptions); ++nOption)
        for (size_t nFormat = 0; nFormat < std::size(c_arrFormats); ++nFormat)
        {
            const OPTION& option = c_arrOptions[nOption];
            const int32_t eType = eCKT_RGB + static_cast<int32_t>((nOption + nFormat) % 3);
            if (Gpu_IsLeftOut(nOption + nFormat)) // what is left has every option, with formats in turn
                continue;
            for (const int nWidth : {1, 2, c_arrWidths[nCase++ % std::size(c_arrWidths)]})
            {
                SCOPED_TRACE(std::string(option.pszName) + ", type " + std::to_string(eType) + ", format " +
                             std::to_string(nFormat) + ", width " + std::to_string(nWidth));
                DISTANCE distance = {option.nSmooth > 0 ? 1.5 : 0.6}; // between smoothing passes bytes are rounded
                CheckRendered(c_arrFormats[nFormat], option, RandomKeys(eType, option, &random), nWidth, &random,
                              &distance);
                EXPECT_EQ(distance.nOver2, 0) << "of " << distance.nBytes;
                EXPECT_LE(distance.nNotNear * 1000, distance.nBytes);
            }
        }
}

TEST_F(GpuKeyer, KeysAHostsTextureOnTheHostsDevice)
{
    std::mt19937 random(2);
    const CHROMA_KEY_RAW key = RandomKeys(eCKT_YUV, c_arrOptions[2], &random);
    const auto cpOther = Gpu_OtherDevice();
    for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_UYVY, eZFCC_NV12})
        for (ID3D11Device* const pDevice : {Gpu_Device(), cpOther.Get()})
        {
            constexpr int c_nWidth = 718;
            const PICTURE source = PictureOf(RandomFrame(fccType, c_nWidth, key.arrKeys[0].nValue, &random).Get());
            const auto cpTexture = Twin_Texture(source, pDevice);
            const ZF_VID_PROPS vidProps = Gpu_Props(fccType, c_nWidth, c_nHeight); // bottom-up: nothing to textures
            CZPtr<IDX11Texture> cpHosts;
            ASSERT_EQ(DX11Texture::CreateExternal(cpTexture.Get(), vidProps, cpHosts.Put()), S_OK);
            const DX_PICTURE_ATTRIBUTES attributes = {{1, 2, 3}};
            ASSERT_EQ(cpHosts->AttributesSet(&attributes), S_OK);
            const auto cpFrame = Gpu_TextureFrame(cpHosts.Get(), vidProps);
            ASSERT_EQ(cpFrame->AttachmentSet(L"mask", cpTexture.Get()), S_OK);
            const CCallFaults calls(pDevice);
            const auto cpRes = Key(cpFrame.Get(), {key, false, true, eZYM_601});
            ASSERT_TRUE(cpRes);
            EXPECT_EQ(calls.Count("Map"), 0) << "nothing is brought back";
            EXPECT_FALSE(AttachmentOf(cpRes.Get(), L"mask")) << "the input's mask";
            const auto cpResTexture = GPU_TextureOf(cpRes.Get());
            ASSERT_TRUE(cpResTexture);
            const auto cpKeyed = Gpu_TextureIn(cpResTexture.Get());
            EXPECT_TRUE(DX_SameObject(DX_DeviceOf(cpKeyed.Get()).Get(), pDevice));
            DX_PICTURE_ATTRIBUTES attributesRes = {};
            EXPECT_EQ(cpResTexture->AttributesGet(&attributesRes), S_OK);
            EXPECT_EQ(attributesRes.arrBytes[2], 3);
            EXPECT_EQ(PropsOf(cpResTexture.Get()).dblRate, 25);

            const PICTURE keyed =
                ShaderTwin::Key({eCKT_YUV, fccType == eZFCC_RGB32 ? eKI_RGB : eKI_UYVY, eKO_Picture, true, eZYM_601},
                                SettingsOf(key, c_nWidth), KeyedInput(source));
            EXPECT_TRUE(Twin_Matches(Gpu_Read(cpKeyed.Get()), keyed, 2.5));
        }
    m_keyer.Close();
}

/// A way of frames in memory, and what one of them costs once the stream runs; pictures of 64x6, RGB bottom-up unless
/// they are not.
struct COST_ROW
{
    uint32_t fccType;
    bool bTopDown;
    int nOption;
    int nPasses;
    int nCopies; ///< that are read
    int64_t nUp;
    int64_t nBack;
    const char* pszMade; ///< how the result is made of the frame: nothing is cloned that is overwritten
};
constexpr int64_t c_nCostPixels = 64 * c_nHeight;
constexpr COST_ROW c_arrCosts[] = {
    {eZFCC_RGB32, false, 0, 1, 1, 4 * c_nCostPixels, c_nCostPixels, "FrameClone"}, // with the frame's pixels
    {eZFCC_UYVY, true, 0, 1, 1, 2 * c_nCostPixels, c_nCostPixels, "FrameClone"},
    {eZFCC_UYVY, true, 1, 1, 1, 2 * c_nCostPixels, c_nCostPixels, "FrameConvert"},
    {eZFCC_NV12, true, 0, 2, 1, 3 * c_nCostPixels / 2, c_nCostPixels, "FrameClone"},
    {eZFCC_RGB32, true, 2, 1, 1, 4 * c_nCostPixels, 4 * c_nCostPixels, "FrameConvert"},
    {eZFCC_RGB32, false, 2, 1, 1, 4 * c_nCostPixels, 4 * c_nCostPixels,
     "FrameClone"}, // a copy: none other is bottom-up
    {eZFCC_UYVY, true, 2, 2, 2, 2 * c_nCostPixels, 3 * c_nCostPixels, "FrameConvert"},
    {eZFCC_UYVY, true, 3, 1, 1, 2 * c_nCostPixels, 4 * c_nCostPixels, "FrameConvert"},
    {eZFCC_RGB32, false, 4, 4, 1, 4 * c_nCostPixels, c_nCostPixels, "FrameClone"},
    {eZFCC_UYVY, true, 5, 4, 2, 2 * c_nCostPixels, 3 * c_nCostPixels, "FrameConvert"},
};

TEST_F(GpuKeyer, CostsWhatItMust)
{
    std::mt19937 random(3);
    size_t nRow = 0;
    for (const COST_ROW& row : c_arrCosts)
    {
        if (Gpu_IsLeftOut(nRow++))
            continue;
        const OPTION& option = c_arrOptions[row.nOption];
        SCOPED_TRACE(FCC_Name(row.fccType) + " " + option.pszName);
        GPU_KEY_SETTINGS settings = {RandomKeys(eCKT_HLS, option, &random), option.bARGB, false, eZYM_601};
        const bool bDown = row.bTopDown && FCC_IsRGB(row.fccType);
        const auto cpFrame = RandomFrame(row.fccType, 64, 0, &random, bDown ? -c_nHeight : c_nHeight);
        for (int n = 0; n < 3; ++n)
            Key(cpFrame.Get(), settings);
        settings.key.arrKeys[0].nValue ^= 0x101010; // other keys need no other shaders
        CheckCost(row, cpFrame.Get(), settings);
        CheckShaders(row, cpFrame.Get(), settings);
    }
}

/// What is moved and waited for, and which frames are made.
void GpuKeyer::CheckCost(const COST_ROW& _row, CZFrame* _pFrame, const GPU_KEY_SETTINGS& _settings)
{
    std::string strMade;
    const auto cpWatched = CHookFrame::Make(_pFrame, [&](const std::string& _strMethod) {
        strMade += _strMethod == "FrameClone" || _strMethod == "FrameConvert" ? _strMethod : "";
        return S_OK;
    });
    const COSTS costs;
    const auto cpRes = Key(cpWatched.Get(), _settings);
    EXPECT_EQ(costs.nDraws, _row.nPasses);
    EXPECT_EQ(costs.nWaits, _row.nCopies);
    EXPECT_EQ(costs.nUp, _row.nUp);
    EXPECT_EQ(costs.nBack, _row.nBack);
    EXPECT_EQ(strMade, _row.pszMade);
    const bool bShared = PtrOf(cpRes.Get()).lpVideoPlanes[0] == PtrOf(_pFrame).lpVideoPlanes[0];
    EXPECT_EQ(bShared, strMade == "FrameClone" && _row.nBack == c_nCostPixels) << "only a mask comes to the pixels";
}

/// What is made with each frame, and what is kept.
void GpuKeyer::CheckShaders(const COST_ROW& _row, CZFrame* _pFrame, const GPU_KEY_SETTINGS& _settings)
{
    CCallFaults calls(Gpu_Device());
    GPU_KEY_SETTINGS settings = _settings;
    Key(_pFrame, settings);
    for (const char* const pszMethod : {"CreateTexture2D", "D3DCompile", "CreatePixelShader", "CreateSamplerState"})
        EXPECT_EQ(calls.Count(pszMethod), 0) << pszMethod;
    for (const char* const pszMethod : {"CreateShaderResourceView", "CreateRenderTargetView", "CreateQuery"})
        EXPECT_EQ(calls.Count(pszMethod), _row.nPasses) << pszMethod;
    EXPECT_LE(calls.Count("CreateBuffer"), _row.nPasses);
    EXPECT_EQ(calls.Count("Map"), 1 + _row.nCopies) << "the upload, and what is brought back";
    calls.FailAt(0, S_OK);
    settings.key.eType = eCKT_YUV;
    Key(_pFrame, settings);
    EXPECT_GT(calls.Count("CreatePixelShader"), 0) << "another type, other shaders";
    calls.FailAt(0, S_OK);
    Key(_pFrame, _settings);
    EXPECT_GT(calls.Count("CreatePixelShader"), 0);
    EXPECT_EQ(calls.Count("D3DCompile"), 0) << "compiled before";
}

decltype(DX_FUNCTIONS::pfnD3DCompile) g_pfnCompile;
int g_nCompiled = 0;

/// A compiler that takes no text.
HRESULT WINAPI CompileNothing(LPCVOID, SIZE_T, LPCSTR _pszName, const D3D_SHADER_MACRO* _pMacros,
                              ID3DInclude* _pInclude, LPCSTR _pszEntry, LPCSTR _pszTarget, UINT _nFlags1, UINT _nFlags2,
                              ID3DBlob** _ppCode, ID3DBlob** _ppErrors)
{
    ++g_nCompiled;
    return g_pfnCompile("?", 1, _pszName, _pMacros, _pInclude, _pszEntry, _pszTarget, _nFlags1, _nFlags2, _ppCode,
                        _ppErrors);
}

TEST_F(GpuKeyer, LeavesAloneWhatFailsAgainAndAgain)
{
    DX_FUNCTIONS functions = DX_Functions();
    g_pfnCompile = std::exchange(functions.pfnD3DCompile, &CompileNothing);
    g_nCompiled = 0;
    std::mt19937 random(7);
    GPU_KEY_SETTINGS settings = {RandomKeys(eCKT_RGB, c_arrOptions[0], &random), false, false, eZYM_601};
    const auto cpFrame = RandomFrame(eZFCC_RGB32, 64, 0, &random);
    CLogCatcher log;
    const auto fnKey = [&](bool _bARGB, uint64_t _nChange, int _nCompiled) {
        settings.bOutputARGB = _bARGB;
        settings.nChange = _nChange;
        CZPtr<IZFFrame> cpRes;
        const HRESULT hr = m_keyer.Key(cpFrame.Get(), settings, cpRes.Put());
        EXPECT_EQ(g_nCompiled, _nCompiled);
        return hr;
    };
    {
        DX_FunctionsSet(&functions);
        const CZScopeExit restore([] { DX_FunctionsSet(nullptr); });
        for (const int nCompiled : {1, 2, 3, 3, 3})
            EXPECT_LT(fnKey(false, 0, nCompiled), 0);
        const auto nErrors = log.Count("", eZLog_Error);
        EXPECT_LT(fnKey(false, 0, 3), 0);
        EXPECT_EQ(log.Count("", eZLog_Error), nErrors);
        EXPECT_EQ(log.Count("\ncode:Texture2D", eZLog_Error), 1u);
        EXPECT_EQ(log.Count("3 frames in a row have failed", eZLog_Warning), 1u);
        EXPECT_LT(fnKey(false, 1, 4), 0) << "an option changed";
        for (const int nCompiled : {5, 6, 6})
            EXPECT_LT(fnKey(false, 1, nCompiled), 0);
    }
    EXPECT_LT(fnKey(false, 1, 6), 0);
    EXPECT_EQ(fnKey(true, 1, 6), S_OK) << "frames of another kind";
    EXPECT_EQ(fnKey(false, 1, 6), S_OK) << "a success ends it";
}

TEST_F(GpuKeyer, TakesNoWrongFramesFromTheHost)
{
    std::mt19937 random(8);
    const auto cpFrame = RandomFrame(eZFCC_RGB32, 64, 0, &random);
    GPU_KEY_SETTINGS settings = {RandomKeys(eCKT_RGB, c_arrOptions[0], &random), false, false, eZYM_601};
    const auto fnNothing = [](const std::string&) { return S_OK; };
    // a result that no mask can be attached to
    const auto cpUnwilling = CHookFrame::Make(cpFrame.Get(), fnNothing);
    cpUnwilling->m_fnMade = [](IZFFrame** _ppFrame) {
        const auto cpMade = CZPtr<IZFFrame>::Adopt(*_ppFrame);
        *_ppFrame = CHookFrame::Make(ZQuery<IZFFrame2>(cpMade).Get(), [](const std::string& _strMethod) {
                        return _strMethod == "AttachmentSet" ? E_ACCESSDENIED : S_OK;
                    }).Detach();
    };
    CLogCatcher log;
    Key(cpUnwilling.Get(), settings, E_ACCESSDENIED);
    EXPECT_EQ(log.Count("GPUChromaKey::GetFrame: Unable to set mask! hr=80070005", eZLog_Error), 1u);
    // masks of another size than they were asked for
    for (const auto& [nWider, nHigher] : {std::pair{-8, 0}, {8, 0}, {0, -1}, {0, 1}})
    {
        const auto cpWrong = CHookFrame::Make(cpFrame.Get(), fnNothing);
        cpWrong->m_fnCreate = [nWidth = nWider, nHeight = nHigher](ZF_VID_PROPS* _pVidProps) {
            _pVidProps->nWidth += nWidth;
            _pVidProps->nHeight -= nHeight; // top-down
            _pVidProps->nRowBytes = 0;
        };
        ++settings.nChange; // or it would not be tried any more
        Key(cpWrong.Get(), settings, E_UNEXPECTED);
    }
    EXPECT_EQ(log.Count("Unable to convert GPU mask to CPU mask! hr=8000FFFF", eZLog_Error), 4u);
}

TEST_F(GpuKeyer, FailsOneFrameWholeAndKeysTheNext)
{
    std::mt19937 random(4);
    const GPU_KEY_SETTINGS settings = {RandomKeys(eCKT_RGB, c_arrOptions[5], &random), false, false, eZYM_601};
    for (const uint32_t fccType : {eZFCC_UYVY, eZFCC_NV12})
    {
        if (Gpu_IsLeftOut(fccType == eZFCC_NV12 ? 1 : 0))
            continue;
        const auto cpFrame = RandomFrame(fccType, 64, 0, &random);
        const auto vecMask = Gpu_Pixels(MaskOf(Key(cpFrame.Get(), settings).Get()).Get());
        m_keyer.Close();
        const ULONG nRefs = RefsOf(Gpu_Device());
        CCallFaults faults(Gpu_Device());
        int nCalls = 0;
        for (bool bFailed = true; bFailed;)
        {
            // everything is made anew, and anything may fail
            ASSERT_EQ(m_keyer.DeviceInit(Gpu_Device()), S_OK);
            CZPtr<IZFFrame> cpRes;
            bFailed = faults.Try(
                ++nCalls, E_FAIL, [&] { return m_keyer.Key(cpFrame.Get(), settings, cpRes.Put()); },
                "GPUProcessorBase<class GPUChromaKey>::ProcessFrameExternal: Failed to ");
            EXPECT_EQ(!cpRes, bFailed);
            EXPECT_EQ(Gpu_Pixels(MaskOf(Key(cpFrame.Get(), settings).Get()).Get()), vecMask);
            m_keyer.Close();
            Gpu_Context()->ClearState();
            EXPECT_EQ(RefsOf(Gpu_Device()), nRefs);
        }
        // Uploads to such an adapter take one texture more; of a planar picture only the mask comes back.
        const int nStaged = DX_GPUType(Gpu_Device()) == eGPU_Intel ? 1 : 0;
        EXPECT_EQ(nCalls - 1, nStaged + (fccType == eZFCC_NV12 ? 32 : 33));
    }
}

TEST_F(GpuKeyer, MakesAnotherDeviceWhenOneIsRemoved)
{
    m_keyer.Close(); // counted from here
    std::mt19937 random(5);
    const GPU_KEY_SETTINGS settings = {RandomKeys(eCKT_RGB, c_arrOptions[0], &random), false, false, eZYM_601};
    const auto cpFrame = RandomFrame(eZFCC_RGB32, 64, 0, &random);
    const ULONG nRefs = RefsOf(Gpu_Device());
    m_keyer.DeviceInit(Gpu_Device());
    Key(cpFrame.Get(), settings);
    ASSERT_EQ(m_keyer.DeviceGet()->Device(), Gpu_Device());
    {
        const CLogCatcher log(eZLog_Error);
        const HOOK_REMOVEDREASON hookReason(Gpu_Device(),
                                            [](auto, ID3D11Device*) { return DXGI_ERROR_DEVICE_REMOVED; });
        const HOOK_MAP hookMap(Gpu_Context(), [](auto, auto*, auto...) { return DXGI_ERROR_DEVICE_REMOVED; });
        Key(cpFrame.Get(), settings, DXGI_ERROR_DEVICE_REMOVED);
        EXPECT_EQ(m_keyer.DeviceGet(), nullptr);
    }
    Gpu_Context()->ClearState();
    EXPECT_EQ(RefsOf(Gpu_Device()), nRefs) << "nothing of the removed device is kept";
    Key(cpFrame.Get(), settings);
    ASSERT_TRUE(m_keyer.DeviceGet());
    EXPECT_NE(m_keyer.DeviceGet()->Device(), Gpu_Device());
}

TEST_F(GpuKeyer, RefusesWhatItCannotKey)
{
    // format, type of the keys, option, matrix, answer
    const std::tuple<uint32_t, int32_t, int, eZYMatrix, HRESULT> arrRows[] = {
        {eZFCC_v210, eCKT_RGB, 0, eZYM_709, S_OK},       {eZFCC_v210, eCKT_YUV, 0, eZYM_601, S_OK},
        {eZFCC_v210, eCKT_YUV, 0, eZYM_709, E_NOTIMPL},  {eZFCC_RGB24, eCKT_YUV, 0, eZYM_601, S_OK},
        {eZFCC_RGB24, eCKT_RGB, 2, eZYM_601, E_NOTIMPL}, {eZFCC_RGB24, eCKT_RGB, 3, eZYM_601, S_OK},
        {eZFCC_YVYU, eCKT_RGB, 2, eZYM_601, E_NOTIMPL},  {eZFCC_UYVY, eCKT_None, 0, eZYM_601, E_INVALIDARG},
    };
    std::mt19937 random(6);
    for (const auto& [fccType, eType, nOption, eMatrix, hr] : arrRows)
    {
        SCOPED_TRACE(FCC_Name(fccType));
        const CLogCatcher log;
        const OPTION& option = c_arrOptions[nOption];
        Key(TestFrame_Make(fccType, 96, 32).Get(), {RandomKeys(eType, option, &random), option.bARGB, false, eMatrix},
            hr);
        EXPECT_EQ(log.Count("Invalid FCC type of input frame!"), hr == E_NOTIMPL ? 1u : 0u);
        EXPECT_EQ(log.Count("!\"Unexpected CK type!\""), hr == E_INVALIDARG ? 1u : 0u);
        EXPECT_EQ(log.Count("HARDWARE; OUTPUT MASK ", eZLog_Verbose), hr == S_OK ? 1u : 0u);
    }
}

} // namespace
