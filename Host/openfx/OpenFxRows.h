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
        const T sample = _sample > 0 ? _sample * c_most + T(0.5) : T(0);
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
template <class T, class Word> void OpenFx_ReadRow(const T* _pFrom, Word* _pTo, int _nPixels)
{
    for (int n = 0; n < 4 * _nPixels; n += 4)
    {
        _pTo[n] = OpenFx_ToWord<Word>(_pFrom[n + 2]);
        _pTo[n + 1] = OpenFx_ToWord<Word>(_pFrom[n + 1]);
        _pTo[n + 2] = OpenFx_ToWord<Word>(_pFrom[n]);
        _pTo[n + 3] = OpenFx_ToWord<Word>(_pFrom[n + 3]);
    }
}

/// Takes the alpha out of colours that were multiplied by it.
template <class Word> void OpenFx_DivideRow(Word* _pRow, int _nPixels)
{
    for (int n = 0; n < 4 * _nPixels; n += 4)
        for (int c = n; c < n + 3; ++c)
            _pRow[c] = OpenFx_Divide(_pRow[c], _pRow[n + 3]);
}

/// Writes pixels for the host. Of float, a sample that the keyer has left as it was read stays that of the source,
/// which may have more digits, or be brighter than white; not so one that alpha was taken out of.
template <class T, class Word> void OpenFx_WriteRow(const Word* _pResult, const Word* _pRead, const T* _pSource,
                                                    T* _pTo, int _nPixels, bool _bPremultiplied)
{
    constexpr bool c_bWhole = std::numeric_limits<T>::is_integer;
    for (int n = 0; n < 4 * _nPixels; n += 4)
    {
        const bool bKeep = !c_bWhole && (!_bPremultiplied || _pRead[n + 3] == std::numeric_limits<Word>::max());
        for (int c = 0; c < 4; ++c)
        {
            const int nTo = n + c, nFrom = n + (c == 3 ? 3 : 2 - c);
            const bool bSame = bKeep && _pResult[nFrom] == _pRead[nFrom];
            _pTo[nTo] = bSame ? _pSource[nTo] : OpenFx_FromWord<T>(_pResult[nFrom]);
        }
    }
}
