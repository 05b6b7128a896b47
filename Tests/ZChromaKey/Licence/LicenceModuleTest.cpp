#include "Base/ZBstr.h"
#include "Host/TempFolder.h"
#include "Interfaces/IZChromaKey.h"
#include "Interfaces/IZFProcess.h"
#include "Interfaces/IZPlugin.h"
#include "Interfaces/IZProps.h"
#include "Kit/Module.h"
#include "Kit/Platform.h"
#include "Sdk/ZChromaKeyC.h"
#include "Support/HookFrame.h"
#include "Support/LogCatcher.h"
#include "Support/TestFrames.h"
#include "Support/Texts.h"
#include "Video/FrameShorthand.h"
#include "ZChromaKey/Licence/Notice.h"

#include <gtest/gtest.h>

#include <cstdlib>

// The module that is made with a key, as hosts use it.

namespace
{

constexpr int c_nWidth = 128;
constexpr int c_nHeight = 64;

void EnvironmentSet(const char* _pszName, const std::string& _strValue)
{
#if defined(_WIN32)
    SetEnvironmentVariableW(ZText_ToWide(_pszName).c_str(), ZText_ToWide(_strValue).c_str());
#else
    setenv(_pszName, _strValue.c_str(), 1);
#endif
}

CZModule& Licensed()
{
    static CZModule s_module(ZCK_LICENSED);
    return s_module;
}

class LicenceModule : public testing::Test
{
protected:
    LicenceModule()
    {
#if defined(_WIN32)
        EnvironmentSet("APPDATA", m_folder.Path("user"));
        EnvironmentSet("PROGRAMDATA", m_folder.Path("machine"));
        m_strPlace = m_folder.Path("user/Corvala/ZChromaKey/licence.xml");
#else
        EnvironmentSet("XDG_CONFIG_HOME", m_folder.Path("user"));
        m_strPlace = m_folder.Path("user/zchromakey/licence.xml");
#endif
    }
    ~LicenceModule() override
    {
        if (m_cpPlugin)
            m_cpPlugin->LogSet(nullptr, eZLog_Warning);
    }

    /// An object that keys on the calling thread; the test key is the first generation's.
    void Make(const CLSID& _clsid = CLSID_ZChromaKey)
    {
        m_cpProcess = Licensed().Create<IZFProcess>(_clsid);
        m_cpPlugin = ZQuery<IZPlugin>(m_cpProcess);
        ASSERT_EQ(m_cpPlugin->LogSet(m_log.Sink(), eZLog_Info), S_OK);
        Set(L"output.thread", L"false");
        Set(L"gpu_mode", L"0");
        const CHROMA_KEY_RAW key = TestKey(eCKT_RGB);
        const auto cpKey = ZQuery<IZChromaKey>(m_cpProcess);
        ASSERT_TRUE(!cpKey || cpKey->KeyRawSet(&key, nullptr) == S_OK);
    }
    void Set(const wchar_t* _pwszName, const wchar_t* _pwszValue)
    {
        EXPECT_EQ(ZQuery<IZProps>(m_cpProcess)->PropsSet(_pwszName, _pwszValue), S_OK);
    }
    CZPtr<IZFFrame> Receive(IZFFrame* _pFrame)
    {
        CZPtr<IZFFrame> cpRes;
        EXPECT_EQ(m_cpProcess->OnMediaReceive(_pFrame, cpRes.Put()), S_OK);
        return cpRes;
    }
    void Install(const char* _pszFile)
    {
        std::filesystem::create_directories(std::filesystem::path(m_strPlace).parent_path());
        std::filesystem::copy_file(std::filesystem::path(ZCK_LICENCES) / _pszFile, m_strPlace,
                                   std::filesystem::copy_options::overwrite_existing);
    }
    std::string Version()
    {
        CZBStr bsName;
        CZBStr bsVersion;
        EXPECT_EQ(m_cpPlugin->PluginInfoGet(bsName.Put(), bsVersion.Put()), S_OK);
        return ZText_FromWide(bsVersion.Wide());
    }

