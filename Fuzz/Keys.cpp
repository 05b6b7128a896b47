// Sequences of calls on what makes and edits keys: calculator, detection, key builder, editing state.

#include "Support/ExactPicture.h"

#include "Helpers/CKConvert.h"
#include "Helpers/CKDetect.h"
#include "Video/ZFrame.h"
#include "ZChromaKey/KeyAdjust.h"
#include "ZChromaKey/KeyBuilder.h"
#include "ZChromaKey/KeyState.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr int c_nMostCalls = 60;

/// A key as sampling makes them: centre and half-widths of bytes, or a little beyond.
CKUtils::CALC_KEY TakeCalcKey(CByteReader& _in)
{
    CKUtils::CALC_KEY key = {};
    for (int i = 0; i < 4; ++i)
    {
        key.dValue[i] = _in.Take<int16_t>() / 16000.0;
        key.dDelta[i] = _in.Byte() / 255.0;
    }
    return key;
}

CHROMA_KEY_RAW TakeRaw(CByteReader& _in)
{
    CHROMA_KEY_RAW key = {};
    if (_in.Byte() % 4 == 0)
        return _in.Take<CHROMA_KEY_RAW>();
    key.eType = _in.Range(-1, 6);
    key.nKeysUsed = _in.Range(-1, 17);
    for (int i = 0; i < std::clamp(key.nKeysUsed, 0, Z_MAX_KEYS); ++i)
    {
        key.arrKeys[i].nValue = _in.Take<uint32_t>();
        key.arrKeys[i].nDelta = _in.Take<uint32_t>() & 0x3F3F3F;
        key.arrKeys[i].nReverseKey = _in.Flag();
        key.arrKeys[i].nSmoothRange = _in.Number();
    }
    return key;
}

CKUtils::CK_DETECT_OPTIONS TakeOptions(CByteReader& _in)
{
    constexpr eCK_Type c_arrTypes[] = {eCKT_RGB, eCKT_HLS, eCKT_YUV, eCKT_Auto, eCKT_Auto};
    CKUtils::CK_DETECT_OPTIONS options;
    options.eType = _in.OneOf(c_arrTypes);
    options.nMaxKeys = _in.Number();
    options.nBlocks = _in.Number();
    options.nThreshold = _in.Flag() ? 16 : _in.Number();
    const double dblKeyDiff = _in.Double(), dblBorders = _in.Double() / 16;
    if (dblKeyDiff - dblKeyDiff == 0) // a number, as option strings only hold numbers
        options.dblKeyDiff = dblKeyDiff;
    if (dblBorders - dblBorders == 0)
        options.dblBorders = dblBorders;
    options.dblSimilarity = _in.Byte() / 255.0;
    options.bShowBlocks = _in.Flag();
    return options;
}

/// A picture of few colours, so that there are flat blocks in it, on memory of its own.
CExactBytes TakePixels(CByteReader& _in, int _nWidth, int _nHeight)
{
    CExactBytes pixels(size_t{4} * static_cast<size_t>(_nWidth * _nHeight));
    const auto nFirst = _in.Take<uint32_t>(), nSecond = _in.Take<uint32_t>();
    const uint8_t nNoise = _in.Byte();
    for (size_t n = 0; n < pixels.Size(); ++n)
    {
        const uint32_t nColour =
            n / 4 % static_cast<size_t>(_nWidth) < static_cast<size_t>(_nWidth) / 2 ? nFirst : nSecond;
        const auto nStray = static_cast<uint8_t>(nNoise < 8 ? 0 : n * 2654435761u >> 24 & nNoise);
        pixels.Data()[n] = n % 4 == 3 ? 255 : static_cast<uint8_t>((nColour >> (8 * (n % 4))) + nStray);
    }
    return pixels;
}

void CheckCalculator(CByteReader& _in)
{
    CKUtils::CKeyCalc calc;
    for (int nCalls = 0; !_in.AtEnd() && nCalls < c_nMostCalls; ++nCalls)
    {
        switch (_in.Byte() % 8)
        {
        case 0:
        case 1:
            static_cast<void>(calc.AddKey(TakeCalcKey(_in), std::abs(_in.Take<int16_t>() / 4000.0), _in.Flag()));
            break;
        case 2:
            calc.SetKey(TakeCalcKey(_in), _in.Number());
            break;
        case 3:
            calc.SetMaxKeys(_in.Number());
            break;
        case 4:
            calc.ReduceKeys(_in.Number());
            break;
        case 5:
            calc.FromRaw(TakeRaw(_in), _in.Flag());
            break;
        case 6:
            calc.ClampDeltas(0, _in.Byte() / 255.0);
            calc.BlendValues({_in.Byte() / 255.0, _in.Byte() / 255.0, 0.5}, _in.Byte() / 255.0);
            break;
        default: {
            CHROMA_KEY_RAW raw = TakeRaw(_in);
            calc.ToRaw(&raw, _in.Flag());
            FUZZ_REQUIRE(raw.nKeysUsed >= 0 && raw.nKeysUsed <= Z_MAX_KEYS);
        }
        }
        FUZZ_REQUIRE(calc.nKeys >= 0 && calc.nKeys <= Z_MAX_KEYS);
        FUZZ_REQUIRE(calc.nMaxKeys >= 1 && calc.nMaxKeys <= Z_MAX_KEYS);
    }
}

