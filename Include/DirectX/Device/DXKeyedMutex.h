#pragma once

#include "DirectX/Device/DXBase.h"

/// The keyed mutex of a texture that several devices share: whoever uses the texture holds it meanwhile. Key 0 is
/// taken, and given back. Textures without such a mutex need nothing. For one thread at a time.
class CDXKeyedMutex
{
public:
    CDXKeyedMutex() = default;
    ~CDXKeyedMutex()
    {
        Release();
    }
    CDXKeyedMutex(const CDXKeyedMutex&) = delete;
    CDXKeyedMutex& operator=(const CDXKeyedMutex&) = delete;

    /// Takes the mutex of a texture; a texture whose own device holds it already may be used as it is. Z_E_TIMEOUT:
    /// another device does not give it back in time; other failures are the system's. All are logged.
    HRESULT Acquire(ID3D11Texture2D* _pTexture);
    /// Gives back what is held, once the work so far is handed to the GPU.
    void Release();

private:
    CZPtr<IDXGIKeyedMutex> m_cpHeld;
};
