#pragma once

#include "Kit/HostError.h"

/// A mistake in what a person typed: the name of a file, the value of an option.
class CZUsageError : public CZHostError
{
public:
    using CZHostError::CZHostError;
};
