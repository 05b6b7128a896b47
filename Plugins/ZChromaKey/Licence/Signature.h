#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// Signatures of the kind ECDSA on the curve P-256 over SHA-256. What is secret or difficult about them is the
/// system's: CNG on Windows, libcrypto elsewhere. Here is only how keys and signatures are written down.

/// The issuer's public key: a point of the curve, both coordinates with the highest byte first.
using LICENCE_KEY = std::array<uint8_t, 64>;

/// A signature: the two numbers, each with the highest byte first.
using LICENCE_SIGNATURE = std::array<uint8_t, 64>;

/// The key out of the text between the first and last line of a file in PEM ("PUBLIC KEY"), in one piece. False: it is
/// no such key, or one of another curve. Whether the point lies on the curve shows when it is used.
bool Signature_KeyRead(std::string_view _svText, LICENCE_KEY* _pKey);

/// A signature out of its DER form, as RFC 3279 has it in section 2.2.3. Only the shortest form is taken, which is the
/// right one. False and a reason: it is none, or its numbers are for another curve.
bool Signature_Read(std::span<const uint8_t> _spanDer, LICENCE_SIGNATURE* _pSignature, std::string* _pstrReason);

/// What the system answers.
enum eSignature
{
    eSignature_Right,
    eSignature_Wrong,  ///< of another text, or by another key
    eSignature_Failed, ///< the system cannot say, or the key is none
};

/// Asks the system whether a text was signed by whom the key belongs to.
eSignature Signature_Check(const LICENCE_KEY& _key, std::string_view _svText, const LICENCE_SIGNATURE& _signature);

/// SHA-256 of a text, by the system. False: the system cannot say.
bool Signature_Hash(std::string_view _svText, std::array<uint8_t, 32>* _pHash);
