#include "ZChromaKey/Objects/FaultRuns.h"

#include "Base/ZLog.h"
#include "Image/ImgPlane.h"
#include "Sdk/ZChromaKeyC.h"

#include <vector>

#if !defined(_WIN32)
#include "Support/Refuse.h"
#endif

// Memory and threads run out in the calls of the flat interface.

namespace
{

/// A result of the flat interface as the runs want it.
HRESULT FlatHr(int _nResult)
{
    return _nResult == ZCK_E_MEMORY ? E_OUTOFMEMORY : _nResult < 0 ? E_FAIL : _nResult == ZCK_OK ? S_OK : S_FALSE;
}

zck_frame FlatOf(CZFrame* _pFrame)
{
    const ZF_VID_PROPS vidProps = PropsOf(_pFrame);
    const ZF_VID_PTR vidPtr = PtrOf(_pFrame, eZFP_Flip);
    zck_frame frame = {};
    frame.size = sizeof(frame);
    frame.format = vidProps.fccType;
    frame.width = vidProps.nWidth;
    frame.height = std::abs(vidProps.nHeight);
    for (int n = 0; n < 3; ++n)
    {
        frame.planes[n] = Img_Pointer(vidPtr.lpVideoPlanes[n]);
        frame.row_bytes[n] = vidPtr.cbVideoRowBytes[n];
    }
    return frame;
}

struct SUBJECT_FLAT
{
    void Open()
    {
        EXPECT_EQ(zck_open(ZCK_GENERATION_2, &cpKey), ZCK_OK);
        EXPECT_EQ(zck_option_set(cpKey, "gpu_mode", "0"), ZCK_OK);
        EXPECT_EQ(zck_key_color(cpKey, 0x00B400, ZCK_USE_KEY), ZCK_OK);
    }
    int Process(CZFrame* _pFrame)
    {
        const zck_frame in = FlatOf(_pFrame);
        zck_frame out = {
            sizeof(out), ZCK_FORMAT_ARGB32, in.width, in.height, {vecOut.data()}, {4 * in.width}, 0, 0, 0, 0};
        zck_frame mask = {sizeof(mask), ZCK_FORMAT_RGB8, in.width, in.height, {vecMask.data()}, {in.width}, 0, 0, 0, 0};
        return zck_process(cpKey, &in, &out, &mask);
    }
    /// Whether the backdrop is gone and the body is there.
    bool IsKeyed(CZFrame* _pFrame) const
    {
        const zck_frame frame = FlatOf(_pFrame);
        const uint8_t* const pRow = vecMask.data() + ptrdiff_t{frame.height - 4} * frame.width;
        return pRow[frame.width / 4] == 0 && pRow[frame.width * 3 / 4] == 255;
    }
    double Param(const char* _pszName) const
    {
        double dblValue = -1;
        EXPECT_EQ(zck_param_get(cpKey, _pszName, &dblValue), ZCK_OK);
        return dblValue;
    }
    std::string Document() const
    {
        char achText[8000] = "";
        EXPECT_EQ(zck_save(cpKey, achText, sizeof(achText), nullptr), ZCK_OK);
        return achText;
    }
    bool HasOutput() const
    {
        return achSaved[0] != 0;
    }
    void Release()
    {
        zck_close(cpKey);
        cpKey = nullptr;
    }

