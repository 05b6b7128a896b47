#include "ZChromaKey/Flat/FlatKeyer.h"

#include "Base/ZBorder.h"
#include "Base/ZSystem.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

// The functions of the flat interface, as the module exports them. Nothing but their arguments is looked at here.

namespace
{

/// What zck_last_error has handed out to a thread, and why its last call without a keyer failed. Plain arrays: nothing
/// has to be done for them when the thread or the module ends.
thread_local char t_szHandedOut[1024];
thread_local char t_szError[1024];

/// Copies what fits of a text; characters stay whole.
void TextKeep(std::string_view _svText, char (&_szText)[1024])
{
    size_t nBytes = std::min(_svText.size(), std::size(_szText) - 1);
    while (nBytes < _svText.size() && nBytes > 0 && (_svText[nBytes] & 0xC0) == 0x80)
        --nBytes;
    std::memcpy(_szText, _svText.data(), nBytes);
    _szText[nBytes] = 0;
}

int ResultOf(HRESULT _hr)
{
    switch (_hr)
    {
    case S_OK:
        return ZCK_OK;
    case E_POINTER:
    case E_INVALIDARG:
        return ZCK_E_ARGUMENT;
    case E_UNEXPECTED:
        return ZCK_E_STATE;
    case E_NOTIMPL:
        return ZCK_E_FORMAT;
    case E_OUTOFMEMORY:
        return ZCK_E_MEMORY;
    case Z_E_TIMEOUT:
        return ZCK_E_BUSY;
    default:
        return SUCCEEDED(_hr) ? ZCK_NOTHING : ZCK_E_FAILED;
    }
}

HRESULT RefuseNull(const char* _pszWhat)
{
    ZLog(eZLog_Error, "%hs is null\n", _pszWhat);
    return E_POINTER;
}

/// Runs a body, and keeps why it did not succeed: for the keyer, or without one for the thread.
template <class Body> int RunFlat(const char* _pszFunction, zck_keyer* _pKeyerOrNull, Body&& _body) noexcept
{
    const HRESULT hrKeeping = ZBorder(_pszFunction, [&]() -> HRESULT {
        const CZLogCapture capture;
        const HRESULT hr = ZBorder(_pszFunction, _body);
        if (hr != S_OK && _pKeyerOrNull)
            _pKeyerOrNull->ErrorSet(hr, capture.Text());
        else if (hr != S_OK)
            TextKeep(capture.Text(), t_szError);
        return hr;
    });
    return ResultOf(hrKeeping);
}

/// The same with a keyer that has to be there.
template <class Body> int WithKeyer(const char* _pszFunction, zck_keyer* _pKeyer, Body&& _body) noexcept
{
    return RunFlat(_pszFunction, _pKeyer, [&] { return _pKeyer ? _body() : RefuseNull("The keyer"); });
}

/// The log as a function of the caller's.
class CFlatSink final : public CZUnknown<IZLogSink>
{
public:
    CFlatSink(zck_log _pfnLog, void* _pUser)
        : m_pfnLog(_pfnLog)
        , m_pUser(_pUser)
    {
    }
    void STDMETHODCALLTYPE LogLine(int32_t _eLevel, const char* _pszText) override
    {
        m_pfnLog(m_pUser, _eLevel, _pszText);
    }

private:
    ~CFlatSink() override = default;

    zck_log m_pfnLog;
    void* m_pUser;
};

/// A table's row as the interface describes a parameter.
zck_param ParamOf(const ZTABLE_ROW& _row)
{
    const bool bChoice = _row.eValue == eZV_Choice;
    const bool bWhole = bChoice || _row.eValue == eZV_Whole || _row.eValue == eZV_Bool;
    return {sizeof(zck_param),
            bWhole,
            _row.dblLeast,
            _row.dblMost,
            _row.dblDefault,
            _row.pszName,
            bChoice ? "" : _row.pszUnit,
            bChoice ? _row.pszUnit : nullptr,
            _row.pszHelp};
}

HRESULT ParamDescribe(int _nGeneration, int _nIndex, zck_param* _pParam)
{
    if (!_pParam)
        return RefuseNull("The record of a parameter");
    if (_pParam->size < sizeof(zck_param))
    {
        ZLog(eZLog_Error, "The record of a parameter has %u bytes, must be %zu: set zck_param::size\n", _pParam->size,
             sizeof(zck_param));
        return E_INVALIDARG;
    }
    zck_keyer keyer;
    ZTABLE_ROW row = {};
    HRESULT hr = keyer.Open(_nGeneration);
    if (SUCCEEDED(hr))
        hr = _nIndex < 0 ? S_FALSE : keyer.ParamRow(static_cast<UINT>(_nIndex), &row);
    if (hr == S_OK)
        *_pParam = ParamOf(row);
    return hr;
}

HRESULT TextHandOut(const std::string& _strText, char* _pText, size_t _nCapacity, size_t* _pnNeededOrNull)
{
    if (_pnNeededOrNull)
        *_pnNeededOrNull = _strText.size() + 1;
    if (!_pText)
        return S_OK;
    if (_nCapacity > _strText.size())
    {
        std::memcpy(_pText, _strText.c_str(), _strText.size() + 1);
        return S_OK;
    }
    if (_nCapacity > 0)
        *_pText = 0;
    ZLog(eZLog_Error, "The document takes %zu bytes, and there are %zu\n", _strText.size() + 1, _nCapacity);
    return E_INVALIDARG;
}

} // namespace

