#include "ZChromaKey/Licence/Signature.h"

#include "Base/ZLog.h"
#include "ZChromaKey/Licence/Base64.h"

#include <algorithm>
#include <vector>

namespace
{

constexpr size_t c_nNumber = 32; // bytes of a number or coordinate of the curve

// What a public key of P-256 begins with in DER, before its point: RFC 5480 and SEC 1, the point not compressed.
constexpr uint8_t c_arrKeyBegin[] = {0x30, 0x59, 0x30, 0x13, 0x06, 0x07, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x02, 0x01, 0x06,
                                     0x08, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x03, 0x01, 0x07, 0x03, 0x42, 0x00, 0x04};

constexpr uint8_t c_nSequence = 0x30;
constexpr uint8_t c_nInteger = 0x02;

/// Takes a piece with a type and a length below 128 off the front.
bool TakePiece(uint8_t _nType, std::span<const uint8_t>* _pspanRest, std::span<const uint8_t>* _pspanPiece)
{
    if (_pspanRest->size() < 2 || (*_pspanRest)[0] != _nType || (*_pspanRest)[1] > 127 ||
        (*_pspanRest)[1] > _pspanRest->size() - 2)
        return false;
    *_pspanPiece = _pspanRest->subspan(2, (*_pspanRest)[1]);
    *_pspanRest = _pspanRest->subspan(2 + _pspanPiece->size());
    return true;
}

/// Takes a number above 0 in its shortest form.
bool TakeNumber(std::span<const uint8_t>* _pspanRest, std::span<const uint8_t>* _pspanNumber)
{
    if (!TakePiece(c_nInteger, _pspanRest, _pspanNumber) || _pspanNumber->empty() || (*_pspanNumber)[0] > 127)
        return false;
    if ((*_pspanNumber)[0] != 0)
        return true;
    *_pspanNumber = _pspanNumber->subspan(1); // in front of a number whose highest bit would be a sign
    return !_pspanNumber->empty() && (*_pspanNumber)[0] > 127;
}

} // namespace

bool Signature_KeyRead(std::string_view _svText, LICENCE_KEY* _pKey)
{
    std::vector<uint8_t> vecKey;
    constexpr size_t c_cbBegin = sizeof(c_arrKeyBegin);
    if (!Base64_Read(_svText, &vecKey) || vecKey.size() != c_cbBegin + _pKey->size() ||
        !std::equal(c_arrKeyBegin, c_arrKeyBegin + c_cbBegin, vecKey.begin()))
        return false;
    std::copy(vecKey.begin() + c_cbBegin, vecKey.end(), _pKey->begin());
    return true;
}

bool Signature_Read(std::span<const uint8_t> _spanDer, LICENCE_SIGNATURE* _pSignature, std::string* _pstrReason)
{
    std::span<const uint8_t> spanRest = _spanDer;
    std::span<const uint8_t> spanBoth;
    std::span<const uint8_t> arrNumbers[2];
    const bool bRead = TakePiece(c_nSequence, &spanRest, &spanBoth) && spanRest.empty() &&
                       TakeNumber(&spanBoth, &arrNumbers[0]) && TakeNumber(&spanBoth, &arrNumbers[1]) &&
                       spanBoth.empty();
    if (!bRead)
    {
        *_pstrReason = ZFormat("the signature, of %zu bytes, is no ECDSA signature in DER", _spanDer.size());
        return false;
    }
    _pSignature->fill(0);
    for (size_t n = 0; n < 2; ++n)
    {
        if (arrNumbers[n].size() > c_nNumber)
        {
            *_pstrReason = ZFormat("the signature has a number of %zu bytes, as of another curve; P-256 has %zu",
                                   arrNumbers[n].size(), c_nNumber);
            return false;
        }
        std::ranges::copy(arrNumbers[n],
                          _pSignature->begin() + static_cast<ptrdiff_t>((n + 1) * c_nNumber - arrNumbers[n].size()));
    }
    return true;
}