    CZPtr<CZFrame> cpFrame = TestFrame_Body(eZFCC_RGB32, 96, 64);
    CZPtr<CZFrame> cpFrameLarge = TestFrame_Body(eZFCC_NV12, 160, 96);
    std::vector<uint8_t> vecOut = std::vector<uint8_t>(size_t{4} * 160 * 96);
    std::vector<uint8_t> vecMask = std::vector<uint8_t>(size_t{160} * 96);
    char achSaved[8000] = "";
    zck_keyer* cpKey = nullptr;
};
using FaultsFlat = CFaultRuns<SUBJECT_FLAT>;

void MakeOpen(SUBJECT_FLAT& _subject)
{
    _subject.Open();
}

void MakeKeyedFlat(SUBJECT_FLAT& _subject)
{
    _subject.Open();
    EXPECT_EQ(_subject.Process(_subject.cpFrame.Get()), ZCK_OK);
}

bool KeysFlat(SUBJECT_FLAT& _subject)
{
    return _subject.Process(_subject.cpFrame.Get()) == ZCK_OK && _subject.IsKeyed(_subject.cpFrame.Get());
}

/// Makes its table at the first call.
int DescribeParam()
{
    zck_param param = {};
    param.size = sizeof(param);
    return zck_param_info(ZCK_GENERATION_2, 0, &param);
}

TEST_F(FaultsFlat, MemoryRunsOutInEveryCall)
{
    SUBJECT_FLAT other; // what a program keeps from its first object on is no loss
    MakeKeyedFlat(other);
    EXPECT_EQ(zck_param_set(other.cpKey, "choke", 4), ZCK_OK);
    const std::string strOther = other.Document();
    for (uint64_t nFirst = 1; nFirst < 30; ++nFirst) // the table is made whole, or not at all
    {
        AllocFault_Set(nFirst, 1);
        const int nResult = DescribeParam();
        const bool bRefused = AllocFault_End() > 0;
        EXPECT_TRUE(nResult == ZCK_OK || (bRefused && nResult == ZCK_E_MEMORY)) << nResult;
    }
    other.Release();
    const OPERATION arrOperations[] = {
        {"open", [](SUBJECT_FLAT&) {}, [](SUBJECT_FLAT& _s) { return FlatHr(zck_open(ZCK_GENERATION_2, &_s.cpKey)); },
         [](SUBJECT_FLAT& _s) { return zck_key_color(_s.cpKey, 0x00B400, ZCK_USE_KEY) == ZCK_OK && KeysFlat(_s); }},
        {"set an option", MakeOpen,
         [](SUBJECT_FLAT& _s) { return FlatHr(zck_option_set(_s.cpKey, "process.threads", "3")); }, KeysFlat},
        {"set a parameter", MakeOpen, [](SUBJECT_FLAT& _s) { return FlatHr(zck_param_set(_s.cpKey, "choke", 3)); },
         [](SUBJECT_FLAT& _s) { return _s.Param("choke") == 3; }},
        {"protect a point", MakeOpen,
         [](SUBJECT_FLAT& _s) {
             const zck_frame frame = FlatOf(_s.cpFrame.Get());
             return FlatHr(zck_key_point(_s.cpKey, &frame, 80, 50, ZCK_USE_PROTECT));
         },
         KeysFlat},
        {"find the backdrop", MakeOpen,
         [](SUBJECT_FLAT& _s) {
             const zck_frame frame = FlatOf(_s.cpFrame.Get());
             return FlatHr(zck_key_auto(_s.cpKey, &frame));
         },
         KeysFlat},
        {"first picture", MakeOpen, [](SUBJECT_FLAT& _s) { return FlatHr(_s.Process(_s.cpFrame.Get())); }, KeysFlat},
        {"another size and format", MakeKeyedFlat,
         [](SUBJECT_FLAT& _s) { return FlatHr(_s.Process(_s.cpFrameLarge.Get())); },
         [](SUBJECT_FLAT& _s) { return _s.IsKeyed(_s.cpFrameLarge.Get()); }},
        {"save", MakeOpen,
         [](SUBJECT_FLAT& _s) { return FlatHr(zck_save(_s.cpKey, _s.achSaved, sizeof(_s.achSaved), nullptr)); },
         [](SUBJECT_FLAT& _s) { return _s.achSaved == _s.Document(); }},
        {"load", MakeOpen, [&](SUBJECT_FLAT& _s) { return FlatHr(zck_load(_s.cpKey, strOther.c_str())); },
         [](SUBJECT_FLAT& _s) { return _s.Param("choke") == 4; }},
        {"reset", MakeOpen, [](SUBJECT_FLAT& _s) { return FlatHr(zck_reset(_s.cpKey)); },
         [](SUBJECT_FLAT& _s) { return zck_key_color(_s.cpKey, 0x00B400, ZCK_USE_KEY) == ZCK_OK && KeysFlat(_s); }},
    };
    RunAll(arrOperations);
}

#if !defined(_WIN32)

TEST_F(FaultsFlat, ThreadsThatCannotBeStarted)
{
    int nPoints = 0;
    for (bool bRefused = true; bRefused; nPoints += bRefused)
    {
        ASSERT_LT(nPoints, 100);
        SUBJECT_FLAT subject;
        subject.Open();
        EXPECT_EQ(zck_option_set(subject.cpKey, "process.threads", "5"), ZCK_OK);
        Refuse_Thread(nPoints + 1);
        const int nResult = subject.Process(subject.cpFrame.Get());
        bRefused = Refuse_End();
        EXPECT_EQ(nResult, bRefused ? ZCK_E_MEMORY : ZCK_OK);
        EXPECT_EQ(std::string(zck_last_error(subject.cpKey)).empty(), !bRefused);
        EXPECT_TRUE(KeysFlat(subject)) << "there are threads again";
        subject.Release();
    }
    EXPECT_EQ(nPoints, 5);
    std::printf("flat interface: %d threads refused\n", nPoints);
    EXPECT_TRUE(ZModule_IsIdle());
}

#endif

} // namespace
