#include "ZChromaKey/Engine1/Gpu/Adapters.h"

std::vector<std::string> Adapters_List()
{
    return {};
}
