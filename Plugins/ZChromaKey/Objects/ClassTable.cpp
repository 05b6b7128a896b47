#include "ZChromaKey/Objects/ClassTable.h"

#include "Interfaces/ZGuids.h"
#include "ZChromaKey/Objects/CoZChromaKey.h"
#include "ZChromaKey/Objects/CoZChromaKey2.h"
#include "ZChromaKey/Objects/CoZKey.h"
#include "ZChromaKey/Objects/CoZKey2.h"

namespace
{

// clang-format off
constexpr MODULE_CLASS c_arrClasses[] = {
    {CLSID_ZChromaKey,  L"ZChromaKey Class",  L"ZChromaKey.ZChromaKey",  IID_IZChromaKey,  L"IZChromaKey",  &CCoZChromaKey::Create},
    {CLSID_ZKey,        L"ZKey Class",        L"ZChromaKey.ZKey",        IID_IZKey,        L"IZKey",        &CCoZKey::Create},
    {CLSID_ZChromaKey2, L"ZChromaKey2 Class", L"ZChromaKey.ZChromaKey2", IID_IZChromaKey2, L"IZChromaKey2", &CCoZChromaKey2::Create},
    {CLSID_ZKey2,       L"ZKey2 Class",       L"ZChromaKey.ZKey2",       IID_IZKey2,       L"IZKey2",       &CCoZKey2::Create},
};
// clang-format on

} // namespace

std::span<const MODULE_CLASS> ClassTable()
{
    return c_arrClasses;
}
