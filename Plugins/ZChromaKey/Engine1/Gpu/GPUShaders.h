#pragma once

#include "DirectX/Device/DXDevice.h"
#include "DirectX/Shaders/KeyShader.h"
#include "DirectX/Shaders/SmoothShader.h"

#include <variant>
#include <vector>

/// The pass that writes the alpha of a picture as a mask: AlphaMaskShader_Text.
struct ALPHA_MASK_SHADER
{
    bool operator==(const ALPHA_MASK_SHADER&) const = default;
};

/// What a pixel shader of the keyer does.
using GPU_SHADER = std::variant<KEY_SHADER, SMOOTH_SHADER, ALPHA_MASK_SHADER>;

/// The pixel shaders of one keyer, by what they do: no text is made for a shader that is there. For one thread at a
/// time.
///
/// Shaders come and go with the keys; what was compiled for them stays until Close, since compiling takes longer than a
/// frame lasts. There are no more shaders than descriptions of them, about 150 of some 5 KB.
class CGPUShaders
{
public:
    /// A shader on a device, made where there is none yet. Failures are logged as those of DX11Device.
    HRESULT Get(DX11Device* _pDevice, const GPU_SHADER& _shader, ID3D11PixelShader** _ppShader);
    /// Lets go of all shaders, and with them of their device.
    void Drop();
    /// Lets go of what was compiled, too.
    void Close();

private:
    struct ENTRY
    {
        GPU_SHADER shader;
        CZPtr<ID3DBlob> cpCode;
        CZPtr<ID3D11PixelShader> cpShader; ///< null when it was dropped
    };
    HRESULT EntryGet(D3D_FEATURE_LEVEL _eLevel, const GPU_SHADER& _shader, ENTRY** _ppEntry);

    CZPtr<ID3D11Device> m_cpDevice;  ///< that the shaders are of
    D3D_FEATURE_LEVEL m_eLevel = {}; ///< that they were compiled for
    std::vector<ENTRY> m_vecEntries;
};
