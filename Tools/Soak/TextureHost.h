#pragma once

#include "zkhost/Files/Picture.h"

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"

#include <memory>

/// What a host does that has its pictures on a graphics card: a device of its own, frames in its textures, and results
/// brought back. For one thread; the plug-in may draw on the device meanwhile. Every method throws CZHostError when
/// Direct3D refuses.
class CZTextureHost
{
public:
    CZTextureHost() = default;
    virtual ~CZTextureHost() = default;
    CZTextureHost(const CZTextureHost&) = delete;
    CZTextureHost& operator=(const CZTextureHost&) = delete;

    /// Goes on with another device; frames of the one before stay as they are.
    virtual void DeviceReplace() = 0;
    /// The picture of a frame in a texture of the device; null for formats that textures are not keyed with. _bMutex:
    /// in one with a keyed mutex.
    virtual CZPtr<IZFFrame> FrameMake(IZFFrame2* _pFrame, bool _bMutex) = 0;
    /// Reads the texture of a frame of eZFCC_ARGB32.
    virtual void Read(IZFFrame* _pFrame, PICTURE& _picture) = 0;
};

/// Null where there is no Direct3D.
std::unique_ptr<CZTextureHost> TextureHost_Make();
