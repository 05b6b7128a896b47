#include "ZChromaKey/Licence/Base64.h"
#include "ZChromaKey/Licence/Licence.h"

#include "Base/ZLog.h"
#include "Props/TextFile.h"

#include <CLI/CLI.hpp>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

// For developers: makes keys, and signs licences with them. Nothing that is installed has it.

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
using BUFFER_PTR = std::unique_ptr<BIO, FREER<&BIO_free>>;

void Require(bool _bDone, const std::string& _strWhat)
{
    if (!_bDone)
        throw std::runtime_error(_strWhat);
}

std::string FileRead(const std::string& _strPath)
{
    std::string strText;
    std::string strReason;
    Require(TextFile_Read(_strPath, c_nLicenceMaxBytes, &strText, &strReason), strReason);
    return strText;
}

void FileWrite(const std::string& _strPath, std::string_view _svText)
{
    std::string strReason;
    Require(TextFile_Replace(_strPath, _svText, &strReason), strReason);
}

std::string TextOf(BIO* _pBuffer)
{
    char* pText = nullptr;
    const long nText = BIO_get_mem_data(_pBuffer, &pText);
    return {pText, static_cast<size_t>(nText)};
}

void KeysMake(const std::string& _strPrivate, const std::string& _strPublic)
{
    const KEY_PTR upKey(EVP_EC_gen("P-256"));
    const BUFFER_PTR upPrivate(BIO_new(BIO_s_mem()));
    const BUFFER_PTR upPublic(BIO_new(BIO_s_mem()));
    Require(upKey && upPrivate && upPublic &&
                PEM_write_bio_PrivateKey(upPrivate.get(), upKey.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1 &&
                PEM_write_bio_PUBKEY(upPublic.get(), upKey.get()) == 1,
            "no key can be made");
    FileWrite(_strPrivate, TextOf(upPrivate.get()));
    FileWrite(_strPublic, TextOf(upPublic.get()));
}

std::string Sign(const std::string& _strPrivate, const std::string& _strText)
{
    const std::string strPem = FileRead(_strPrivate);
    const BUFFER_PTR upPem(BIO_new_mem_buf(strPem.data(), static_cast<int>(strPem.size())));
    const KEY_PTR upKey(PEM_read_bio_PrivateKey(upPem.get(), nullptr, nullptr, nullptr));
    const std::unique_ptr<EVP_MD_CTX, FREER<&EVP_MD_CTX_free>> upDigest(EVP_MD_CTX_new());
    const auto* const pText = reinterpret_cast<const uint8_t*>(_strText.data());
    size_t nBytes = 0;
    Require(upKey && upDigest && EVP_DigestSignInit(upDigest.get(), nullptr, EVP_sha256(), nullptr, upKey.get()) == 1 &&
                EVP_DigestSign(upDigest.get(), nullptr, &nBytes, pText, _strText.size()) == 1,
            ZFormat("\"%hs\" is no private key that can sign", _strPrivate));
    std::vector<uint8_t> vecSignature(nBytes);
    Require(EVP_DigestSign(upDigest.get(), vecSignature.data(), &nBytes, pText, _strText.size()) == 1,
            "the text cannot be signed");
    vecSignature.resize(nBytes);
    return Base64_Write(vecSignature);
}

void DocumentMake(const std::string& _strPrivate, LICENCE _licence, const std::string& _strOut)
{
    std::string strDocument;
    std::string strReason;
    _licence.strSignature = Sign(_strPrivate, Licence_Text(_licence));
    Require(Licence_Write(_licence, &strDocument, &strReason), strReason);
    FileWrite(_strOut, strDocument);
}

void TextPrint(const std::string& _strDocument)
{
    LICENCE licence;
    std::string strReason;
    Require(Licence_Read(FileRead(_strDocument), &licence, &strReason), strReason);
    std::fputs(Licence_Text(licence).c_str(), stdout);
}

/// What the command line gives.
struct ARGUMENTS
{
    std::string strPrivate;
    std::string strPublic;
    std::string strDocument;
    LICENCE licence;
};

void AddKeys(CLI::App& _app, ARGUMENTS& _arguments)
{
    CLI::App& command = *_app.add_subcommand("keys", "Makes a pair of keys on P-256, in PEM");
    command.add_option("private", _arguments.strPrivate, "File of the private key")->required();
    command.add_option("public", _arguments.strPublic, "File of the public key, for ZCK_LICENCE_KEY")->required();
    command.callback([&] { KeysMake(_arguments.strPrivate, _arguments.strPublic); });
}

void AddSign(CLI::App& _app, ARGUMENTS& _arguments)
{
    CLI::App& command = *_app.add_subcommand("sign", "Makes and signs a licence");
    LICENCE& licence = _arguments.licence;
    licence.strProduct = "ZChromaKey";
    licence.strFeatures = "all";
    command.add_option("private", _arguments.strPrivate, "File of the private key")->required();
    command.add_option("-o,--out", _arguments.strDocument, "File of the licence")->required();
    command.add_option("--product", licence.strProduct, "Product")->capture_default_str();
    command.add_option("--holder", licence.strHolder, "Who may use it")->required();
    command.add_option("--features", licence.strFeatures, "Words with blanks between")->capture_default_str();
    command.add_option("--first", licence.strFirst, "First day, YYYY-MM-DD")->required();
    command.add_option("--last", licence.strLast, "Last day, YYYY-MM-DD")->required();
    command.add_option("--machine", licence.strMachine, "Machine, as \"zkhost licence\" names it");
    command.add_option("--serial", licence.strSerial, "Serial number")->required();
    command.callback([&] { DocumentMake(_arguments.strPrivate, _arguments.licence, _arguments.strDocument); });
}

void AddText(CLI::App& _app, ARGUMENTS& _arguments)
{
    CLI::App& command = *_app.add_subcommand("text", "Prints the canonical text of a licence, which is signed");
    command.add_option("document", _arguments.strDocument, "File of the licence")->required();
    command.callback([&] { TextPrint(_arguments.strDocument); });
}

int Run(int _nArgs, char** _ppszArgs)
{
    ARGUMENTS arguments;
    CLI::App app("Makes keys and signs licences, for tests and developers.", "zklicence");
    app.require_subcommand(1);
    AddKeys(app, arguments);
    AddSign(app, arguments);
    AddText(app, arguments);
    try
    {
        app.parse(_nArgs, _ppszArgs);
        return 0;
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error);
    }
}

} // namespace

int main(int _nArgs, char** _ppszArgs)
{
    try
    {
        return Run(_nArgs, _ppszArgs);
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "zklicence: %s\n", error.what());
        return 1;
    }
}
