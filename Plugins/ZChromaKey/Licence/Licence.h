#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A licence document: what it says, and what is signed of it. Docs/Licence.md describes both for whoever issues one.

inline constexpr size_t c_nLicenceMaxBytes = 65'536; ///< of a document
inline constexpr size_t c_nLicenceMaxText = 256;     ///< bytes of a value

/// What a document says. All texts are UTF-8 without control characters.
struct LICENCE
{
    std::string strProduct;
    std::string strHolder;
    std::string strFeatures; ///< words with blanks between: names of classes, or "all"
    std::string strFirst;    ///< the first and the last day that it is for, both included: YYYY-MM-DD, in UTC
    std::string strLast;
    std::string strMachine; ///< 32 hexadecimal digits; "": any machine
    std::string strSerial;
    std::string strSignature; ///< base64 of the signature in DER
};

/// Reads a document. False and a reason, with the place where there is one: it is no licence document, something is
/// missing in it, wrong, or not known. The signature is read as a text only. Any bytes may be handed in.
bool Licence_Read(std::string_view _svDocument, LICENCE* _pLicence, std::string* _pstrReason);

/// The canonical text, which is signed: its own line and one for each value, but for the signature, in a fixed order.
std::string Licence_Text(const LICENCE& _licence);

/// A document that Licence_Read takes. False and a reason where a value is none.
bool Licence_Write(const LICENCE& _licence, std::string* _pstrDocument, std::string* _pstrReason);

/// Whether the features have a word, or "all".
bool Licence_Has(const LICENCE& _licence, std::string_view _svFeature);
