#include "ZChromaKey/Objects/ClassTable.h"

#include "Interfaces/ZGuids.h"
#include "ZChromaKey/Objects/CoZChromaKey.h"
#include "ZChromaKey/Objects/CoZKey.h"

namespace
{

// clang-format off
constexpr MODULE_CLASS c_arrClasses[] = {
    {CLSID_ZChromaKey, L"ZChromaKey Class", L"ZChromaKey.ZChromaKey", IID_IZChromaKey, L"IZChromaKey", &CCoZChromaKey::Create},
    {CLSID_ZKey,       L"ZKey Class",       L"ZChromaKey.ZKey",       IID_IZKey,       L"IZKey",       &CCoZKey::Create},
};
// clang-format on

} // namespace

std::span<const MODULE_CLASS> ClassTable()
{
    return c_arrClasses;
}
