#pragma once

#include "Simd/Simd.h"

/// Every operation of Simd.h over two rows of numbers, so that levels can be compared.

constexpr size_t c_nProbeBytes = 512; // whole vectors at every level
constexpr size_t c_nProbeInts = c_nProbeBytes / 4;

/// Two operands of every kind. The floats are finite; those of arrDivisor are not 0, those of arrPositive not below 0,
/// and arrSmall fits an int.
struct PROBE_INPUT
{
    uint8_t arrBytes[2][c_nProbeBytes];
    int32_t arrInts[2][c_nProbeInts];
    float arrFloats[2][c_nProbeInts];
    float arrDivisor[c_nProbeInts];
    float arrPositive[c_nProbeInts];
    float arrSmall[c_nProbeInts];
};

/// What the operations make of them: a row for each, in an order of their own.
struct PROBE_OUTPUT
{
    static constexpr size_t c_nMaxRows = 100; // more than there are operations
    uint8_t arrRows[c_nMaxRows][c_nProbeBytes];
    size_t nRows;
    /// By number of elements: what is loaded, and what is stored, of bytes, ints and floats.
    uint8_t arrParts[65][7][64];
};

void SimdProbe_Plain8(const PROBE_INPUT& _input, PROBE_OUTPUT* _pOutput);
void SimdProbe_Plain16(const PROBE_INPUT& _input, PROBE_OUTPUT* _pOutput);
void SimdProbe_AVX2(const PROBE_INPUT& _input, PROBE_OUTPUT* _pOutput);
void SimdProbe_AVX512(const PROBE_INPUT& _input, PROBE_OUTPUT* _pOutput);

/// Writes rows of results, a vector of each row at a time.
template <class S> class CProbeWriter
{
public:
    explicit CProbeWriter(PROBE_OUTPUT* _pOutput)
        : m_pOutput(_pOutput)
    {
    }
    /// The byte that the vectors of the next rows begin at.
    void Begin(size_t _nByte)
    {
        m_nByte = _nByte;
        m_pOutput->nRows = 0;
    }
    template <class V> void Put(V _vec)
    {
        S::Store(Next(), _vec);
    }
    void Put(typename S::U16 _words)
    {
        S::Store(Next(), As<typename S::U8>(_words));
    }
    void Put(typename S::F32 _floats)
    {
        S::Store(reinterpret_cast<float*>(Next()), _floats);
    }
    void Put(typename S::M8 _mask)
    {
        S::Store(Next(), ElseNone(_mask, typename S::U8(0xFF)));
    }
    void Put(typename S::M32 _mask)
    {
        S::Store(Next(), Select(_mask, typename S::I32(-1), typename S::I32(Any(_mask))));
    }
    void PutThreeQuarters(typename S::I32 _ints)
    {
        S::Store(static_cast<void*>(Next()), S::c_nLanes / 4 * 3, _ints);
    }

private:
    uint8_t* Next()
    {
        return m_pOutput->arrRows[m_pOutput->nRows++] + m_nByte;
    }
    PROBE_OUTPUT* m_pOutput;
    size_t m_nByte = 0;
};

template <class S> void ProbeBytes(CProbeWriter<S>& _writer, typename S::U8 _a, typename S::U8 _b)
{
    constexpr uint8_t c_arrPattern[16] = {3, 2, 1, 0, 15, 0xFF, 7, 7, 8, 0, 12, 0xFF, 5, 4, 10, 14};
    const auto maskMore = AtLeast(_a, _b);
    _writer.Put(_a | _b);
    _writer.Put(_a & _b);
    _writer.Put(_a ^ _b);
    _writer.Put(~_a);
    _writer.Put(Min(_a, _b));
    _writer.Put(Max(_a, 100));
    _writer.Put(maskMore);
    _writer.Put(Select(maskMore, _a, _b));
    _writer.Put(ElseNone(maskMore, _b));
    _writer.Put(ElseAll(maskMore, _b));
    _writer.Put(Even(_a));
    _writer.Put(Odd(_a));
    _writer.Put(AddPairs(_a));
    _writer.Put(AddProducts(_a & 0x7F, _b));
    _writer.Put(JoinBytes(Odd(_a), Even(_b)));
    _writer.Put(ShuffleBytes(_a, c_arrPattern));
    _writer.Put(LookedUp(c_arrPattern, _a & 0x8F)); // beyond the table where the highest bit is set
}

