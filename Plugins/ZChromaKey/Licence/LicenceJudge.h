#pragma once

#include "ZChromaKey/Licence/Licence.h"

#include <cstdint>
#include <string>
#include <string_view>

/// How it stands with a licence.
enum eLicence : int32_t
{
    eLicence_Valid,
    eLicence_Missing, ///< there is none
    eLicence_Broken,  ///< it cannot be read
    eLicence_Foreign, ///< it is not what the issuer has signed
    eLicence_Product, ///< it is for another product,
    eLicence_Feature, ///< for other features,
    eLicence_Machine, ///< for another machine,
    eLicence_Early,   ///< for later,
    eLicence_Expired, ///< or it was for earlier
    eLicence_Unknown, ///< the system cannot check signatures, or the build's own key is none
};

/// What a licence is to be for.
struct LICENCE_ASK
{
    std::string strKey; ///< the issuer's public key, as Signature_KeyRead takes it
    std::string strProduct;
    std::string strFeature;
    std::string strMachine; ///< LicenceJudge_Machine; "": not known, and no licence for a machine is for this one
    std::string strToday;   ///< YYYY-MM-DD, in UTC
};

/// What was found.
struct LICENCE_ANSWER
{
    eLicence eState = eLicence_Missing;
    std::string strShort; ///< for people who use it: "licensed to A. Holder until 2027-12-31", "expired on 2025-12-31"
    std::string strLong;  ///< for the log: what is the case, and what to do; "" when it is valid
};

/// Judges a document. Any bytes may be handed in.
LICENCE_ANSWER LicenceJudge_Document(std::string_view _svDocument, const LICENCE_ASK& _ask);

/// What is said of a document that cannot be read at all.
LICENCE_ANSWER LicenceJudge_Broken(const std::string& _strReason);

/// The machine as licences name it, so that they do not tell who it is: 32 hexadecimal digits out of a hash of its
/// own identity; "" where that is empty or the system cannot say.
std::string LicenceJudge_Machine(const std::string& _strIdentity);

/// The day now, in UTC.
std::string LicenceJudge_Today();
