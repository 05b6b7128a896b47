#pragma once

#include "DirectX/Device/DXDevice.h"

/// Logs what a report of a fault has to say about the machine: processor, adapter and its driver.
void SystemInfo_Log(const DX11Device& _device);