template <class S> void ProbeWords(CProbeWriter<S>& _writer, typename S::U16 _a, typename S::U16 _b)
{
    _writer.Put(_a + _b);
    _writer.Put(_a - _b);
    _writer.Put(_a * _b);
    _writer.Put(_a | _b);
    _writer.Put(_a & 0x0FF0);
    _writer.Put(_a << 3);
    _writer.Put(_a >> 5);
    _writer.Put(MulAdd(_a, _b));
    _writer.Put(MulRound(_a, _b));
    _writer.Put(ClampToByte(_a));
    _writer.Put(PackBytes(_a, _b));
    _writer.Put(AbsSigned(_a));
    _writer.Put(AddWhere(GreaterSigned(_a, _b), _a, _b));
    _writer.Put(CountWhere(GreaterSigned(_b, _a), _b));
    typename S::I32 vecFirst, vecSecond;
    JoinWords(_a, _b, _a - _b, _b >> 8, vecFirst, vecSecond);
    _writer.Put(vecFirst);
    _writer.Put(vecSecond);
}

template <class S> void ProbeInts(CProbeWriter<S>& _writer, typename S::I32 _a, typename S::I32 _b)
{
    using I32 = typename S::I32;
    const auto maskMore = Greater(_a, _b);
    const auto maskOdd = Equal(_a & 1, 1);
    _writer.Put(_a + _b);
    _writer.Put(_a - _b);
    _writer.Put(_a * _b);
    _writer.Put(_a | _b);
    _writer.Put(JoinClamped(_a, _b, _a >> 22, _b >> 23));
    _writer.Put(_a & _b);
    _writer.Put(_a ^ _b);
    _writer.Put(_a << 7);
    _writer.Put(_a >> 9);
    _writer.Put(ShiftedIn0(_a, 9));
    _writer.Put(Min(_a, _b));
    _writer.Put(Max(_a, -1000));
    _writer.Put(Abs(_a));
    _writer.Put(maskMore);
    _writer.Put(maskOdd);
    _writer.Put(maskMore & maskOdd);
    _writer.Put(maskMore | maskOdd);
    _writer.Put(Without(maskMore, maskOdd));
    _writer.Put(Greater(_a & 0, 0)); // true nowhere
    _writer.Put(IsNegative(_a));
    _writer.Put(Below(_a, ShiftedIn0(_b, 1)));
    _writer.Put(Select(IsNegative(_b), _a, _b));
    _writer.Put(ToF32(_a));
    _writer.Put(PackWords(_a >> 15, _b >> 14));
    _writer.Put(HighWords(_a, _b));
    _writer.Put(PackLanes(_a & 255, _b & 255, ShiftedIn0(_a, 24), ShiftedIn0(_b, 24)));
    _writer.PutThreeQuarters(FirstThree(_a));
    I32 vecFirst, vecSecond;
    Interleave(_a, _b, vecFirst, vecSecond);
    _writer.Put(vecFirst);
    _writer.Put(vecSecond);
    Deinterleave(_a, _b, vecFirst, vecSecond);
    _writer.Put(vecFirst);
    _writer.Put(vecSecond);
    DeinterleaveBlocks(_a, _b, vecFirst, vecSecond);
    _writer.Put(vecFirst);
    _writer.Put(vecSecond);
    _writer.Put(SplitHalves(_a));
    _writer.Put(JoinHalves(_a));
    _writer.Put(I32(static_cast<int>(Bits(maskMore))));
}

