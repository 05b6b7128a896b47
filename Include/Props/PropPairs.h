#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Option strings: lists of "name=value" pairs, as methods take them in one string.
///
/// Blanks, commas or semicolons separate pairs: detect.blocks=32 type=yuv. A value that holds one of these is put in
/// quotes, ' or ", or the whole pair is: background='C:/my plate.png' "note=a b". There are no escapes inside quotes;
/// a text with one kind of quote goes between the other. Nothing may stand around the '='.

/// One pair. Both texts are borrowed from the option string.
struct PROP_PAIR
{
    std::string_view svName;  ///< never empty
    std::string_view svValue; ///< without its quotes; may be empty
};

/// Why an option string cannot be read.
struct PROP_PAIRS_ERROR
{
    size_t nPosition = 0;  ///< byte of the option string, counted from 1
    std::string strReason; ///< what is wrong there, and what is right
};

/// Reads the pairs of an option string, in order. Values stay texts (PropText.h). False: the error is filled in and the
/// list is empty.
bool PropPairs_Read(std::string_view _svText, std::vector<PROP_PAIR>* _pvecPairs, PROP_PAIRS_ERROR* _pError);

/// The last pair with this name, which is the one that counts; null when there is none.
const PROP_PAIR* PropPairs_Find(const std::vector<PROP_PAIR>& _vecPairs, std::string_view _svName);
