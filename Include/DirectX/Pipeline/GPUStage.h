#pragma once

#include "Interfaces/ZPlatform.h"

#include <string>
#include <utility>

/// What the pipeline and its stages have in common: how they log.
class GPUStage
{
protected:
    explicit GPUStage(std::string _strName)
        : m_strName(std::move(_strName))
    {
    }
    ~GPUStage() = default;
    const std::string& Name() const
    {
        return m_strName;
    }
    /// Logs a message under the operation's qualified name and returns the code; a success counts as E_UNEXPECTED.
    HRESULT Failed(const char* _pszOperation, const char* _pszMessage, HRESULT _hr) const;

private:
    std::string m_strName; ///< "GPUProcessorBase<class GPUChromaKey>::Uploader"
};