    CTempFolder m_folder;
    std::string m_strPlace; ///< of the user's licence
    CLogCatcher m_log;
    CZPtr<IZFProcess> m_cpProcess;
    CZPtr<IZPlugin> m_cpPlugin;
};

/// Whether pixels B, G, R, A hold the plate, where it belongs: letters and what is between them.
bool HasPlate(const std::vector<uint8_t>& _vecBGRA, int _nWidth, int _nHeight, bool _bMask)
{
    CNotice notice("ZChromaKey");
    const NOTICE_PLATE& plate = notice.Plate(_nWidth, _nHeight);
    for (int y = 0; y < plate.Height(); ++y)
        for (int x = 0; x < plate.Width(); ++x)
        {
            const size_t nAt = size_t{4} * static_cast<size_t>((y + plate.part.nY1) * _nWidth + x + plate.part.nX1);
            const size_t nPlate = size_t{4} * static_cast<size_t>(y * plate.Width() + x);
            if (std::abs(_vecBGRA[nAt] - (_bMask ? plate.vecMask : plate.vecBGRA)[nPlate]) > 5)
                return false;
        }
    return true;
}

bool HasNotice(IZFFrame* _pFrame, bool _bMask = false)
{
    const ZF_VID_PROPS vidProps = PropsOf(_pFrame);
    return HasPlate(PixelsOf(_pFrame), vidProps.nWidth, std::abs(vidProps.nHeight), _bMask);
}

bool MaskHasNotice(IZFFrame* _pFrame)
{
    const auto cpMask = ZQuery<IZFFrame>(AttachmentOf(_pFrame, L"mask"));
    return cpMask && HasNotice(cpMask.Get(), true);
}

TEST_F(LicenceModule, DrawsOntoEveryResultAndNeverOntoTheHosts)
{
    for (const CLSID& clsid : {CLSID_ZChromaKey, CLSID_ZChromaKey2})
        for (const uint32_t fccType : {eZFCC_RGB32, eZFCC_ARGB32, eZFCC_UYVY, eZFCC_NV12, eZFCC_v210, eZFCC_ARGB64})
            for (const wchar_t* const pwszARGB : {L"false", L"true"})
                for (const wchar_t* const pwszKeep : {L"false", L"true"})
                {
                    SCOPED_TRACE(FCC_Name(fccType) + std::string(clsid == CLSID_ZChromaKey ? " 1 " : " 2 ") +
                                 ZText_FromWide(pwszARGB));
                    Make(clsid);
                    Set(L"output.argb", pwszARGB);
                    Set(L"input.keep", pwszKeep);
                    const auto cpFrame = TestFrame_Make(fccType, c_nWidth, c_nHeight);
                    const std::vector<uint8_t> vecBefore = PixelsOf(cpFrame.Get());
                    for (int n = 0; n < 2; ++n) // the second time it may be answered with the first result
                    {
                        const auto cpRes = Receive(cpFrame.Get());
                        ASSERT_TRUE(cpRes && cpRes.Get() != cpFrame.Get());
                        EXPECT_TRUE(HasNotice(cpRes.Get()));
                        EXPECT_TRUE(MaskHasNotice(cpRes.Get()) || clsid != CLSID_ZChromaKey);
                    }
                    EXPECT_TRUE(PixelsOf(cpFrame.Get()) == vecBefore);
                }
}

/// A frame that is not keyed is handed out as a copy, with a copy of what the host has attached as its mask.
TEST_F(LicenceModule, DrawsOntoCopiesOfFramesThatPass)
{
    Make();
    ASSERT_EQ(ZQuery<IZChromaKey>(m_cpProcess)->KeyReset(), S_OK);
    const auto cpFrame = TestFrame_Make(eZFCC_UYVY, c_nWidth, c_nHeight);
    const auto cpMask = TestFrame_Make(eZFCC_RGB8, c_nWidth, c_nHeight);
    ASSERT_EQ(cpFrame->AttachmentSet(L"mask", static_cast<IZFFrame2*>(cpMask.Get())), S_OK);
    const std::vector<uint8_t> vecBefore = PixelsOf(cpFrame.Get());
    const std::vector<uint8_t> vecMaskBefore = PixelsOf(cpMask.Get());
    for (int n = 0; n < 2; ++n)
    {
        const auto cpRes = Receive(cpFrame.Get());
        ASSERT_TRUE(cpRes && cpRes.Get() != cpFrame.Get());
        EXPECT_TRUE(HasNotice(cpRes.Get()));
        EXPECT_TRUE(MaskHasNotice(cpRes.Get()));
    }
    EXPECT_TRUE(PixelsOf(cpFrame.Get()) == vecBefore);
    EXPECT_TRUE(PixelsOf(cpMask.Get()) == vecMaskBefore);
}

/// A host whose frames share pixels and let them be written, whatever is asked for, keeps its picture.
TEST_F(LicenceModule, LeavesPixelsAloneThatAHostShares)
{
    Make();
    const auto cpPicture = TestFrame_Make(eZFCC_UYVY, c_nWidth, c_nHeight);
    const std::vector<uint8_t> vecBefore = PixelsOf(cpPicture.Get());
    const auto cpFrame = CHookFrame::Make(cpPicture.Get(), [](const std::string&) { return S_OK; });
    cpFrame->m_fnMade = [&](IZFFrame** _ppMade) {
        CZFrame* pShared = nullptr;
        EXPECT_EQ(ZFrame_WrapPlanes(PropsOf(cpPicture.Get()), PtrOf(cpPicture.Get()), {}, &pShared, eZWrap_Write),
                  S_OK);
        (*_ppMade)->Release();
        *_ppMade = pShared;
    };
    const auto cpRes = Receive(cpFrame.Get());
    EXPECT_TRUE(HasNotice(cpRes.Get()) && MaskHasNotice(cpRes.Get()));
    EXPECT_TRUE(PixelsOf(cpPicture.Get()) == vecBefore);
}

/// A frame that cannot be copied passes as it is: a notice stops no stream.
TEST_F(LicenceModule, LetsPassWhatCannotBeCopied)
{
    Make();
    ASSERT_EQ(ZQuery<IZChromaKey>(m_cpProcess)->KeyReset(), S_OK);
    const auto cpPicture = TestFrame_Make(eZFCC_UYVY, c_nWidth, c_nHeight);
    const std::vector<uint8_t> vecBefore = PixelsOf(cpPicture.Get());
    const auto cpFrame = CHookFrame::Make(cpPicture.Get(), [](const std::string& _strMethod) {
        return _strMethod == "FrameClone" ? E_OUTOFMEMORY : S_OK;
    });
    for (int n = 0; n < 2; ++n)
        EXPECT_EQ(Receive(cpFrame.Get()).Get(), cpFrame.Get());
    EXPECT_TRUE(PixelsOf(cpPicture.Get()) == vecBefore);
    EXPECT_EQ(m_log.Count("cannot be drawn onto these frames", eZLog_Warning), 1u);
}

TEST_F(LicenceModule, KeepsWhatItFoundUntilItIsClosed)
{
    Make();
    const auto cpFrame = TestFrame_Make(eZFCC_ARGB32, c_nWidth, c_nHeight);
    EXPECT_TRUE(HasNotice(Receive(cpFrame.Get()).Get()));
    EXPECT_NE(Version().find(" (evaluation copy: no licence is installed)"), std::string::npos) << Version();

    Install("valid.xml");
    EXPECT_TRUE(HasNotice(Receive(cpFrame.Get()).Get())) << "it is not looked for with each frame";
    Set(L"licence.check", L"true");
    EXPECT_FALSE(HasNotice(Receive(cpFrame.Get()).Get())) << "though the frame is the same";
    EXPECT_NE(Version().find(" (licensed to Test & S\xC3\xB6hne until 2999-12-31)"), std::string::npos) << Version();

    Install("expired.xml"); // as if the clock was changed
    Set(L"licence.check", L"true");
    EXPECT_FALSE(HasNotice(Receive(cpFrame.Get()).Get()));
    std::filesystem::remove(m_strPlace);
    Set(L"licence.check", L"true");
    EXPECT_FALSE(HasNotice(Receive(TestFrame_Make(eZFCC_UYVY, c_nWidth, c_nHeight).Get()).Get()));

    EXPECT_EQ(m_cpPlugin->Close(), S_OK);
    EXPECT_TRUE(HasNotice(Receive(cpFrame.Get()).Get()));
    Install("first-generation.xml");
    Make();
    EXPECT_FALSE(HasNotice(Receive(cpFrame.Get()).Get()));
    Make(CLSID_ZChromaKey2);
    EXPECT_TRUE(HasNotice(Receive(cpFrame.Get()).Get()));
}

TEST_F(LicenceModule, SaysOnceWhyANoticeIsDrawn)
{
    const std::pair<const char*, const char*> arrCases[] = {
        {"", "no licence is installed; ask the issuer"},   {"half.xml", "it cannot be read: line 2"},
        {"foreign.xml", "it does not bear the signature"}, {"product.xml", "it is for the product \"Other\""},
        {"machine.xml", "it is for the machine 0011"},     {"early.xml", "it begins on 2999-01-01"},
        {"expired.xml", "it ended on 2020-12-31"}};
    for (const auto& [pszFile, pszLine] : arrCases)
    {
        if (*pszFile)
            Install(pszFile);
        Make();
        for (int n = 0; n < 3; ++n)
            EXPECT_TRUE(HasNotice(Receive(TestFrame_Make(eZFCC_UYVY, c_nWidth, c_nHeight).Get()).Get()));
        EXPECT_EQ(m_log.Count(pszLine, eZLog_Warning), 1u) << pszLine;
        EXPECT_EQ(m_log.Count("with a notice on every result", eZLog_Warning),
                  static_cast<size_t>(1 + (&pszFile - &arrCases[0].first) / (&arrCases[1].first - &arrCases[0].first)));
    }
    const auto cpProps = ZQuery<IZProps>(m_cpProcess);
    const std::wstring wstrFile = ZText_ToWide(ZCK_LICENCES "/");
    EXPECT_EQ(cpProps->PropsSet(L"licence.check", (wstrFile + L"valid.xml").c_str()), S_OK) << "judged, not installed";
    EXPECT_EQ(cpProps->PropsSet(L"licence.check", (wstrFile + L"curve.xml").c_str()), E_INVALIDARG);
    EXPECT_EQ(cpProps->PropsSet(L"licence.check", (wstrFile + L"none.xml").c_str()), E_INVALIDARG);
    EXPECT_EQ(m_log.Count("there is no such file", eZLog_Error), 1u);
    EXPECT_TRUE(HasNotice(Receive(TestFrame_Make(eZFCC_UYVY, c_nWidth, c_nHeight).Get()).Get()));
}

/// The flat interface: the caller's memory for a result is ours to write, that of an input is not.
TEST_F(LicenceModule, DrawsIntoTheCallersMemoryForResults)
{
    std::string strReason;
    void* const pModule = Platform_LoadLibrary(ZCK_LICENSED, strReason);
    ASSERT_TRUE(pModule) << strReason;
    const auto pfnOpen = reinterpret_cast<decltype(&zck_open)>(Platform_Symbol(pModule, "zck_open"));
    const auto pfnProcess = reinterpret_cast<decltype(&zck_process)>(Platform_Symbol(pModule, "zck_process"));
    const auto pfnClose = reinterpret_cast<decltype(&zck_close)>(Platform_Symbol(pModule, "zck_close"));
    ASSERT_TRUE(pfnOpen && pfnProcess && pfnClose);
    for (const int nGeneration : {ZCK_GENERATION_1, ZCK_GENERATION_2})
    {
        std::vector<uint8_t> vecIn = PixelsOf(TestFrame_Make(eZFCC_ARGB32, c_nWidth, c_nHeight).Get());
        const std::vector<uint8_t> vecBefore = vecIn;
        std::vector<uint8_t> vecOut(vecIn.size());
        std::vector<uint8_t> vecMask(vecIn.size() / 4);
        zck_keyer* pKeyer = nullptr;
        ASSERT_EQ(pfnOpen(nGeneration, &pKeyer), ZCK_OK);
        const auto fnFrame = [](std::vector<uint8_t>& _vecPixels, uint32_t _fccType, int _nRowBytes) {
            zck_frame frame = {};
            frame.size = sizeof(frame);
            frame.format = _fccType;
            frame.width = c_nWidth;
            frame.height = c_nHeight;
            frame.planes[0] = _vecPixels.data();
            frame.row_bytes[0] = _nRowBytes;
            return frame;
        };
        const zck_frame frameIn = fnFrame(vecIn, eZFCC_ARGB32, 4 * c_nWidth);
        const zck_frame frameOut = fnFrame(vecOut, eZFCC_ARGB32, 4 * c_nWidth);
        const zck_frame frameMask = fnFrame(vecMask, eZFCC_RGB8, c_nWidth);
        ASSERT_EQ(pfnProcess(pKeyer, &frameIn, &frameOut, &frameMask), ZCK_OK);
        EXPECT_TRUE(HasPlate(vecOut, c_nWidth, c_nHeight, false));
        std::vector<uint8_t> vecMaskBGRA;
        for (const uint8_t nAlpha : vecMask)
            vecMaskBGRA.insert(vecMaskBGRA.end(), 4, nAlpha);
        EXPECT_TRUE(HasPlate(vecMaskBGRA, c_nWidth, c_nHeight, true));
        EXPECT_TRUE(vecIn == vecBefore);
        ASSERT_EQ(pfnProcess(pKeyer, &frameIn, &frameIn, nullptr), ZCK_OK);
        EXPECT_TRUE(HasPlate(vecIn, c_nWidth, c_nHeight, false)) << "the result was asked for there";
        pfnClose(pKeyer);
    }
    Platform_FreeLibrary(pModule);
}

} // namespace
