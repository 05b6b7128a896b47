#include "Shell/ShellKeyer.h"
#include "frei0r/Frei0r.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <exception>
#include <mutex>

// The keyer as a filter of frei0r. Hosts set all parameters once they have made an instance, also those that nobody
// touched, and some again before each picture; CShellKeyer tells what has changed.

namespace
{

constexpr FREI0R_PARAM c_arrOwn[] = {
    {"keys", eF0T_Text, "File of keys, as \"zkhost key --save-keys\" writes it. None: the backdrop is found by itself"},
    {"color", eF0T_Color, "Colour of the backdrop. Black: the backdrop is found by itself"},
    {"protect", eF0T_Color, "Colour that stays solid although it is like the backdrop. Black: none"},
    {"stills", eF0T_Switch, "Keys each picture by itself: for hosts that ask for several at a time, or in any order"},
};
constexpr int c_nKeys = 0, c_nColor = 1, c_nProtect = 2, c_nStills = 3, c_nOwn = 4;

// frei0r has no log; what the module logs is on standard error already.
void Say(const std::string& _strLine, bool _bLogged)
{
    if (!_bLogged)
        std::fprintf(stderr, "zchromakey: %s\n", _strLine.c_str());
}

struct FILTER
{
    FILTER(unsigned _nWidth, unsigned _nHeight)
        : nWidth(static_cast<int>(_nWidth))
        , nHeight(static_cast<int>(_nHeight))
    {
    }

    const int nWidth;
    const int nHeight;
    std::mutex mtx;
    FREI0R_COLOR arrColors[c_nOwn] = {}; // at their numbers
    double dblTime = NAN;                // of the last picture
    double dblStep = HUGE_VAL;           // from picture to picture, on average
    CShellKeyer keyer{Say};
};

// What goes wrong in a call of the host ends here.
template <class Body> void Guarded(const Body& _body) noexcept
{
    try
    {
        _body();
    }
    catch (const std::exception& error)
    {
        Say(error.what(), false);
    }
}

uint32_t Byte(float _fltChannel)
{
    const bool bRight = _fltChannel >= 0 && _fltChannel <= 1; // not so what is no number
    return bRight ? static_cast<uint32_t>(std::lround(_fltChannel * 255)) : 0;
}

uint32_t Rgb(const FREI0R_COLOR& _color)
{
    return Byte(_color.fltRed) << 16 | Byte(_color.fltGreen) << 8 | Byte(_color.fltBlue);
}

// The number of a slider among the keyer's parameters; past their end where it is none.
size_t SliderNumber(int _nParam)
{
    return static_cast<size_t>(int64_t{_nParam} - c_nOwn);
}

// The parameter of a number of the host's; null where there is none.
const zck_param* Slider(int _nParam)
{
    const size_t nSlider = SliderNumber(_nParam);
    return nSlider < ShellParams_Get().size() ? &ShellParams_Get()[nSlider] : nullptr;
}

// Sliders run from 0 to 1. Hosts write them down with six digits; the thousandth is what was meant.
double FromSlider(const zck_param& _param, double _dblSlider)
{
    return std::round((_param.least + _dblSlider * (_param.most - _param.least)) * 1000) / 1000;
}

double ToSlider(const zck_param& _param, double _dblValue)
{
    return (_dblValue - _param.least) / (_param.most - _param.least);
}

void SetColor(FILTER& _filter, int _nParam, const FREI0R_COLOR& _color)
{
    _filter.arrColors[_nParam] = _color;
    if (_nParam == c_nColor)
        _filter.keyer.ColorSet(Rgb(_color));
    else
        _filter.keyer.ProtectSet(Rgb(_color));
}

// Hosts count time in seconds, FFmpeg in thousandths. Another shot begins with a leap over some 25 pictures, not with
// less: hosts with several threads mix up neighbours.
void TakeTime(FILTER& _filter, double _dblTime)
{
    const double dblStep = std::abs(_dblTime - _filter.dblTime); // no number with the first picture
    const double dblReach = 25 * _filter.dblStep;
    if (dblStep > 0 && dblStep <= dblReach)
        _filter.dblStep = std::isinf(dblReach) ? dblStep : 0.9 * _filter.dblStep + 0.1 * dblStep;
    _filter.dblTime = _dblTime;
    _filter.keyer.TimeSet(_dblTime, dblReach);
}

zck_frame Frame(const FILTER& _filter, const uint32_t* _pPixels)
{
    zck_frame frame = {};
    frame.size = sizeof(frame);
    frame.format = ZCK_FORMAT_ARGB32;
    frame.width = _filter.nWidth;
    frame.height = _filter.nHeight;
    frame.planes[0] = const_cast<uint32_t*>(_pPixels); // that of the input is only read
    frame.row_bytes[0] = _filter.nWidth * 4;
    return frame;
}

} // namespace

