#pragma once

#include "ZChromaKey/Engine2/Kernels/PixelRow.h"

/// Shadows that are kept, the input's alpha and regions, over vectors; Views.h says what each is.

namespace
{
namespace UnmixFinish
{

using UnmixMaths::COLOUR;

/// Straight colour and alpha, 0 to 255.
template <class S> struct VALUE
{
    COLOUR<S> colour;
    typename S::F32 fltAlpha;
};

template <class S> ZCK_INLINE VALUE<S> FromBytes(typename S::I32 _nBGRA)
{
    const UnmixVectors::PAIRS<S> pixels = UnmixVectors::FromBytes<S>(_nBGRA);
    return {UnmixPixels::ColourOf<S>(pixels, 1), ToF32(ShiftedIn0(_nBGRA, 24))};
}
template <class S> ZCK_INLINE VALUE<S> FromWords(const uint16_t* _pBGRA)
{
    const UnmixVectors::PAIRS<S> pixels = UnmixVectors::FromWords<S>(_pBGRA);
    constexpr float c_fltScale = 1 / 257.0f;
    return {UnmixPixels::ColourOf<S>(pixels, c_fltScale),
            ToF32(ShiftedIn0(pixels.nRA, 16)) * typename S::F32(c_fltScale)};
}

/// Black of that density under the colour.
template <class S> ZCK_INLINE VALUE<S> OverShadow(const VALUE<S>& _value, typename S::F32 _fltShadow)
{
    using F32 = typename S::F32;
    const F32 fltOne(1.0f), fltNone(0.0f);
    const F32 a = _value.fltAlpha / F32(255.0f);
    const F32 fltAlpha = a + (fltOne - a) * _fltShadow;
    const auto maskSeen = Less(fltNone, fltAlpha);
    const F32 fltShare = Select(maskSeen, a / Select(maskSeen, fltAlpha, fltOne), fltNone);
    return {_value.colour * fltShare, fltAlpha * F32(255.0f)};
}

/// What is held out comes back, 0 to 255.
template <class S>
ZCK_INLINE VALUE<S> HeldOut(const VALUE<S>& _value, const COLOUR<S>& _source, typename S::F32 _fltHoldOut)
{
    using F32 = typename S::F32;
    const F32 fltOne(1.0f), fltNone(0.0f);
    const auto maskHeld = Less(fltNone, _fltHoldOut);
    const F32 fltHold = _fltHoldOut / F32(255.0f);
    const F32 fltAlpha = _value.fltAlpha / F32(255.0f) * (fltOne - fltHold) + fltHold;
    const F32 fltSource = fltHold / Select(maskHeld, fltAlpha, fltOne);
    return {_value.colour * (fltOne - fltSource) + _source * fltSource,
            Select(maskHeld, fltAlpha * F32(255.0f), _value.fltAlpha)};
}

/// A row of as many pixels as a vector has lanes. _pBytes: four rows of bytes of the run's.
template <class S> ZCK_INLINE VALUE<S> Finished(const FINISH_RUN& _run, const VALUE<S>& _value, size_t _nAt)
{
    using F32 = typename S::F32;
    VALUE<S> value = _value;
    VALUE<S> source = FromBytes<S>(S::LoadI32(_run.pSource + 4 * _nAt));
    if (_run.pShade)
        value = OverShadow<S>(value, S::LoadF32(_run.pShade + _nAt));
    if (_run.bMultiply && _run.bSourceAlpha)
        value.fltAlpha = value.fltAlpha * (source.fltAlpha / F32(255.0f));
    if (_run.pGarbage)
        value.fltAlpha = value.fltAlpha * ((F32(255.0f) - ToF32(S::WidenI32(_run.pGarbage + _nAt))) / F32(255.0f));
    if (_run.pHoldOut)
        value = HeldOut<S>(value, source.colour, ToF32(S::WidenI32(_run.pHoldOut + _nAt)));
    return value;
}

template <class S> ZCK_INLINE void FinishVector(const FINISH_RUN& _run, size_t _nAt)
{
    auto* const pPixels = static_cast<uint8_t*>(_run.pPixels) + (_run.bWords ? 8 : 4) * _nAt;
    if (!_run.bWords)
    {
        const VALUE<S> value = Finished<S>(_run, FromBytes<S>(S::LoadI32(pPixels)), _nAt);
        return S::Store(static_cast<void*>(pPixels), UnmixPixels::ToBytes<S>(value.colour, value.fltAlpha));
    }
    const VALUE<S> value = Finished<S>(_run, FromWords<S>(reinterpret_cast<const uint16_t*>(pPixels)), _nAt);
    typename S::I32 nFirst, nSecond;
    UnmixPixels::ToWords<S>(value.colour, value.fltAlpha, nFirst, nSecond);
    S::Store(static_cast<void*>(pPixels), nFirst);
    S::Store(static_cast<void*>(pPixels + S::c_nBytes), nSecond);
}

/// The last pixels, fewer than a vector has lanes, with room for all of them.
template <class S> ZCK_INLINE void FinishLast(const FINISH_RUN& _run, size_t _nAt, size_t _nLeft)
{
    uint8_t arrPixels[2 * S::c_nBytes] = {}, arrSource[S::c_nBytes] = {};
    uint8_t arrGarbage[S::c_nLanes] = {}, arrHoldOut[S::c_nLanes] = {};
    float arrShade[S::c_nLanes] = {};
    const size_t cbPixel = _run.bWords ? 8 : 4;
    auto* const pPixels = static_cast<uint8_t*>(_run.pPixels) + cbPixel * _nAt;
    FINISH_RUN run = _run;
    run.pPixels = arrPixels;
    memcpy(arrPixels, pPixels, cbPixel * _nLeft);
    memcpy(arrSource, _run.pSource + 4 * _nAt, 4 * _nLeft);
    run.pSource = arrSource;
    if (_run.pGarbage)
        run.pGarbage = static_cast<uint8_t*>(memcpy(arrGarbage, _run.pGarbage + _nAt, _nLeft));
    if (_run.pHoldOut)
        run.pHoldOut = static_cast<uint8_t*>(memcpy(arrHoldOut, _run.pHoldOut + _nAt, _nLeft));
    if (_run.pShade)
        run.pShade = static_cast<float*>(memcpy(arrShade, _run.pShade + _nAt, sizeof(float) * _nLeft));
    FinishVector<S>(run, 0);
    memcpy(pPixels, arrPixels, cbPixel * _nLeft);
}

template <class S> void Finish(const FINISH_RUN& _run)
{
    const size_t nPixels = static_cast<size_t>(_run.nPixels);
    size_t n = 0;
    for (; n + S::c_nLanes <= nPixels; n += S::c_nLanes)
        FinishVector<S>(_run, n);
    if (n < nPixels)
        FinishLast<S>(_run, n, nPixels - n);
}

/// What a pixel was, in bytes and in words.
template <class S> ZCK_INLINE typename S::I32 BytesBefore(const CHANGED_RUN& _run, size_t _nAt)
{
    using I32 = typename S::I32;
    if (!_run.pDeep)
        return S::LoadI32(_run.pSource + 4 * _nAt);
    const UnmixVectors::PAIRS<S> deep = UnmixVectors::FromWords<S>(_run.pDeep + 4 * _nAt);
    const auto Rounded = [](I32 _nPair) { return ShiftedIn0(_nPair + 0x00200020, 6) & 0x00FF00FF; };
    const I32 nBG = Rounded(deep.nBG);
    return (nBG & 0xFF) | (nBG >> 8) | (Rounded(deep.nRA) << 16);
}
template <class S> ZCK_INLINE typename S::I32 WordBefore(const CHANGED_RUN& _run, typename S::I32 _nChannel)
{
    return _run.pDeep ? (_nChannel * 257 + 32) >> 6 : _nChannel * 257;
}

/// Pixels with alpha of which a channel is off by more than one level.
template <class S> ZCK_INLINE typename S::M32 ChangedBytes(const CHANGED_RUN& _run, size_t _nAt)
{
    using I32 = typename S::I32;
    using U8 = typename S::U8;
    const I32 nResult = S::LoadI32(static_cast<const uint8_t*>(_run.pResult) + 4 * _nAt);
    const auto result = As<U8>(nResult), source = As<U8>(BytesBefore<S>(_run, _nAt));
    const I32 nOff = As<I32>(Max(result, source)) - As<I32>(Min(result, source));
    return Without(Greater(ShiftedIn0(nResult, 24), I32(0)), Equal(nOff & 0x00FEFEFE, I32(0)));
}
/// The same of more than one step of ten bits.
template <class S> ZCK_INLINE typename S::M32 ChangedWords(const CHANGED_RUN& _run, size_t _nAt)
{
    using I32 = typename S::I32;
    const UnmixVectors::PAIRS<S> result =
        UnmixVectors::FromWords<S>(static_cast<const uint16_t*>(_run.pResult) + 4 * _nAt);
    const UnmixVectors::PAIRS<S> source = _run.pDeep ? UnmixVectors::FromWords<S>(_run.pDeep + 4 * _nAt)
                                                     : UnmixVectors::FromBytes<S>(S::LoadI32(_run.pSource + 4 * _nAt));
    const auto IsOff = [&](I32 _nResult, I32 _nSource) {
        return Greater(Abs(_nResult - WordBefore<S>(_run, _nSource)), I32(65));
    };
    const auto maskOff = IsOff(result.nBG & 0xFFFF, source.nBG & 0xFFFF) |
                         IsOff(ShiftedIn0(result.nBG, 16), ShiftedIn0(source.nBG, 16)) |
                         IsOff(result.nRA & 0xFFFF, source.nRA & 0xFFFF);
    return maskOff & Greater(ShiftedIn0(result.nRA, 16), I32(0));
}
template <class S> ZCK_INLINE uint64_t ChangedVectors(const CHANGED_RUN& _run)
{
    uint64_t nChanged = 0;
    for (size_t n = 0; n < static_cast<size_t>(_run.nPixels); n += S::c_nLanes)
        nChanged |= static_cast<uint64_t>(Bits(_run.bWords ? ChangedWords<S>(_run, n) : ChangedBytes<S>(_run, n))) << n;
    return nChanged;
}
template <class S> void Changed(const CHANGED_RUN& _run, uint64_t& _nChanged)
{
    if (_run.nPixels == 64)
    {
        _nChanged = ChangedVectors<S>(_run);
        return;
    }
    const auto nPixels = static_cast<size_t>(_run.nPixels);
    uint16_t arrResult[256] = {}, arrSource[256] = {};
    memcpy(arrResult, _run.pResult, (_run.bWords ? 8 : 4) * nPixels);
    if (_run.pDeep)
        memcpy(arrSource, _run.pDeep, 8 * nPixels);
    else
        memcpy(arrSource, _run.pSource, 4 * nPixels);
    _nChanged = ChangedVectors<S>({arrResult, _run.bWords, reinterpret_cast<const uint8_t*>(arrSource),
                                   _run.pDeep ? arrSource : nullptr, _run.nPixels});
}

template <class S> void Mask(const MASK_ROW& _row)
{
    const size_t nPixels = static_cast<size_t>(_row.nPixels);
    const auto AlphaAt = [&](size_t _n) { return ShiftedIn0(S::LoadI32(_row.pPixels + 4 * _n), 24); };
    size_t n = 0;
    for (; n + S::c_nBytes <= nPixels; n += S::c_nBytes)
    {
        S::Prefetch(_row.pMask + _row.nNext + n);
        S::Store(_row.pMask + n, PackLanes(AlphaAt(n), AlphaAt(n + S::c_nLanes), AlphaAt(n + 2 * S::c_nLanes),
                                           AlphaAt(n + 3 * S::c_nLanes)));
    }
    for (; n < nPixels; ++n)
        _row.pMask[n] = _row.pPixels[4 * n + 3];
}

} // namespace UnmixFinish
} // namespace
