// What makes and edits keys: detection, and sequences of calls on the editing state.

#include "Support/ExactPicture.h"

#include "Helpers/CKConvert.h"
#include "Helpers/CKDetect.h"
#include "ZChromaKey/Keys/KeyAdjust.h"
#include "ZChromaKey/Keys/KeyState.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr int c_nMostCalls = 60;

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
std::vector<uint8_t> TakePixels(CByteReader& _in, int _nWidth, int _nHeight)
{
    std::vector<uint8_t> vecPixels(size_t{4} * static_cast<size_t>(_nWidth * _nHeight));
    const auto nFirst = _in.Take<uint32_t>(), nSecond = _in.Take<uint32_t>();
    const uint8_t nNoise = _in.Byte();
    for (size_t n = 0; n < vecPixels.size(); ++n)
    {
        const uint32_t nColour =
            n / 4 % static_cast<size_t>(_nWidth) < static_cast<size_t>(_nWidth) / 2 ? nFirst : nSecond;
        const auto nStray = static_cast<uint8_t>(nNoise < 8 ? 0 : n * 2654435761u >> 24 & nNoise);
        vecPixels[n] = n % 4 == 3 ? 255 : static_cast<uint8_t>((nColour >> (8 * (n % 4))) + nStray);
    }
    return vecPixels;
}

void CheckDetection(CByteReader& _in)
{
    constexpr uint32_t c_arrFormats[] = {eZFCC_None, eZFCC_ARGB32, eZFCC_Y444};
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = _in.OneOf(c_arrFormats);
    vidProps.nWidth = _in.Range(1, 100);
    vidProps.nHeight = _in.Range(1, 60);
    std::vector<uint8_t> vecPixels = TakePixels(_in, vidProps.nWidth, vidProps.nHeight);
    if (_in.Flag())
        vidProps.nHeight = -vidProps.nHeight;
    const CKUtils::CK_DETECT_OPTIONS options = TakeOptions(_in);
    CKUtils::CKeyCalc calc;
    std::vector<CKUtils::CK_BLOCK> vecBlocks;
    const bool bNone = CKUtils::DetectKeys(&calc, vecPixels.data(), &vidProps, options, eZYM_709, &vecBlocks);
    FUZZ_REQUIRE(bNone == (calc.nKeys == 0));
    FUZZ_REQUIRE(calc.nKeys <= std::max(options.nMaxKeys, 1));
    for (const CKUtils::CK_BLOCK& block : vecBlocks)
        FUZZ_REQUIRE(block.nX >= 0 && block.nY >= 0 && block.nX + block.nWidth <= vidProps.nWidth &&
                     block.nY + block.nHeight <= std::abs(vidProps.nHeight));
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
        CHROMA_KEY_RAW keySet = {};
        CK_ADJUST adjustSet = {};
        state.RawGet(&keySet, &adjustSet);
        const CHROMA_KEY_RAW keyAdjusted = KeyAdjust_Apply(keySet, adjustSet), keyOfFrames = state.KeyGet();
        FUZZ_REQUIRE(std::memcmp(&keyAdjusted, &keyOfFrames, sizeof(keyOfFrames)) == 0);
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
    if (_in.Byte() % 4 < 2)
        CheckDetection(_in);
    else
        CheckState(_in);
}
