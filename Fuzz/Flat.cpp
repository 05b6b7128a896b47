// The plain C interface: any calls with any arguments from two threads at a time, pictures in memory that ends with
// their last byte. Whatever comes in, answers are among those that are told of, a picture that was keyed is a picture,
// also in the memory that it came in, and a document that was saved can be loaded.

#include "Support/ExactPicture.h"

#include "Sdk/ZChromaKeyC.h"

#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr int c_nMostCalls = 20;
constexpr const char* c_arrNames[] = {nullptr,
                                      "",
                                      "spill",
                                      "choke",
                                      "view",
                                      "alpha",
                                      "light",
                                      "power",
                                      "smooth",
                                      "colors",
                                      "soften",
                                      "process.threads",
                                      "gpu_mode",
                                      "keying.borders",
                                      "output.argb",
                                      "keying.alpha",
                                      "no such",
                                      "detect.fit",
                                      "output.premultiplied"};
constexpr const char* c_arrValues[] = {nullptr, "", "0", "2", "-1", "true", "1,1,2,2", "x", "multiply"};
constexpr uint32_t c_arrResultFormats[] = {ZCK_FORMAT_ARGB32, ZCK_FORMAT_ARGB64, ZCK_FORMAT_RGBA32,
                                           ZCK_FORMAT_RGB8,   ZCK_FORMAT_UYVY,   0x12345678};

bool IsAnswer(int _nResult)
{
    return _nResult >= ZCK_E_FAILED && _nResult <= ZCK_NOTHING;
}

/// A record over a picture, right in most cases.
zck_frame FrameOf(const CExactPicture& _picture, CByteReader& _in)
{
    zck_frame frame = {};
    frame.size = sizeof(frame);
    frame.format = _picture.m_vidProps.fccType;
    frame.width = _picture.m_vidProps.nWidth;
    frame.height = std::abs(_picture.m_vidProps.nHeight);
    for (int n = 0; n < 3; ++n)
    {
        frame.planes[n] = Img_Pointer(_picture.m_vidPtr.lpVideoPlanes[n]);
        frame.row_bytes[n] = _picture.m_vidPtr.cbVideoRowBytes[n];
    }
    frame.fields = _in.Range(-1, 4);
    frame.matrix = _in.Range(-1, 4);
    frame.range = _in.Range(-1, 3);
    return frame;
}

/// A picture of any format, and its record.
struct INPUT_PICTURE
{
    CExactPicture picture;
    zck_frame frame;

    explicit INPUT_PICTURE(CByteReader& _in)
        : picture(FuzzProps_Take(_in, 48, 20), _in)
        , frame(FrameOf(picture, _in))
    {
    }
};

/// A block for a result, which ends with its last pixel.
struct RESULT_BLOCK
{
    std::vector<uint8_t> vecBytes;
    zck_frame frame = {};

    RESULT_BLOCK(const zck_frame& _frameIn, uint32_t _nFormat, int _nPixel, CByteReader& _in)
    {
        frame.size = sizeof(frame);
        frame.format = _nFormat;
        frame.width = _frameIn.width;
        frame.height = _frameIn.height;
        const int nUsed = frame.width * _nPixel, nStride = nUsed + _in.Range(0, 5);
        const bool bUp = _in.Flag();
        vecBytes.assign(
            static_cast<size_t>(nStride) * static_cast<size_t>(frame.height - 1) + static_cast<size_t>(nUsed), 77);
        frame.row_bytes[0] = bUp ? -nStride : nStride;
        frame.planes[0] = vecBytes.data() + (bUp ? ptrdiff_t{nStride} * (frame.height - 1) : 0);
    }
};

/// A green backdrop and a body with grain, so that neighbours and noise count.
void PaintScene(CByteReader& _in, const zck_frame& _frame)
{
    const int nLeft = _in.Range(0, _frame.width), nGrain = _in.Range(0, 15);
    uint32_t nState = 1;
    for (int y = 0; y < _frame.height; ++y)
        for (int x = 0; x < _frame.width; ++x)
        {
            nState = nState * 1664525u + 1013904223u;
            const uint32_t nColour = x >= nLeft && y >= _frame.height / 3 ? 0xFFC83C3C : 0xFF00B400;
            const uint32_t nGrey = nColour + (nState >> 24 & static_cast<uint32_t>(nGrain)) * 0x010001;
            const bool bSwapped = _frame.format == ZCK_FORMAT_RGBA32;
            const uint32_t nPixel =
                bSwapped ? (nGrey & 0xFF00FF00) | (nGrey >> 16 & 0xFF) | (nGrey & 0xFF) << 16 : nGrey;
            std::memcpy(static_cast<uint8_t*>(_frame.planes[0]) + ptrdiff_t{y} * _frame.row_bytes[0] + ptrdiff_t{4} * x,
                        &nPixel, sizeof(nPixel));
        }
}

