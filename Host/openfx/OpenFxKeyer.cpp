#include "openfx/OpenFxKeyer.h"

#include "openfx/OpenFxRows.h"

#include <algorithm>
#include <exception>

namespace
{

OFX_PARAM Param(OFX_PARAMS _hParams, const char* _pszName)
{
    OFX_PARAM hParam = nullptr;
    OpenFxHost().pParams->pfnGetHandle(_hParams, _pszName, &hParam, nullptr);
    return hParam;
}

// Where the pixels asked for, those of the source and those of the result meet: x1, y1, x2, y2, all of them within
// the bounds of the other, also where there is nothing between them.
std::array<int, 4> Common(std::array<int, 4> _arrOne, const std::array<int, 4>& _arrOther)
{
    for (const size_t n : {0u, 1u})
    {
        _arrOne[n] = std::clamp(_arrOne[n], _arrOther[n], _arrOther[n + 2]);
        _arrOne[n + 2] = std::clamp(_arrOne[n + 2], _arrOne[n], _arrOther[n + 2]);
    }
    return _arrOne;
}

std::array<int, 4> Window(OFX_PROPS _hIn, const COpenFxImage& _result)
{
    std::array<int, 4> arrWindow = _result.Bounds();
    for (int n = 0; n < 4; ++n)
        arrWindow[static_cast<size_t>(n)] =
            OpenFx_Int(_hIn, "OfxImageEffectPropRenderWindow", n, arrWindow[static_cast<size_t>(n)]);
    return Common(arrWindow, _result.Bounds());
}

template <class T> void Clear(const COpenFxImage& _result, const std::array<int, 4>& _arrWindow)
{
    for (int y = _arrWindow[1]; y < _arrWindow[3]; ++y)
        std::fill_n(_result.At<T>(_arrWindow[0], y), 4 * (_arrWindow[2] - _arrWindow[0]), T{0});
}

zck_frame Frame(const COpenFxImage& _source, uint32_t _nFormat, unsigned char* _pPixels)
{
    zck_frame frame = {};
    frame.size = sizeof(frame);
    frame.format = _nFormat;
    frame.width = _source.Width();
    frame.height = _source.Height();
    frame.planes[0] = _pPixels;
    frame.row_bytes[0] = _source.Width() * (_nFormat == ZCK_FORMAT_ARGB64 ? 8 : 4);
    return frame;
}

} // namespace

COpenFxKeyer::COpenFxKeyer(OFX_EFFECT _hEffect)
    : m_hEffect(_hEffect)
    , m_keyer([_hEffect](const std::string& _strLine, bool) { OpenFx_Say(_hEffect, _strLine); })
{
    OFX_PARAMS hParams = nullptr;
    OpenFxHost().pEffects->pfnGetParamSet(_hEffect, &hParams);
    m_hKeys = Param(hParams, "keys");
    m_hAuto = Param(hParams, "auto");
    m_hStills = Param(hParams, "stills");
    m_hColor = Param(hParams, "color");
    m_hProtect = Param(hParams, "protect");
    for (const zck_param& param : ShellParams_Get())
        m_vecParams.push_back(Param(hParams, param.name));
}

OFX_STATUS COpenFxKeyer::Render(OFX_PROPS _hIn)
{
    const double dblTime = OpenFx_Double(_hIn, "OfxPropTime", 0, 0);
    const COpenFxImage source(m_hEffect, "Source", dblTime);
    const COpenFxImage result(m_hEffect, "Output", dblTime);
    if (source.Depth() != result.Depth())
        return c_nOfxUnsupported;
    const std::lock_guard lock(m_mtx);
    TakeSettings(dblTime, OpenFx_Double(_hIn, "OfxImageEffectPropRenderScale", 0, 1));
    m_keyer.TimeSet(dblTime, 1);
    switch (source.Depth())
    {
    case EOpenFxDepth::eByte:
        Key<uint8_t, uint8_t>(source, result, _hIn);
        break;
    case EOpenFxDepth::eShort:
        Key<uint16_t, uint16_t>(source, result, _hIn);
        break;
    case EOpenFxDepth::eFloat:
        Key<float, uint16_t>(source, result, _hIn);
        break;
    }
    return c_nOfxOk;
}

// The whole source is keyed, whatever the host asks for: the backdrop is learned from all of it.
template <class T, class Word>
void COpenFxKeyer::Key(const COpenFxImage& _source, const COpenFxImage& _result, OFX_PROPS _hIn)
{
    const auto& arrSource = _source.Bounds();
    const size_t nRow = static_cast<size_t>(_source.Width()) * 4;
    const size_t nBytes = nRow * static_cast<size_t>(_source.Height()) * sizeof(Word);
    m_vecIn.resize(nBytes);
    m_vecOut.resize(nBytes);
    const auto RowOf = [&](std::vector<unsigned char>& _vecPixels, int _nY) {
        return reinterpret_cast<Word*>(_vecPixels.data()) + nRow * static_cast<size_t>(arrSource[3] - 1 - _nY);
    };
    const bool bMultiplied = _source.IsPremultiplied();
    for (int y = arrSource[1]; y < arrSource[3]; ++y)
    {
        OpenFx_ReadRow(_source.At<T>(arrSource[0], y), RowOf(m_vecIn, y), _source.Width());
        if (bMultiplied)
            OpenFx_DivideRow(RowOf(m_vecIn, y), _source.Width());
    }
    const bool bKeyed = KeyWords(_source, sizeof(Word) == 1 ? ZCK_FORMAT_ARGB32 : ZCK_FORMAT_ARGB64);

    const auto arrWindow = Window(_hIn, _result);
    const auto arrBoth = Common(arrWindow, arrSource);
    if (arrBoth != arrWindow)
        Clear<T>(_result, arrWindow);
    const std::ptrdiff_t nSkip = static_cast<std::ptrdiff_t>(arrBoth[0] - arrSource[0]) * 4;
    const int nPixels = arrBoth[2] - arrBoth[0];
    for (int y = arrBoth[1]; nPixels > 0 && y < arrBoth[3]; ++y)
    {
        const T* const pSource = _source.At<T>(arrBoth[0], y);
        T* const pTo = _result.At<T>(arrBoth[0], y);
        if (bKeyed)
            OpenFx_WriteRow(RowOf(m_vecOut, y) + nSkip, RowOf(m_vecIn, y) + nSkip, pSource, pTo, nPixels, bMultiplied);
        else
            std::copy_n(pSource, 4 * nPixels, pTo);
    }
}

bool COpenFxKeyer::KeyWords(const COpenFxImage& _source, uint32_t _nFormat)
{
    return m_keyer.Process(Frame(_source, _nFormat, m_vecIn.data()), Frame(_source, _nFormat, m_vecOut.data()));
}