void CheckDetection(CByteReader& _in)
{
    constexpr uint32_t c_arrFormats[] = {eZFCC_None, eZFCC_ARGB32, eZFCC_Y444};
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = _in.OneOf(c_arrFormats);
    vidProps.nWidth = _in.Range(1, 100);
    vidProps.nHeight = _in.Range(1, 60);
    CExactBytes pixels = TakePixels(_in, vidProps.nWidth, vidProps.nHeight);
    if (_in.Flag())
        vidProps.nHeight = -vidProps.nHeight;
    const CKUtils::CK_DETECT_OPTIONS options = TakeOptions(_in);
    CKUtils::CKeyCalc calc;
    std::vector<CKUtils::CK_BLOCK> vecBlocks;
    const bool bNone = CKUtils::DetectKeys(&calc, pixels.Data(), &vidProps, options, eZYM_709, &vecBlocks);
    FUZZ_REQUIRE(bNone == (calc.nKeys == 0));
    FUZZ_REQUIRE(calc.nKeys <= std::max(options.nMaxKeys, 1));
    for (const CKUtils::CK_BLOCK& block : vecBlocks)
        FUZZ_REQUIRE(block.nX >= 0 && block.nY >= 0 && block.nX + block.nWidth <= vidProps.nWidth &&
                     block.nY + block.nHeight <= std::abs(vidProps.nHeight));
}

void CheckBuilder(CByteReader& _in)
{
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = _in.Flag() ? eZFCC_ARGB32 : eZFCC_RGB32;
    vidProps.nWidth = _in.Range(1, 100);
    vidProps.nHeight = -_in.Range(1, 60);
    CExactBytes pixels = TakePixels(_in, vidProps.nWidth, -vidProps.nHeight);
    CZPtr<CZFrame> cpFrame;
    FUZZ_REQUIRE(ZFrame_Wrap(vidProps, pixels.Data(), pixels.Size(), {}, cpFrame.Put()) == S_OK);
    CKeyBuilder builder;
    for (int nCalls = 0; !_in.AtEnd() && nCalls < c_nMostCalls / 4; ++nCalls)
    {
        const bool bExclude = _in.Flag();
        switch (_in.Byte() % 7)
        {
        case 0:
            static_cast<void>(builder.TypeSet(static_cast<eCK_Type>(_in.Range(-1, 6))));
            break;
        case 1: {
            const int32_t nX = _in.Number(), nY = _in.Number();
            static_cast<void>(builder.AddPoint(cpFrame.Get(), nX, nY, bExclude));
            break;
        }
        case 2: {
            const int32_t nX1 = _in.Number(), nY1 = _in.Number(), nX2 = _in.Number(), nY2 = _in.Number();
            static_cast<void>(builder.AddRect(cpFrame.Get(), nX1, nY1, nX2, nY2, bExclude));
            break;
        }
        case 3:
            static_cast<void>(builder.Detect(cpFrame.Get(), TakeOptions(_in)));
            break;
        case 4:
            builder.RawSet(TakeRaw(_in));
            break;
        case 5:
            builder.MaxKeysSet(_in.Number(), bExclude);
            break;
        default:
            builder.Reset();
        }
        FUZZ_REQUIRE(builder.KeysCount(false) >= 0 && builder.KeysCount(true) >= 0);
        if (_in.Flag())
            continue;
        CKeyBuilder copy = builder;
        const CHROMA_KEY_RAW key = copy.RawGet();
        FUZZ_REQUIRE(std::memcmp(&key, &copy.RawGet(), sizeof(key)) == 0);
    }
}

/// Editing: whatever was done, stepping back and forth leads to the same key sets.
void CheckState(CByteReader& _in)
{
    CKeyState state;
    for (int nCalls = 0; !_in.AtEnd() && nCalls < c_nMostCalls; ++nCalls)
    {
        const std::optional<eZYMatrix> eMatrix = _in.Flag() ? std::optional(eZYM_709) : std::nullopt;
        switch (_in.Byte() % 5)
        {
        case 0: {
            const bool bAdjust = _in.Flag();
            const auto key = TakeRaw(_in);
            CK_ADJUST adjust = {};
            for (int i = eCKA_Power; bAdjust && i <= eCKA_Colors_Alpha; ++i)
                *KeyAdjust_Field(&adjust, static_cast<eCK_Adjust>(i)) = _in.Double();
            state.RawSet(key, bAdjust ? &adjust : nullptr, eMatrix, _in.Range(-1, 6));
            break;
        }
        case 1:
        case 2: {
            const auto eAdjust = static_cast<eCK_Adjust>(_in.Range(-1, 18));
            const HRESULT hr = state.AdjustSet(eAdjust, _in.Double(), eMatrix);
            FUZZ_REQUIRE(hr == S_OK || hr == S_FALSE || hr == E_INVALIDARG);
            double dblValue = 0;
            FUZZ_REQUIRE(state.AdjustGet(eAdjust, &dblValue) == S_OK || hr == E_INVALIDARG);
            break;
        }
        case 3:
            static_cast<void>(state.Step(_in.Number()));
            break;
        default:
            state.Reset();
        }
        static_cast<void>(state.KeyForSampling());
    }
    const CHROMA_KEY_RAW key = state.KeyGet();
    const size_t nSteps = state.Step(INT32_MIN);
    state.Step(static_cast<int32_t>(nSteps));
    const CHROMA_KEY_RAW keyAgain = state.KeyGet();
    FUZZ_REQUIRE(std::memcmp(&key, &keyAgain, sizeof(key)) == 0);
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    switch (_in.Byte() % 4)
    {
    case 0:
        return CheckCalculator(_in);
    case 1:
        return CheckDetection(_in);
    case 2:
        return CheckBuilder(_in);
    default:
        return CheckState(_in);
    }
}