/// A picture in the place of its own result is keyed as if there were two, also into another format. Nobody else edits
/// meanwhile.
void ProcessInPlace(CByteReader& _in, zck_keyer* _pKeyer)
{
    constexpr uint32_t c_arrIn[] = {ZCK_FORMAT_ARGB32, ZCK_FORMAT_RGB32, ZCK_FORMAT_RGBA32};
    constexpr uint32_t c_arrOut[] = {ZCK_FORMAT_ARGB32, ZCK_FORMAT_RGBA32};
    ZF_VID_PROPS vidProps = {};
    vidProps.fccType = _in.OneOf(c_arrIn);
    vidProps.nWidth = _in.Range(1, 48);
    vidProps.nHeight = _in.Range(1, 20);
    const auto nShape = _in.Take<uint16_t>(); // of its memory; what is left of it would fill the picture
    CByteReader inShape(reinterpret_cast<const uint8_t*>(&nShape), sizeof(nShape));
    const CExactPicture picture(vidProps, inShape);
    zck_frame frame = FrameOf(picture, _in);
    frame.fields = frame.matrix = frame.range = 0;
    PaintScene(_in, frame);
    RESULT_BLOCK result(frame, _in.OneOf(c_arrOut), 4, _in);
    zck_frame frameOut = frame;
    frameOut.format = result.frame.format;
    static_cast<void>(zck_key_color(_pKeyer, 0x00B400, ZCK_USE_ONLY));
    const int nApart = zck_process(_pKeyer, &frame, &result.frame, nullptr);
    const int nInPlace = zck_process(_pKeyer, &frame, &frameOut, nullptr);
    FUZZ_REQUIRE(IsAnswer(nApart) && nInPlace == nApart);
    for (int y = 0; nApart == ZCK_OK && y < frame.height; ++y)
        FUZZ_REQUIRE(
            std::memcmp(static_cast<uint8_t*>(frame.planes[0]) + ptrdiff_t{y} * frame.row_bytes[0],
                        static_cast<uint8_t*>(result.frame.planes[0]) + ptrdiff_t{y} * result.frame.row_bytes[0],
                        size_t{4} * static_cast<size_t>(frame.width)) == 0);
}

void Process(CByteReader& _in, zck_keyer* _pKeyer)
{
    INPUT_PICTURE input(_in);
    const uint32_t nFormat = _in.OneOf(c_arrResultFormats);
    const int nPixel = nFormat == ZCK_FORMAT_ARGB64 ? 8 : nFormat == ZCK_FORMAT_RGB8 ? 1 : 4;
    RESULT_BLOCK result(input.frame, nFormat, nPixel, _in);
    RESULT_BLOCK mask(input.frame, ZCK_FORMAT_RGB8, 1, _in);
    const int nWhich = _in.Range(0, 5);
    const bool bInPlace = nWhich == 5 && input.frame.format == ZCK_FORMAT_ARGB32;
    const zck_frame* const pOut = bInPlace ? &input.frame : nWhich > 0 ? &result.frame : nullptr;
    FUZZ_REQUIRE(IsAnswer(zck_process(_pKeyer, &input.frame, pOut, nWhich < 2 ? &mask.frame : nullptr)));
}

void Pick(CByteReader& _in, zck_keyer* _pKeyer)
{
    INPUT_PICTURE input(_in);
    const zck_frame* const pFrame = _in.Byte() % 16 ? &input.frame : nullptr;
    const int nX = _in.Number(), nY = _in.Number(), nUse = _in.Range(-1, 3);
    switch (_in.Byte() % 4)
    {
    case 0:
        FUZZ_REQUIRE(IsAnswer(zck_key_auto(_pKeyer, pFrame)));
        return;
    case 1:
        FUZZ_REQUIRE(IsAnswer(zck_key_point(_pKeyer, pFrame, nX, nY, nUse)));
        return;
    case 2:
        FUZZ_REQUIRE(IsAnswer(zck_key_rect(_pKeyer, pFrame, nX, nY, _in.Number(), _in.Number(), nUse)));
        return;
    default:
        FUZZ_REQUIRE(IsAnswer(zck_key_color(_pKeyer, _in.Take<uint32_t>(), nUse)));
    }
}

