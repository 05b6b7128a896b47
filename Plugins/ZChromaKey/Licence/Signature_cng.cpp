#include "ZChromaKey/Licence/Signature.h"

#include "Interfaces/ZPlatform.h"

#include <algorithm>
#include <bcrypt.h>
#include <cstring>
#include <vector>

// By the system's own cryptography.

namespace
{

bool IsRight(NTSTATUS _nStatus)
{
    return _nStatus >= 0;
}

/// A provider of the system, closed when destroyed.
class CAlgorithm
{
public:
    explicit CAlgorithm(const wchar_t* _pwszName)
    {
        if (!IsRight(BCryptOpenAlgorithmProvider(&m_hAlgorithm, _pwszName, nullptr, 0)))
            m_hAlgorithm = nullptr;
    }
    ~CAlgorithm()
    {
        if (m_hAlgorithm)
            BCryptCloseAlgorithmProvider(m_hAlgorithm, 0);
    }
    CAlgorithm(const CAlgorithm&) = delete;
    CAlgorithm& operator=(const CAlgorithm&) = delete;

    BCRYPT_ALG_HANDLE Get() const
    {
        return m_hAlgorithm;
    }

private:
    BCRYPT_ALG_HANDLE m_hAlgorithm = nullptr;
};

/// The system's functions take what they only read as if they wrote it.
uint8_t* BytesOf(const void* _pBytes)
{
    return static_cast<uint8_t*>(const_cast<void*>(_pBytes));
}

} // namespace

eSignature Signature_Check(const LICENCE_KEY& _key, std::string_view _svText, const LICENCE_SIGNATURE& _signature)
{
    const BCRYPT_ECCKEY_BLOB head = {BCRYPT_ECDSA_PUBLIC_P256_MAGIC, 32};
    std::vector<uint8_t> vecKey(sizeof(head) + _key.size());
    std::memcpy(vecKey.data(), &head, sizeof(head));
    std::copy(_key.begin(), _key.end(), vecKey.begin() + sizeof(head));
    std::array<uint8_t, 32> arrHash = {};
    const CAlgorithm algorithm(BCRYPT_ECDSA_P256_ALGORITHM);
    BCRYPT_KEY_HANDLE hKey = nullptr;
    if (!algorithm.Get() || !Signature_Hash(_svText, &arrHash) ||
        !IsRight(BCryptImportKeyPair(algorithm.Get(), nullptr, BCRYPT_ECCPUBLIC_BLOB, &hKey, vecKey.data(),
                                     static_cast<ULONG>(vecKey.size()), 0)))
        return eSignature_Failed;
    const NTSTATUS nStatus =
        BCryptVerifySignature(hKey, nullptr, arrHash.data(), static_cast<ULONG>(arrHash.size()),
                              BytesOf(_signature.data()), static_cast<ULONG>(_signature.size()), 0);
    BCryptDestroyKey(hKey);
    return IsRight(nStatus) ? eSignature_Right : eSignature_Wrong;
}

bool Signature_Hash(std::string_view _svText, std::array<uint8_t, 32>* _pHash)
{
    const CAlgorithm algorithm(BCRYPT_SHA256_ALGORITHM);
    BCRYPT_HASH_HANDLE hHash = nullptr;
    if (!algorithm.Get() || !IsRight(BCryptCreateHash(algorithm.Get(), &hHash, nullptr, 0, nullptr, 0, 0)))
        return false;
    const bool bDone = IsRight(BCryptHashData(hHash, BytesOf(_svText.data()), static_cast<ULONG>(_svText.size()), 0)) &&
                       IsRight(BCryptFinishHash(hHash, _pHash->data(), static_cast<ULONG>(_pHash->size()), 0));
    BCryptDestroyHash(hHash);
    return bDone;
}
