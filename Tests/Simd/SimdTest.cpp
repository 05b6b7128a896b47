#include "Simd/SimdProbe.h"

#include "Base/ZCpu.h"
#include "Simd/Simd_plain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <random>

namespace
{

using PFN_PROBE = void (*)(const PROBE_INPUT&, PROBE_OUTPUT*);

// Any bits; floats of all sizes, some of them alike or 0 of either sign.
void FillRandom(PROBE_INPUT* _pInput, std::mt19937& _rnd)
{
    const auto Float = [&] {
        const int nMantissa = static_cast<int>(_rnd() % 9 ? _rnd() >> 8 : _rnd() % 3);
        const float flt = std::ldexp(static_cast<float>(nMantissa), static_cast<int>(_rnd() % 40) - 30);
        return _rnd() % 2 ? flt : -flt;
    };
    for (auto& arrBytes : _pInput->arrBytes)
        for (uint8_t& nByte : arrBytes)
            nByte = static_cast<uint8_t>(_rnd() >> 8);
    for (size_t n = 0; n < c_nProbeInts; ++n)
    {
        _pInput->arrInts[0][n] = static_cast<int32_t>(_rnd());
        _pInput->arrInts[1][n] = _rnd() % 4 ? static_cast<int32_t>(_rnd()) : _pInput->arrInts[0][n];
        _pInput->arrFloats[0][n] = Float();
        _pInput->arrFloats[1][n] = _rnd() % 4 ? Float() : _pInput->arrFloats[0][n];
        _pInput->arrPositive[n] = std::fabs(Float());
        _pInput->arrDivisor[n] = Float();
        if (_pInput->arrDivisor[n] == 0)
            _pInput->arrDivisor[n] = 3;
        _pInput->arrSmall[n] =
            std::ldexp(static_cast<float>(static_cast<int32_t>(_rnd())), -static_cast<int>(1 + _rnd() % 31));
    }
    _pInput->arrSmall[0] = -2147483648.0f;
}

void ExpectSame(PFN_PROBE _pfnLevel, PFN_PROBE _pfnPlain)
{
    std::mt19937 rnd(1);
    for (int nRun = 0; nRun < 200; ++nRun)
    {
        const auto upInput = std::make_unique<PROBE_INPUT>();
        const auto upLevel = std::make_unique<PROBE_OUTPUT>();
        const auto upPlain = std::make_unique<PROBE_OUTPUT>();
        FillRandom(upInput.get(), rnd);
        _pfnLevel(*upInput, upLevel.get());
        _pfnPlain(*upInput, upPlain.get());
        ASSERT_EQ(upLevel->nRows, upPlain->nRows);
        for (size_t n = 0; n < upPlain->nRows; ++n)
            ASSERT_EQ(std::memcmp(upLevel->arrRows[n], upPlain->arrRows[n], c_nProbeBytes), 0) << "operation " << n;
        for (size_t n = 0; n <= 64; ++n)
            ASSERT_EQ(std::memcmp(upLevel->arrParts[n], upPlain->arrParts[n], sizeof(upPlain->arrParts[n])), 0)
                << "the first " << n;
    }
}

#if defined(ZCK_X86)
TEST(Simd, AVX2ComputesWhatThePlainVectorsDo)
{
    if (ZCpu_Detected() < eSIMD_AVX2)
        GTEST_SKIP() << "processor or system without AVX2";
    ExpectSame(SimdProbe_AVX2, SimdProbe_Plain8);
}

TEST(Simd, AVX512ComputesWhatThePlainVectorsDo)
{
    if (ZCpu_Detected() < eSIMD_AVX512)
        GTEST_SKIP() << "processor or system without AVX-512";
    ExpectSame(SimdProbe_AVX512, SimdProbe_Plain16);
}
#endif

using PLAIN = SIMD_PLAIN_OF<8>;

template <class V> auto Counted(int _nFirst, int _nStep)
{
    return V::Of([&](size_t _n) { return _nFirst + _nStep * static_cast<int>(_n); });
}

template <class V, class T> void ExpectNumbers(const V& _vec, std::initializer_list<T> _numbers)
{
    EXPECT_TRUE(std::equal(_numbers.begin(), _numbers.end(), _vec.arr)) << testing::PrintToString(_vec.arr);
}

// What the names promise, for those that do more than their C++ operators.
TEST(Simd, PlainVectorsDoWhatTheirNamesSay)
{
    const auto vecUp = Counted<PLAIN::I32>(0, 1);
    const auto vecWide = Counted<PLAIN::I32>(-100000, 30000); // -100000, -70000, -40000, -10000, 20000, 50000, ...
    ExpectNumbers(vecWide >> 4, {-6250, -4375, -2500, -625, 1250, 3125});
    ExpectNumbers(ShiftedIn0(vecWide, 28), {15, 15, 15, 15, 0, 0, 0, 0});
    ExpectNumbers(Select(Below(vecWide, 50000), vecUp, PLAIN::I32(-1)), {-1, -1, -1, -1, 4, -1, -1, -1});
    ExpectNumbers(FirstThree(vecUp), {0, 1, 2, 4, 5, 6});
    PLAIN::I32 vecFirst, vecSecond;
    Interleave(vecUp, vecWide, vecFirst, vecSecond);
    ExpectNumbers(vecFirst, {0, -100000, 1, -70000, 2, -40000, 3, -10000});
    ExpectNumbers(vecSecond, {4, 20000, 5, 50000, 6, 80000, 7, 110000});
    PLAIN::I32 vecEven, vecOdd;
    Deinterleave(vecFirst, vecSecond, vecEven, vecOdd);
    ExpectNumbers(vecEven, {0, 1, 2, 3, 4, 5, 6, 7});
    ExpectNumbers(vecOdd, {-100000, -70000, -40000, -10000, 20000, 50000, 80000, 110000});
    ExpectNumbers(SplitHalves(vecUp), {0, 1, 4, 5, 2, 3, 6, 7});
    ExpectNumbers(JoinHalves(SplitHalves(vecUp)), {0, 1, 2, 3, 4, 5, 6, 7});
    EXPECT_EQ(Bits(Greater(vecWide, -50000)), 0xFCu);
    // In blocks: four of the one, four of the other.
    const PLAIN::U16 vecPacked = PackWords(vecWide, vecUp);
    ExpectNumbers(vecPacked, {32768, 32768, 32768, 55536, 0, 1, 2, 3, 20000, 32767, 32767, 32767, 4, 5, 6, 7});
    ExpectNumbers(PackBytes(vecPacked, PLAIN::U16(7)), {0, 0, 0, 0, 0, 1, 2, 3, 7, 7, 7, 7, 7, 7, 7, 7, 255, 255});
    ExpectNumbers(JoinClamped(vecUp, vecWide, vecUp + 2, vecWide),
                  {0x00020000, 0x00030001, 0x00040002, 0x00050003, -0x00F900FC});
    ExpectNumbers(HighWords(vecUp << 16, vecWide), {0, 65534, 1, 65534, 2, 65535});
    JoinWords(Counted<PLAIN::U16>(-1, 1), Counted<PLAIN::U16>(250, 1), 2, 3, vecFirst, vecSecond);
    ExpectNumbers(vecFirst, {0x0302FA00, 0x0302FB00, 0x0302FC01, 0x0302FD02, 0x0302FF07, 0x0302FF08});
    ExpectNumbers(vecSecond, {0x0302FE03, 0x0302FF04, 0x0302FF05, 0x0302FF06, 0x0302FF0B});
    ExpectNumbers(MulAdd(PLAIN::U16(-3), Counted<PLAIN::U16>(0, 10)), {-30, -150, -270});
    ExpectNumbers(MulRound(PLAIN::U16(-3), Counted<PLAIN::U16>(16384, 5461)), {65535, 65534, 65534, 65533});
    ExpectNumbers(ClampToByte(Counted<PLAIN::U16>(-1, 128)), {0, 127, 255, 255});
    const auto vecBytes = Counted<PLAIN::U8>(0, 1);
    ExpectNumbers(Even(vecBytes), {0, 2, 4, 6});
    ExpectNumbers(Odd(vecBytes), {1, 3, 5, 7});
    ExpectNumbers(AddPairs(vecBytes), {1, 5, 9, 13});
    ExpectNumbers(AddProducts(vecBytes, PLAIN::U8(0xFE)), {-12, -44});
    ExpectNumbers(JoinBytes(Odd(vecBytes), Even(vecBytes)), {1, 0, 3, 2, 5, 4});
    ExpectNumbers(ElseNone(AtLeast(vecBytes, 2), vecBytes), {0, 0, 2, 3});
    ExpectNumbers(ElseAll(AtLeast(2, vecBytes), vecBytes), {0, 1, 2, 255});
    ExpectNumbers(ToI32(PLAIN::F32(-2.9f)), {-2});
    EXPECT_TRUE(std::signbit(Min(PLAIN::F32(0.0f), PLAIN::F32(-0.0f)).arr[0])) << "the second where none is less";
}

} // namespace
