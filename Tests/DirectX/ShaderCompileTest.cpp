// Every shader text goes through the system's HLSL compiler, for every profile that devices ask for. Needs no device.

#include "Support/ShaderList.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <d3dcompiler.h>

#include <string>

namespace
{

using D3DCOMPILE = decltype(&D3DCompile);

D3DCOMPILE Compiler()
{
    const HMODULE hCompiler = LoadLibraryW(L"d3dcompiler_47.dll");
    return hCompiler ? reinterpret_cast<D3DCOMPILE>(reinterpret_cast<void*>(GetProcAddress(hCompiler, "D3DCompile")))
                     : nullptr;
}

TEST(ShaderCompile, EveryTextCompilesForEveryProfile)
{
    const D3DCOMPILE pfnCompile = Compiler();
    ASSERT_NE(pfnCompile, nullptr) << "no d3dcompiler_47.dll";
    const std::vector<SHADER_CASE> arrCases = ShaderList_All();
    ASSERT_GT(arrCases.size(), 100u);
    for (const SHADER_CASE& shader : arrCases)
        for (const char* pszModel : {"4_0", "4_1", "5_0"})
        {
            const std::string strTarget = (shader.pszEntry[0] == 'V' ? "vs_" : "ps_") + std::string(pszModel);
            ID3DBlob* pCode = nullptr;
            ID3DBlob* pErrors = nullptr;
            const HRESULT hr = pfnCompile(shader.strText.c_str(), shader.strText.size(), nullptr, nullptr, nullptr,
                                          shader.pszEntry, strTarget.c_str(), 0, 0, &pCode, &pErrors);
            EXPECT_TRUE(SUCCEEDED(hr) && pCode)
                << shader.strName << " " << strTarget << ": "
                << (pErrors ? static_cast<const char*>(pErrors->GetBufferPointer()) : "no message");
            if (pCode)
                pCode->Release();
            if (pErrors)
                pErrors->Release();
        }
}

} // namespace
