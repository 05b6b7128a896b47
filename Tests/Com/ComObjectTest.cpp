#include "Com/ComSupport.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZKey.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"
#include "Support/TestFrames.h"

#include <objbase.h>

#include <thread>

namespace
{

TEST(ComObject, IsCreatedByIdentifierAndByNameOnceRegistered)
{
    const APARTMENT apartment(COINIT_APARTMENTTHREADED);
    const MODULE module;
    ASSERT_TRUE(Regsvr32(module));
    CLSID clsid = {};
    EXPECT_EQ(CLSIDFromProgID(L"ZChromaKey.ZChromaKey", &clsid), S_OK);
    EXPECT_EQ(clsid, CLSID_ZChromaKey);
    CZPtr<IZChromaKey> cpKey;
    CZPtr<IZKey> cpKeyObject;
    ASSERT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IZChromaKey, cpKey.PutVoid()), S_OK);
    ASSERT_EQ(CoCreateInstance(CLSID_ZKey, nullptr, CLSCTX_INPROC_SERVER, IID_IZKey, cpKeyObject.PutVoid()), S_OK);
    EXPECT_EQ(cpKey->KeySet(cpKeyObject.Get()), S_OK);
    EXPECT_FALSE(module.CanUnload());
    EXPECT_EQ(cpKeyObject.Detach()->Release(), 0u);
    EXPECT_EQ(cpKey.Detach()->Release(), 0u);
    EXPECT_TRUE(module.CanUnload());
    ASSERT_TRUE(Regsvr32(module, L"/u"));
    EXPECT_EQ(CoCreateInstance(CLSID_ZKey, nullptr, CLSCTX_INPROC_SERVER, IID_IZKey, cpKeyObject.PutVoid()),
              REGDB_E_CLASSNOTREG);
}

TEST(ComObject, IsTheSameObjectInEveryApartment)
{
    const APARTMENT apartment(COINIT_APARTMENTTHREADED);
    const MODULE module;
    IZChromaKey* const pKey = module.Create<IZChromaKey>(CLSID_ZChromaKey).Detach();
    EXPECT_TRUE(ZQuery<IUnknown>(pKey));
    CZPtr<IUnknown> cpAgile;
    EXPECT_EQ(pKey->QueryInterface(IID_IAgileObject, cpAgile.PutVoid()), S_OK);
    cpAgile.Reset();
    IStream* pStream = nullptr;
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(IID_IZChromaKey, pKey, &pStream), S_OK);
    std::thread([&] {
        const APARTMENT other(COINIT_MULTITHREADED);
        CZPtr<IZChromaKey> cpThere;
        EXPECT_EQ(CoGetInterfaceAndReleaseStream(pStream, IID_IZChromaKey, cpThere.PutVoid()), S_OK);
        EXPECT_EQ(cpThere.Get(), pKey);
    }).join();
    EXPECT_EQ(pKey->Release(), 0u);
    EXPECT_TRUE(module.CanUnload());
}

constexpr int c_nLivesPerDevice = 50; // making a graphics device takes longer than all else in a life
constexpr int c_nMaxTries = 30;       // of a second each, while the device is made

/// One life of an object, as a host leads it.
void LifeOfAnObject(const MODULE& _module, IZFFrame* _pFrame, int _nLife)
{
    const auto cpProcess = _module.Create<IZFProcess>(CLSID_ZChromaKey);
    const auto cpKey = ZQuery<IZChromaKey>(cpProcess);
    const auto cpProps = ZQuery<IZProps>(cpKey);
    ASSERT_EQ(cpProps->PropsSet(L"output.thread", _nLife % 2 ? L"true" : L"false"), S_OK);
    if (_nLife % c_nLivesPerDevice >= 2) // of the rest, one is keyed on the output thread and one is not
    {
        ASSERT_EQ(cpProps->PropsSet(L"gpu_mode", L"0"), S_OK);
    }
    const CHROMA_KEY_RAW key = TestKey(eCKT_RGB + _nLife % 3);
    ASSERT_EQ(cpKey->KeyRawSet(&key, nullptr), S_OK);
    CZPtr<IZFFrame> cpResult;
    HRESULT hr = cpProcess->OnMediaReceive(_pFrame, cpResult.Put());
    for (int i = 0; (hr == S_FALSE || hr == Z_E_TIMEOUT) && i < c_nMaxTries; ++i)
        hr = cpProcess->OnMediaReceive(nullptr, cpResult.Put());
    ASSERT_EQ(hr, S_OK);
    CZPtr<IUnknown> cpMask;
    EXPECT_EQ(cpResult->AttachmentGet(L"mask", cpMask.Put()), S_OK);
    CZPtr<IZKey> cpKeyObject;
    ASSERT_EQ(cpKey->KeyGet(nullptr, cpKeyObject.Put()), S_OK);
    UINT nInfos = 0;
    EXPECT_EQ(cpKeyObject->GetTypeInfoCount(&nInfos), S_OK);
    CZPtr<IUnknown> cpMarshal;
    EXPECT_EQ(cpKey->QueryInterface(IID_IMarshal, cpMarshal.PutVoid()), S_OK);
    if (_nLife % 4 == 0)
    {
        EXPECT_EQ(ZQuery<IZPlugin>(cpKey)->Close(), S_OK);
    }
}

TEST(ComObject, ThousandLivesOnFourThreadsLeaveNothing)
{
    const MODULE module;
    CZPtr<CZFrame> cpFrame = TestFrame_Make(eZFCC_RGB32, 32, 16);
    ASSERT_TRUE(cpFrame);
    // Loads Direct3D. Wine hangs when one thread loads its compiler while another one makes the first window, as a
    // single-threaded apartment does.
    ASSERT_NO_FATAL_FAILURE(LifeOfAnObject(module, cpFrame.Get(), 0));
    std::vector<std::thread> vecThreads;
    for (int nThread = 0; nThread < 4; ++nThread)
        vecThreads.emplace_back([&, nThread] {
            const APARTMENT apartment(nThread % 2 ? COINIT_MULTITHREADED : COINIT_APARTMENTTHREADED);
            for (int nLife = 0; nLife < 250 && !testing::Test::HasFailure(); ++nLife)
                LifeOfAnObject(module, cpFrame.Get(), nLife + nThread);
        });
    for (std::thread& thread : vecThreads)
        thread.join();
    EXPECT_TRUE(module.CanUnload());
    EXPECT_EQ(cpFrame.Detach()->Release(), 0u) << "objects that are gone still hold the frame";
}

} // namespace