const char* ZCK_CALL zck_version(void)
{
    return "ZChromaKey " ZCK_VERSION;
}

int ZCK_CALL zck_log_set(zck_log _log_or_null, void* _user, int _level)
{
    return RunFlat("zck_log_set", nullptr, [&]() -> HRESULT {
        if (_level < eZLog_Off || _level > eZLog_Verbose)
        {
            ZLog(eZLog_Error, "There is no level %d of the log; use %d to %d\n", _level, eZLog_Off, eZLog_Verbose);
            return E_INVALIDARG;
        }
        const auto cpSink =
            _log_or_null ? CZPtr<IZLogSink>::Adopt(new CFlatSink(_log_or_null, _user)) : CZPtr<IZLogSink>();
        ZLog_Set(cpSink.Get(), cpSink ? static_cast<eZLogLevel>(_level) : eZLog_Warning);
        ZSystem_Log(ZCK_VERSION);
        return S_OK;
    });
}

int ZCK_CALL zck_open(int _generation, zck_keyer** _keyer)
{
    return RunFlat("zck_open", nullptr, [&]() -> HRESULT {
        if (!_keyer)
            return RefuseNull("The place for the keyer");
        *_keyer = nullptr;
        auto upKeyer = std::make_unique<zck_keyer>();
        const HRESULT hr = upKeyer->Open(_generation);
        if (SUCCEEDED(hr))
            *_keyer = upKeyer.release();
        return hr;
    });
}

void ZCK_CALL zck_close(zck_keyer* _keyer_or_null)
{
    const std::unique_ptr<zck_keyer> upKeyer(_keyer_or_null);
    if (upKeyer)
        upKeyer->Close();
}

const char* ZCK_CALL zck_last_error(zck_keyer* _keyer_or_null)
{
    if (!_keyer_or_null)
        return t_szError;
    t_szHandedOut[0] = 0;
    ZBorder("zck_last_error", [&] {
        TextKeep(_keyer_or_null->ErrorGet(), t_szHandedOut);
        return S_OK;
    });
    return t_szHandedOut;
}

int ZCK_CALL zck_option_set(zck_keyer* _keyer, const char* _name, const char* _value)
{
    return WithKeyer("zck_option_set", _keyer, [&] { return _keyer->OptionSet(_name, _value); });
}

int ZCK_CALL zck_param_set(zck_keyer* _keyer, const char* _name, double _value)
{
    return WithKeyer("zck_param_set", _keyer, [&] { return _keyer->ParamSet(_name, _value); });
}

int ZCK_CALL zck_param_get(zck_keyer* _keyer, const char* _name, double* _value)
{
    return WithKeyer("zck_param_get", _keyer,
                     [&] { return _value ? _keyer->ParamGet(_name, _value) : RefuseNull("The place for the value"); });
}

int ZCK_CALL zck_param_info(int _generation, int _index, zck_param* _param)
{
    return RunFlat("zck_param_info", nullptr, [&] { return ParamDescribe(_generation, _index, _param); });
}

int ZCK_CALL zck_key_auto(zck_keyer* _keyer, const zck_frame* _frame)
{
    return WithKeyer("zck_key_auto", _keyer, [&] { return _keyer->KeyAuto(_frame); });
}

int ZCK_CALL zck_key_point(zck_keyer* _keyer, const zck_frame* _frame, int _x, int _y, int _use)
{
    return WithKeyer("zck_key_point", _keyer, [&] { return _keyer->KeyPoint(_frame, _x, _y, _use); });
}

int ZCK_CALL zck_key_rect(zck_keyer* _keyer, const zck_frame* _frame, int _x1, int _y1, int _x2, int _y2, int _use)
{
    return WithKeyer("zck_key_rect", _keyer, [&] { return _keyer->KeyRect(_frame, _x1, _y1, _x2, _y2, _use); });
}

int ZCK_CALL zck_key_color(zck_keyer* _keyer, uint32_t _rgb, int _use)
{
    return WithKeyer("zck_key_color", _keyer, [&] { return _keyer->KeyColor(_rgb, _use); });
}

int ZCK_CALL zck_reset(zck_keyer* _keyer)
{
    return WithKeyer("zck_reset", _keyer, [&] { return _keyer->Reset(); });
}

int ZCK_CALL zck_step(zck_keyer* _keyer, int _steps, int* _done_or_null)
{
    return WithKeyer("zck_step", _keyer, [&] { return _keyer->Step(_steps, _done_or_null); });
}

int ZCK_CALL zck_load(zck_keyer* _keyer, const char* _document)
{
    return WithKeyer("zck_load", _keyer, [&] { return _keyer->Load(_document); });
}

int ZCK_CALL zck_save(zck_keyer* _keyer, char* _document, size_t _capacity, size_t* _needed_or_null)
{
    return WithKeyer("zck_save", _keyer, [&] {
        std::string strDocument;
        const HRESULT hr = _keyer->Save(&strDocument);
        return SUCCEEDED(hr) ? TextHandOut(strDocument, _document, _capacity, _needed_or_null) : hr;
    });
}

int ZCK_CALL zck_process(zck_keyer* _keyer, const zck_frame* _in, const zck_frame* _out_or_null,
                         const zck_frame* _mask_or_null)
{
    return WithKeyer("zck_process", _keyer, [&] { return _keyer->Process(_in, _out_or_null, _mask_or_null); });
}

int ZCK_CALL zck_flush(zck_keyer* _keyer)
{
    return WithKeyer("zck_flush", _keyer, [&] { return _keyer->Flush(); });
}
