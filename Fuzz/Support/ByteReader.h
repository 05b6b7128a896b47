#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/// Takes the bytes of a fuzzed input apart. Past its end everything reads as 0, so that every input means something.
class CByteReader
{
public:
    CByteReader(const uint8_t* _pBytes, size_t _cbBytes)
        : m_svRest(reinterpret_cast<const char*>(_pBytes), _cbBytes)
    {
    }
    explicit CByteReader(std::string_view _svBytes)
        : m_svRest(_svBytes)
    {
    }

    bool AtEnd() const
    {
        return m_svRest.empty();
    }
    /// The next bytes as a number or a record, whatever they are.
    template <class T> T Take()
    {
        static_assert(std::is_trivially_copyable_v<T>);
        T value = {};
        const size_t cbTaken = std::min(sizeof(T), m_svRest.size());
        std::memcpy(static_cast<void*>(&value), m_svRest.data(), cbTaken);
        m_svRest.remove_prefix(cbTaken);
        return value;
    }
    uint8_t Byte()
    {
        return Take<uint8_t>();
    }
    bool Flag()
    {
        return (Byte() & 1) != 0;
    }
    /// A number from _nMin to _nMax, out of one byte where that is enough.
    int Range(int _nMin, int _nMax)
    {
        const int nValues = _nMax - _nMin + 1;
        return _nMin + (nValues <= 256 ? Byte() : Take<uint16_t>()) % nValues;
    }
    template <class T, size_t N> T OneOf(const T (&_arrValues)[N])
    {
        return _arrValues[static_cast<size_t>(Range(0, static_cast<int>(N) - 1))];
    }
    /// A number of pixels or the like: mostly small, sometimes anything.
    int32_t Number()
    {
        const uint8_t nKind = Byte();
        return nKind < 0xC0 ? nKind % 0x80 - 0x20 : Take<int32_t>();
    }
    /// A number such as a user moves a slider to: mostly within the scale, sometimes any double there is.
    double Double()
    {
        return Byte() % 4 ? Take<int16_t>() / 64.0 : Take<double>();
    }
    /// The next bytes up to a line feed, which goes too, or to the end.
    std::string_view Line()
    {
        const size_t nEnd = m_svRest.find('\n');
        const std::string_view svLine = m_svRest.substr(0, nEnd);
        m_svRest.remove_prefix(nEnd == std::string_view::npos ? m_svRest.size() : nEnd + 1);
        return svLine;
    }
    /// All that is left.
    std::string_view Rest()
    {
        return std::exchange(m_svRest, {});
    }
    /// Fills memory; when the input ends, numbers follow that depend on what there was of it.
    void Fill(void* _pBytes, size_t _cbBytes)
    {
        auto* const pBytes = static_cast<uint8_t*>(_pBytes);
        const size_t cbTaken = std::min(_cbBytes, m_svRest.size());
        uint32_t nState = static_cast<uint32_t>(cbTaken) + 1;
        for (size_t n = 0; n < cbTaken; ++n)
        {
            pBytes[n] = static_cast<uint8_t>(m_svRest[n]);
            nState = nState * 31 + pBytes[n];
        }
        for (size_t n = cbTaken; n < _cbBytes; ++n)
        {
            nState = nState * 1664525u + 1013904223u;
            pBytes[n] = static_cast<uint8_t>(nState >> 24);
        }
        m_svRest.remove_prefix(cbTaken);
    }

private:
    std::string_view m_svRest;
};
