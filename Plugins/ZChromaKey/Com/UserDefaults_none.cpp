#include "ZChromaKey/Com/UserDefaultsRead.h"

PROP_MAP UserDefaults_Read()
{
    return {};
}
