#include "ZChromaKey/Licence/Signature.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ecdsa.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>

#include <memory>
#include <vector>

// By libcrypto.

namespace
{

template <auto Free> struct FREER
{
    template <class T> void operator()(T* _pObject) const
    {
        Free(_pObject);
    }
};
using KEY_PTR = std::unique_ptr<EVP_PKEY, FREER<&EVP_PKEY_free>>;
using DIGEST_PTR = std::unique_ptr<EVP_MD_CTX, FREER<&EVP_MD_CTX_free>>;
using NUMBER_PTR = std::unique_ptr<BIGNUM, FREER<&BN_free>>;

/// Empty where the point is not on the curve.
KEY_PTR KeyMake(const LICENCE_KEY& _key)
{
    std::vector<uint8_t> vecPoint = {4}; // not compressed
    vecPoint.insert(vecPoint.end(), _key.begin(), _key.end());
    char arrCurve[] = "P-256";
    const OSSL_PARAM arrParams[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, arrCurve, 0),
        OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, vecPoint.data(), vecPoint.size()),
        OSSL_PARAM_construct_end()};
    const std::unique_ptr<EVP_PKEY_CTX, FREER<&EVP_PKEY_CTX_free>> upContext(
        EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
    EVP_PKEY* pKey = nullptr;
    if (!upContext || EVP_PKEY_fromdata_init(upContext.get()) != 1 ||
        EVP_PKEY_fromdata(upContext.get(), &pKey, EVP_PKEY_PUBLIC_KEY, const_cast<OSSL_PARAM*>(arrParams)) != 1)
        return {};
    return KEY_PTR(pKey);
}

/// The signature in DER, as libcrypto wants it; empty where there is no memory.
std::vector<uint8_t> DerOf(const LICENCE_SIGNATURE& _signature)
{
    constexpr int c_nNumber = 32;
    NUMBER_PTR upR(BN_bin2bn(_signature.data(), c_nNumber, nullptr));
    NUMBER_PTR upS(BN_bin2bn(_signature.data() + c_nNumber, c_nNumber, nullptr));
    const std::unique_ptr<ECDSA_SIG, FREER<&ECDSA_SIG_free>> upSignature(ECDSA_SIG_new());
    if (!upR || !upS || !upSignature || ECDSA_SIG_set0(upSignature.get(), upR.get(), upS.get()) != 1)
        return {};
    static_cast<void>(upR.release()); // it has both now
    static_cast<void>(upS.release());
    const int nBytes = i2d_ECDSA_SIG(upSignature.get(), nullptr);
    std::vector<uint8_t> vecDer(static_cast<size_t>(nBytes > 0 ? nBytes : 0));
    uint8_t* pDer = vecDer.data();
    if (nBytes > 0)
        i2d_ECDSA_SIG(upSignature.get(), &pDer);
    return vecDer;
}

/// What goes wrong here is not to be found by a host that uses libcrypto as well.
class CErrorsKept
{
public:
    CErrorsKept()
    {
        ERR_set_mark();
    }
    ~CErrorsKept()
    {
        ERR_pop_to_mark();
    }
    CErrorsKept(const CErrorsKept&) = delete;
    CErrorsKept& operator=(const CErrorsKept&) = delete;
};

const uint8_t* BytesOf(std::string_view _svText)
{
    return reinterpret_cast<const uint8_t*>(_svText.data());
}

} // namespace

eSignature Signature_Check(const LICENCE_KEY& _key, std::string_view _svText, const LICENCE_SIGNATURE& _signature)
{
    const CErrorsKept errors;
    const KEY_PTR upKey = KeyMake(_key);
    const std::vector<uint8_t> vecDer = DerOf(_signature);
    const DIGEST_PTR upDigest(EVP_MD_CTX_new());
    if (!upKey || vecDer.empty() || !upDigest ||
        EVP_DigestVerifyInit(upDigest.get(), nullptr, EVP_sha256(), nullptr, upKey.get()) != 1)
        return eSignature_Failed;
    return EVP_DigestVerify(upDigest.get(), vecDer.data(), vecDer.size(), BytesOf(_svText), _svText.size()) == 1
               ? eSignature_Right
               : eSignature_Wrong;
}

bool Signature_Hash(std::string_view _svText, std::array<uint8_t, 32>* _pHash)
{
    unsigned nBytes = 0;
    return EVP_Digest(BytesOf(_svText), _svText.size(), _pHash->data(), &nBytes, EVP_sha256(), nullptr) == 1 &&
           nBytes == _pHash->size();
}
