#pragma once

#include "Kit/Module.h"

#include <filesystem>
#include <memory>

/// A second copy of the module file, loaded beside the first one, that keys with plain C++ code whatever instructions
/// the first one uses: results of the one can be held against the other's.
///
/// To be made while the program has one thread: the environment is changed for the time that the copy reads it.
class CZPlainModule
{
public:
    /// Throws CZHostError where the copy cannot be made, or does not come out plain.
    CZPlainModule();
    /// No object of it may be left.
    ~CZPlainModule();
    CZPlainModule(const CZPlainModule&) = delete;
    CZPlainModule& operator=(const CZPlainModule&) = delete;

    CZModule& Module() const
    {
        return *m_upModule;
    }

private:
    void Load();
    void Remove();

    std::filesystem::path m_pathFolder; ///< our own, with the copy in it
    std::unique_ptr<CZModule> m_upModule;
};
