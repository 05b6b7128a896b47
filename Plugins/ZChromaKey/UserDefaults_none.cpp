#include "ZChromaKey/UserDefaults.h"

PROP_MAP UserDefaults_Read()
{
    return {};
}
