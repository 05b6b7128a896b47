#pragma once

#include "Interfaces/ChromaKeyTypes.h"

#include <span>

/// One adjustment, as KeyAdjustSet takes it, hosts show it and the documentation lists it.
///
/// Every default of CK_ADJUST is 0 and means "the keys as they were taken": a zero-filled one adjusts nothing.
struct CK_ADJUST_INFO
{
    eCK_Adjust eAdjust;
    const char* pszName; ///< as on the command line
    double dblMin;
    double dblMax;
    double dblDefault;
    const char* pszUnit;
    const char* pszEffect;   ///< what it does to the key set
    const char* pszOperator; ///< what the person at the controls sees
};

/// All adjustments, in the order of eCK_Adjust.
std::span<const CK_ADJUST_INFO> KeyAdjust_Table();

/// The row of an adjustment; null for a value that is none.
const CK_ADJUST_INFO* KeyAdjust_Find(eCK_Adjust _eAdjust);

/// The field of the block that holds an adjustment; null for eCKA_KeyType, which lives in the key set.
double* KeyAdjust_Field(CK_ADJUST* _pAdjust, eCK_Adjust _eAdjust);

/// Makes the key set that is keyed with: the unadjusted keys under the adjustments. The same input gives the same
/// bytes on every machine. Values outside their range act as its nearest end, values that are no number as 0.
CHROMA_KEY_RAW KeyAdjust_Apply(const CHROMA_KEY_RAW& _keyUnadjusted, const CK_ADJUST& _adjust);