int f0r_init()
{
    return 1;
}

void f0r_deinit()
{
}

void f0r_get_plugin_info(FREI0R_PLUGIN* _pInfo)
{
    const int nParams = c_nOwn + static_cast<int>(ShellParams_Get().size());
    *_pInfo = {"zchromakey",
               "ZChromaKey",
               eF0K_Filter,
               eF0P_BGRA,
               c_nFrei0rVersion,
               ZCK_VERSION_MAJOR,
               ZCK_VERSION_MINOR,
               nParams,
               "Chroma keyer: makes a backdrop of any colour transparent, and takes its tint out of hair and edges"};
}

void f0r_get_param_info(FREI0R_PARAM* _pInfo, int _nParam)
{
    if (_nParam >= 0 && _nParam < c_nOwn)
        *_pInfo = c_arrOwn[_nParam];
    else if (const zck_param* const pParam = Slider(_nParam))
        *_pInfo = {pParam->name, eF0T_Number, pParam->help};
}

FREI0R_INSTANCE f0r_construct(unsigned _nWidth, unsigned _nHeight)
{
    constexpr unsigned c_nMost = 1u << 26; // pixels a side, as the keyer takes them
    FILTER* pFilter = nullptr;
    if (_nWidth > 0 && _nHeight > 0 && _nWidth <= c_nMost && _nHeight <= c_nMost)
        Guarded([&] { pFilter = new FILTER(_nWidth, _nHeight); });
    return pFilter;
}

void f0r_destruct(FREI0R_INSTANCE _pInstance)
{
    delete static_cast<FILTER*>(_pInstance);
}

void f0r_set_param_value(FREI0R_INSTANCE _pInstance, void* _pValue, int _nParam)
{
    FILTER& filter = *static_cast<FILTER*>(_pInstance);
    const std::lock_guard lock(filter.mtx);
    Guarded([&] {
        const char* const* ppszText = static_cast<const char* const*>(_pValue);
        if (_nParam == c_nKeys)
            filter.keyer.KeysSet(*ppszText ? *ppszText : "");
        else if (_nParam == c_nStills)
            filter.keyer.StillsSet(*static_cast<const double*>(_pValue) >= 0.5);
        else if (_nParam == c_nColor || _nParam == c_nProtect)
            SetColor(filter, _nParam, *static_cast<const FREI0R_COLOR*>(_pValue));
        else if (const zck_param* const pParam = Slider(_nParam))
            filter.keyer.ParamSet(SliderNumber(_nParam), FromSlider(*pParam, *static_cast<const double*>(_pValue)));
    });
}

void f0r_get_param_value(FREI0R_INSTANCE _pInstance, void* _pValue, int _nParam)
{
    FILTER& filter = *static_cast<FILTER*>(_pInstance);
    const std::lock_guard lock(filter.mtx);
    if (_nParam == c_nKeys)
        *static_cast<const char**>(_pValue) = filter.keyer.KeysGet().c_str();
    else if (_nParam == c_nStills)
        *static_cast<double*>(_pValue) = filter.keyer.StillsGet() ? 1 : 0;
    else if (_nParam == c_nColor || _nParam == c_nProtect)
        *static_cast<FREI0R_COLOR*>(_pValue) = filter.arrColors[_nParam];
    else if (const zck_param* const pParam = Slider(_nParam))
        *static_cast<double*>(_pValue) = ToSlider(*pParam, filter.keyer.ParamGet(SliderNumber(_nParam)));
}

void f0r_update(FREI0R_INSTANCE _pInstance, double _dblTime, const uint32_t* _pIn, uint32_t* _pOut)
{
    FILTER& filter = *static_cast<FILTER*>(_pInstance);
    const std::lock_guard lock(filter.mtx);
    TakeTime(filter, _dblTime);
    if (!filter.keyer.Process(Frame(filter, _pIn), Frame(filter, _pOut)) && _pIn != _pOut)
        std::memcpy(_pOut, _pIn,
                    sizeof(*_pIn) * static_cast<size_t>(filter.nWidth) * static_cast<size_t>(filter.nHeight));
}
