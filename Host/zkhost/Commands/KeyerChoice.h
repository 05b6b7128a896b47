#pragma once

#include <string>

/// What a command line says about the generation of the keyer.
struct KEYER_WISHES
{
    int nKeyer = 0;       ///< what --keyer says; 0: nothing
    std::string strKeys;  ///< the key file; empty: none
    std::string strOnly1; ///< an option that only the first generation has, as it was written; empty: none
    std::string strOnly2; ///< and one that only the second has
};

/// The generation to key with, 1 or 2: as --keyer says; else as the key file has keys; else as the options ask; else 2.
/// A key file with keys of both leaves it to the others, and so does one that cannot be read: loading it says why.
/// Throws CZUsageError where they contradict each other.
int KeyerChoice_Make(const KEYER_WISHES& _wishes);
