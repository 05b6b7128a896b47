#include "Soak/TextureHost.h"

std::unique_ptr<CZTextureHost> TextureHost_Make()
{
    return nullptr;
}