/// Loads and stores that only 32-bit integers have.
template <class S> void ProbeIntMemory(CProbeWriter<S>& _writer, const PROBE_INPUT& _input, size_t _nByte)
{
    constexpr ptrdiff_t c_nStride = 24;
    int16_t arrWords[S::c_nLanes];
    uint8_t arrBlocks[c_nStride * S::c_nLanes / 4] = {};
    const auto vecInts = S::LoadI32(_input.arrInts[0] + _nByte / 4) >> 17;
    S::Narrow(arrWords, vecInts);
    S::StoreBlocks(arrBlocks, c_nStride, vecInts);
    _writer.Put(S::WidenI32(arrWords) + (vecInts << 1));
    _writer.Put(S::LoadBlocks(arrBlocks + 4, c_nStride));
    _writer.Put(S::WidenBlocks(reinterpret_cast<const int16_t*>(_input.arrInts[1]), c_nStride));
}

template <class S> void ProbeFloats(CProbeWriter<S>& _writer, const PROBE_INPUT& _input, size_t _n)
{
    using F32 = typename S::F32;
    const F32 fltA = S::LoadF32(_input.arrFloats[0] + _n);
    const F32 fltB = S::LoadF32(_input.arrFloats[1] + _n);
    _writer.Put(fltA + fltB);
    _writer.Put(fltA - fltB);
    _writer.Put(fltA * fltB);
    _writer.Put(fltA / S::LoadF32(_input.arrDivisor + _n));
    _writer.Put(Sqrt(S::LoadF32(_input.arrPositive + _n)));
    _writer.Put(Min(fltA, fltB));
    _writer.Put(Max(fltA, 0.0f));
    _writer.Put(Abs(fltA));
    _writer.Put(AsInts(fltA));
    _writer.Put(AsFloats(AsInts(fltB)));
    _writer.Put(Less(fltA, fltB));
    _writer.Put(Select(Less(fltA, fltB), fltA, fltB));
    _writer.Put(ToI32(S::LoadF32(_input.arrSmall + _n)));
    _writer.Put(Spread<2>(fltA));
    _writer.Put(S::RepeatBlock(_input.arrFloats[0]));
}

/// Loads and stores of the first elements of a vector, of every number.
template <class S> void ProbeParts(const PROBE_INPUT& _input, PROBE_OUTPUT* _pOutput)
{
    const typename S::U8 vecBytes = S::LoadU8(_input.arrBytes[1]);
    const typename S::I32 vecInts = S::LoadI32(_input.arrInts[1]);
    const typename S::F32 vecFloats = S::LoadF32(_input.arrFloats[1]);
    for (size_t n = 0; n <= S::c_nBytes; ++n)
    {
        auto& arrPart = _pOutput->arrParts[n];
        S::Store(arrPart[0], S::LoadU8(_input.arrBytes[0], n));
        S::Store(arrPart[1], n, vecBytes);
        S::Store(arrPart[2], S::LoadI32(_input.arrInts[0], n));
        S::Store(static_cast<void*>(arrPart[3]), n, vecInts);
        S::Store(reinterpret_cast<float*>(arrPart[4]), S::LoadF32(_input.arrFloats[0], n));
        S::Store(reinterpret_cast<float*>(arrPart[5]), n, vecFloats);
        S::Store(arrPart[6], S::WidenI32(_input.arrBytes[0], n));
    }
}

template <class S> void SimdProbe(const PROBE_INPUT& _input, PROBE_OUTPUT* _pOutput)
{
    CProbeWriter<S> writer(_pOutput);
    for (size_t n = 0; n < c_nProbeBytes; n += S::c_nBytes)
    {
        const typename S::U8 vecA = S::LoadU8(_input.arrBytes[0] + n);
        const typename S::U8 vecB = S::LoadU8(_input.arrBytes[1] + n);
        writer.Begin(n);
        ProbeBytes<S>(writer, vecA, vecB);
        ProbeWords<S>(writer, As<typename S::U16>(vecA), As<typename S::U16>(vecB));
        ProbeInts<S>(writer, S::LoadI32(_input.arrInts[0] + n / 4), S::LoadI32(_input.arrInts[1] + n / 4));
        ProbeFloats<S>(writer, _input, n / 4);
        ProbeIntMemory<S>(writer, _input, n);
        writer.Put(S::WidenI32(_input.arrBytes[0] + n));
        writer.Put(S::WidenU16(_input.arrBytes[0] + n));
    }
    ProbeParts<S>(_input, _pOutput);
}
