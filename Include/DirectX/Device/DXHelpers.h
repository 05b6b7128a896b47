#pragma once

/// What the GPU path does with Direct3D 11 resources: named data, how pictures lie in textures, completion, copies.

#include "DirectX/Device/DXNamedData.h"
#include "DirectX/Device/DXPicture.h"
#include "DirectX/Device/DXSharing.h"
