#pragma once

#include <stdexcept>

/// Why something that a host asked for cannot be done: the text says what is wrong, where, and what to do.
class CZHostError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};
