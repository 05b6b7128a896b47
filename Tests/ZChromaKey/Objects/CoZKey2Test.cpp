#include "Support/SameBytes.h"
#include "ZChromaKey/Objects/CoZKey2.h"

#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"
#include "Support/TestProps.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

/// A key object, and names as scripts give them.
class CoZKey2 : public testing::Test
{
protected:
    CoZKey2()
    {
        EXPECT_EQ(CCoZKey2::Create(IID_IZKey2, m_cpKey.PutVoid()), S_OK);
    }
    ~CoZKey2() override
    {
        m_cpKey.Reset();
        EXPECT_TRUE(ZModule_IsIdle());
    }
    int32_t Count(BOOL _bProtected)
    {
        int32_t nCount = -1;
        EXPECT_EQ(m_cpKey->CountGet(_bProtected, &nCount), S_OK);
        return nCount;
    }
    uint32_t Color(int32_t _nIndex, BOOL _bProtected)
    {
        uint32_t nRGB = 0xFFFFFFFF;
        EXPECT_EQ(m_cpKey->ColorGet(_nIndex, _bProtected, &nRGB), S_OK);
        return nRGB;
    }

    CZPtr<IZKey2> m_cpKey;
    CZPtr<CZFrame> m_cpFrame = TestFrame_Make(eZFCC_RGB32, 64, -32);
};

TEST_F(CoZKey2, HoldsKeysProtectedColoursAndParameters)
{
    EXPECT_EQ(m_cpKey->AddPoint(m_cpFrame.Get(), 8, 20, FALSE), S_OK);
    EXPECT_EQ(m_cpKey->AddPoint(m_cpFrame.Get(), 9, 20, FALSE), S_FALSE) << "the same green";
    EXPECT_EQ(m_cpKey->AddRect(m_cpFrame.Get(), 40, 10, 60, 20, TRUE), S_OK);
    EXPECT_EQ(m_cpKey->AddColor(0x1234AB, FALSE), S_OK);
    EXPECT_EQ(Count(FALSE) * 10 + Count(TRUE), 21);
    EXPECT_EQ(Color(0, FALSE), 0x00B400u);
    EXPECT_EQ(Color(1, FALSE), 0x1234ABu);
    EXPECT_EQ(Color(0, TRUE), 0xC83C3Cu);
    EXPECT_EQ(m_cpKey->RangeSet(1, eRange_Foreground, 90, 0.5, 0.25), S_OK);
    double dblHue = 0, dblSaturation = 0, dblValue = 0;
    EXPECT_EQ(m_cpKey->RangeGet(1, eRange_Foreground, &dblHue, &dblSaturation, &dblValue), S_OK);
    EXPECT_TRUE(dblHue == 90 && dblSaturation == 0.5 && dblValue == 0.25);
    EXPECT_EQ(m_cpKey->RangeGet(0, eRange_Foreground, &dblHue, &dblSaturation, &dblValue), S_OK);
    EXPECT_EQ(dblHue, 60) << "of the other key";
    const BSTR bsName = SysAllocString(L"choke");
    EXPECT_EQ(m_cpKey->ParamSet(bsName, 3), S_OK);
    EXPECT_EQ(m_cpKey->ParamGet(bsName, &dblValue), S_OK);
    SysFreeString(bsName);
    EXPECT_EQ(dblValue, 3);
    EXPECT_EQ(m_cpKey->Remove(0, FALSE), S_OK);
    EXPECT_EQ(Color(0, FALSE), 0x1234ABu);

    CHROMA_KEY2_RAW key = {};
    EXPECT_EQ(m_cpKey->RawGet(&key), S_OK);
    EXPECT_EQ(key.params.dblChoke, 3);
    EXPECT_EQ(m_cpKey->Reset(), S_OK);
    EXPECT_EQ(Count(FALSE) + Count(TRUE), 0);
    EXPECT_EQ(m_cpKey->RawSet(&key), S_OK);
    CHROMA_KEY2_RAW keyAgain = {};
    EXPECT_EQ(m_cpKey->RawGet(&keyAgain), S_OK);
    EXPECT_TRUE(SameBytes(key, keyAgain));
}

TEST_F(CoZKey2, RefusesWrongArgumentsAndStaysAsItIs)
{
    const CLogCatcher log;
    EXPECT_EQ(m_cpKey->AddColor(0x00FF00, FALSE), S_OK);
    EXPECT_EQ(m_cpKey->AddPoint(nullptr, 0, 0, FALSE), E_POINTER);
    EXPECT_EQ(m_cpKey->AddPoint(m_cpFrame.Get(), 64, 0, FALSE), E_INVALIDARG);
    EXPECT_EQ(m_cpKey->AddRect(m_cpFrame.Get(), 5, 5, 5, 5, TRUE), E_INVALIDARG);
    EXPECT_EQ(m_cpKey->AddColor(0x777777, FALSE), E_INVALIDARG);
    EXPECT_EQ(m_cpKey->Remove(1, FALSE), E_INVALIDARG);
    EXPECT_EQ(m_cpKey->RangeSet(0, eRange_Backdrop, 181, 0, 0), E_INVALIDARG);
    EXPECT_EQ(log.Count("backdrop hue is 181, must be a number from 0 to 180", eZLog_Error), 1u);
    EXPECT_EQ(m_cpKey->RangeSet(0, eRange_Protected, 1, 0, 0), E_INVALIDARG);
    EXPECT_EQ(m_cpKey->ParamSet(nullptr, 1), E_INVALIDARG);
    double dblValue = 7;
    EXPECT_EQ(m_cpKey->ParamGet(nullptr, &dblValue), E_INVALIDARG);
    EXPECT_EQ(dblValue, 0);
    EXPECT_EQ(m_cpKey->RangeGet(0, eRange_Backdrop, &dblValue, nullptr, &dblValue), E_POINTER);
    uint32_t nRGB = 7;
    EXPECT_EQ(m_cpKey->ColorGet(0, TRUE, &nRGB), E_INVALIDARG);
    EXPECT_EQ(nRGB, 0u);
    EXPECT_EQ(m_cpKey->ColorGet(0, FALSE, nullptr), E_POINTER);
    EXPECT_EQ(m_cpKey->CountGet(FALSE, nullptr), E_POINTER);
    EXPECT_EQ(m_cpKey->RawSet(nullptr), E_POINTER);
    EXPECT_EQ(m_cpKey->RawGet(nullptr), E_POINTER);
    const CHROMA_KEY2_RAW keyWrong = {};
    EXPECT_EQ(m_cpKey->RawSet(&keyWrong), E_INVALIDARG);
    EXPECT_EQ(log.Count("its size is 0, must be 2048", eZLog_Error), 1u);
    EXPECT_EQ(Color(0, FALSE), 0x00FF00u);
}

TEST_F(CoZKey2, AFrameThatIsSampledMayCallBack)
{
    const auto cpHook = CHookFrame::Make(m_cpFrame.Get(), [this](const std::string& _strMethod) {
        if (_strMethod == "VideoPtrGet")
        {
            EXPECT_EQ(m_cpKey->AddColor(0x0000FF, FALSE), S_OK);
        }
        return S_OK;
    });
    EXPECT_EQ(m_cpKey->AddPoint(cpHook.Get(), 8, 20, FALSE), S_OK);
    EXPECT_EQ(Count(FALSE), 2);
}

} // namespace