void Set(CByteReader& _in, zck_keyer* _pKeyer)
{
    const char* const pszName = _in.OneOf(c_arrNames);
    double dblValue = std::nan("");
    if (_in.Flag())
        FUZZ_REQUIRE(IsAnswer(zck_option_set(_pKeyer, pszName, _in.OneOf(c_arrValues))));
    else
        FUZZ_REQUIRE(IsAnswer(zck_param_set(_pKeyer, pszName, _in.Double())));
    if (zck_param_get(_pKeyer, pszName, &dblValue) == ZCK_OK)
        FUZZ_REQUIRE(std::isfinite(dblValue));
}

void Documents(CByteReader& _in, zck_keyer* _pKeyer, bool _bAlone)
{
    if (_in.Flag())
    {
        const std::string strDocument = "<zl-root><" + std::string(_in.Line());
        FUZZ_REQUIRE(IsAnswer(zck_load(_pKeyer, strDocument.c_str())));
        return;
    }
    size_t cbNeeded = 0;
    FUZZ_REQUIRE(IsAnswer(zck_save(_pKeyer, nullptr, 0, &cbNeeded)));
    std::vector<char> vecText(_in.Flag() ? cbNeeded : 1 + _in.Byte());
    const int nSaved = zck_save(_pKeyer, vecText.data(), vecText.size(), nullptr);
    FUZZ_REQUIRE(IsAnswer(nSaved) && (!_bAlone || vecText.size() < cbNeeded || nSaved == ZCK_OK));
    if (nSaved == ZCK_OK)
        FUZZ_REQUIRE(zck_load(_pKeyer, vecText.data()) >= ZCK_OK);
}

void Others(CByteReader& _in, zck_keyer* _pKeyer)
{
    zck_param param = {};
    param.size = _in.Byte() % 8 ? sizeof(param) : _in.Byte();
    int nDone = 0;
    FUZZ_REQUIRE(IsAnswer(zck_param_info(_in.Range(-1, 3), _in.Range(-1, 20), &param)));
    FUZZ_REQUIRE(zck_last_error(_in.Flag() ? _pKeyer : nullptr) != nullptr);
    FUZZ_REQUIRE(IsAnswer(zck_step(_pKeyer, _in.Number(), _in.Flag() ? &nDone : nullptr)));
    if (_in.Byte() % 4 == 0)
        FUZZ_REQUIRE(IsAnswer(zck_reset(_pKeyer)));
    if (_in.Byte() % 4 == 0)
        FUZZ_REQUIRE(IsAnswer(zck_flush(_pKeyer)));
}

/// _bAlone: no other thread edits meanwhile.
void Call(CByteReader _in, zck_keyer* _pKeyer, bool _bAlone)
{
    for (int nCalls = 0; !_in.AtEnd() && nCalls < c_nMostCalls; ++nCalls)
        switch (_in.Byte() % 6)
        {
        case 0:
            if (_bAlone)
                ProcessInPlace(_in, _pKeyer);
            else
                Process(_in, _pKeyer);
            break;
        case 1:
            Process(_in, _pKeyer);
            break;
        case 2:
            Pick(_in, _pKeyer);
            break;
        case 3:
            Set(_in, _pKeyer);
            break;
        case 4:
            Documents(_in, _pKeyer, _bAlone);
            break;
        default:
            Others(_in, _pKeyer);
        }
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    zck_keyer* pKeyer = nullptr;
    const int nGeneration = _in.Range(-1, 3), nOpened = zck_open(nGeneration, &pKeyer);
    FUZZ_REQUIRE((nOpened == ZCK_OK) == (nGeneration >= 0 && nGeneration <= 2) &&
                 (nOpened == ZCK_OK) == (pKeyer != nullptr));
    if (pKeyer)
    {
        const size_t nSplit = _in.Byte();
        const std::string_view svCalls = _in.Rest();
        const CByteReader inOther(svCalls.substr(std::min(nSplit, svCalls.size())));
        std::thread thread([&] { Call(inOther, pKeyer, inOther.AtEnd() || nSplit == 0); });
        Call(CByteReader(svCalls.substr(0, nSplit)), pKeyer, inOther.AtEnd());
        thread.join();
    }
    zck_close(pKeyer);
}
