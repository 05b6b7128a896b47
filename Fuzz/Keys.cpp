// What makes and edits keys: detection, and sequences of calls on the editing state.

#include "Support/ExactPicture.h"

#include "Helpers/CKConvert.h"
#include "Helpers/CKDetect.h"
#include "ZChromaKey/Keys/KeyAdjust.h"
#include "ZChromaKey/Keys/KeyState.h"
#include "ZChromaKey/Config/Params2.h"
#include "ZChromaKey/Keys2/KeyState2.h"

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
    int32_t nDone = 0;
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
            static_cast<void>(state.Step(_in.Number(), &nDone));
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
    state.Step(INT32_MIN, &nDone);
    state.Step(nDone, &nDone);
    const CHROMA_KEY_RAW keyAgain = state.KeyGet();
    FUZZ_REQUIRE(std::memcmp(&key, &keyAgain, sizeof(key)) == 0);
}

/// A key set of the second generation of any content, or one near what hosts make.
CHROMA_KEY2_RAW TakeRaw2(CByteReader& _in)
{
    if (_in.Byte() % 4 == 0)
        return _in.Take<CHROMA_KEY2_RAW>();
    CHROMA_KEY2_RAW key = KeySet2_Empty();
    key.bAutomatic = _in.Byte() % 4 == 0;
    key.nKeysUsed = _in.Range(0, 17);
    key.nProtectedUsed = _in.Range(0, 3);
    for (SINGLE_KEY2& single : std::span(key.arrKeys, static_cast<size_t>(std::min(key.nKeysUsed, Z_MAX_KEYS2))))
        single = KeySet2_Key(KeySet2_Color(_in.Take<uint32_t>()));
    key.arrKeys[3].rangeBackdrop.dblHue = _in.Double();
    key.params.dblChoke = _in.Double();
    return key;
}

std::shared_ptr<KEY2_REGION> TakeRegion(CByteReader& _in)
{
    if (_in.Flag())
        return nullptr;
    auto spRegion = std::make_shared<KEY2_REGION>();
    spRegion->mask = {_in.Range(1, 9), 1, {}};
    spRegion->mask.vecBytes.resize(static_cast<size_t>(spRegion->mask.nWidth));
    return spRegion;
}

/// One edit; what the call answers, S_OK where it answers nothing.
HRESULT Edit2(CByteReader& _in, CKeyState2* _pState)
{
    const KEY2_COLOR color = KeySet2_Color(_in.Take<uint32_t>());
    switch (_in.Byte() % 9)
    {
    case 0:
        return _pState->KeyAdd(color);
    case 1:
        return _pState->ProtectAdd(color);
    case 2:
        return _pState->Remove(_in.Number(), _in.Flag());
    case 3:
        return _pState->KeyFound(color);
    case 4:
        return _pState->RawSet(TakeRaw2(_in));
    case 5:
        return _pState->RegionSet(static_cast<eRegion>(_in.Range(0, 2)), TakeRegion(_in));
    case 6:
        _pState->Reset();
        return S_OK;
    default: {
        const auto nParam = static_cast<size_t>(_in.Range(0, 19));
        const auto arrParams = Params2_Table();
        return _pState->ParamSet(nParam < arrParams.size() ? arrParams[nParam].pszName : "none", _in.Double());
    }
    }
}

/// Steps, groups, time that passes, or an edit, which changes nothing where it fails.
void Call2(CByteReader& _in, CKeyState2* _pState, std::chrono::steady_clock::time_point* _pTime)
{
    int32_t nDone = 0;
    switch (_in.Byte() % 8)
    {
    case 0:
        static_cast<void>(_pState->Step(_in.Number(), &nDone));
        return;
    case 1:
        _pState->GroupBegin();
        return;
    case 2:
        static_cast<void>(_pState->GroupEnd());
        return;
    case 3:
        *_pTime += std::chrono::milliseconds(4 * _in.Byte());
        return;
    default: {
        const KEY2_EDIT before = _pState->EditGet();
        const HRESULT hr = Edit2(_in, _pState);
        FUZZ_REQUIRE(hr == S_OK || hr == S_FALSE || hr == E_INVALIDARG || hr == E_UNEXPECTED);
        FUZZ_REQUIRE(hr == S_OK || before == _pState->EditGet());
    }
    }
}

/// Editing of the second generation: sets stay right, and stepping back and forth leads to the same ones.
void CheckState2(CByteReader& _in)
{
    std::chrono::steady_clock::time_point time{};
    CKeyState2 state([&] { return time; });
    for (int nCalls = 0; !_in.AtEnd() && nCalls < c_nMostCalls; ++nCalls)
    {
        Call2(_in, &state, &time);
        FUZZ_REQUIRE(KeySet2_Check(state.RawGet()).empty());
        FUZZ_REQUIRE(state.StepsBack() <= nCalls + 1);
    }
    while (SUCCEEDED(state.GroupEnd()))
    {
    }
    const KEY2_EDIT edit = state.EditGet();
    int32_t nBack = 0, nForward = 0;
    FUZZ_REQUIRE(state.Step(INT32_MIN, &nBack) == S_OK && state.StepsBack() == 0);
    FUZZ_REQUIRE(state.EditGet() == CKeyState2().EditGet());
    FUZZ_REQUIRE(state.Step(nBack, &nForward) == S_OK && nForward == nBack && state.EditGet() == edit);
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    switch (_in.Byte() % 4)
    {
    case 2:
        return CheckState(_in);
    case 3:
        return CheckState2(_in);
    default:
        return CheckDetection(_in);
    }
}
