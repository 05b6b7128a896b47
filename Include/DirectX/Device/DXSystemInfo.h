#pragma once

#include "DirectX/Device/DXDevice.h"

/// Logs what a report of a fault has to say about the adapter: its name, driver and memory. ZSystem_Log says the rest.
void SystemInfo_Log(const DX11Device& _device);
