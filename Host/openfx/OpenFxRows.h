#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

/// Rows of the host's pictures, R, G, B, A, and those of the keyer: B, G, R, A in words of 8 or 16 bits.

/// A sample as a word of the keyer. Of float, what lies outside 0 to 1 is cut off, and what is no number becomes 0.
template <class Word, class T> Word OpenFx_ToWord(T _sample)
{
    if constexpr (std::numeric_limits<T>::is_integer)
        return _sample;
    else
    {
        constexpr T c_most = std::numeric_limits<Word>::max();
        const T sample = _sample > 0 ? _sample * c_most + T(0.5) : 0;
        return static_cast<Word>(sample < c_most ? sample : c_most);
    }
}

template <class T, class Word> T OpenFx_FromWord(Word _nWord)
{
    if constexpr (std::numeric_limits<T>::is_integer)
        return _nWord;
    else
        return static_cast<T>(_nWord) / static_cast<T>(std::numeric_limits<Word>::max());
}

/// A colour without the alpha that it was multiplied by.
template <class Word> Word OpenFx_Divide(Word _nColor, Word _nAlpha)
{
    constexpr uint32_t c_nMost = std::numeric_limits<Word>::max();
    const uint32_t nColor = _nAlpha ? (_nColor * c_nMost + _nAlpha / 2u) / _nAlpha : 0;
    return static_cast<Word>(nColor < c_nMost ? nColor : c_nMost);
}

/// Reads pixels of the host.
template <class T, class Word> void OpenFx_ReadRow(const T* _pFrom, Word* _pTo, int _nPixels, bool _bPremultiplied)
{
    for (int n = 0; n < _nPixels; ++n, _pFrom += 4, _pTo += 4)
    {
        for (const int c : {0, 1, 2, 3})
            _pTo[c] = OpenFx_ToWord<Word>(_pFrom[c == 3 ? 3 : 2 - c]);
        for (const int c : {0, 1, 2})
            if (_bPremultiplied)
                _pTo[c] = OpenFx_Divide(_pTo[c], _pTo[3]);
    }
}

/// Writes pixels for the host. A sample that the keyer has left as it was stays that of the source, which may have more
/// digits, or be brighter than white.
template <class T, class Word> void OpenFx_WriteRow(const Word* _pResult, const Word* _pRead, const T* _pSource,
                                                    T* _pTo, int _nPixels, bool _bPremultiplied)
{
    for (int n = 0; n < _nPixels; ++n, _pResult += 4, _pRead += 4, _pSource += 4, _pTo += 4)
    {
        const bool bKeep = !_bPremultiplied || _pRead[3] == std::numeric_limits<Word>::max();
        for (const int c : {0, 1, 2, 3})
        {
            const int nFrom = c == 3 ? 3 : 2 - c;
            const bool bSame = bKeep && _pResult[nFrom] == _pRead[nFrom];
            _pTo[c] = bSame ? _pSource[c] : OpenFx_FromWord<T>(_pResult[nFrom]);
        }
    }
}
