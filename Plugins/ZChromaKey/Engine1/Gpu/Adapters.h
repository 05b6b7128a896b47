#pragma once

#include <string>
#include <vector>

/// The graphics adapters of this system, the default one first: "NAME (vendor 10DE, 8192 MiB)". Empty where the GPU
/// path has none to work on, and in builds without that path.
std::vector<std::string> Adapters_List();
