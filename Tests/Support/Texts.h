#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZFPersist.h"
#include "Interfaces/IZProps.h"

#include <gtest/gtest.h>

#include <string>

/// Takes over a text that a call handed out; empty where there is none.
inline std::wstring TakeText(BSTR _bsText)
{
    std::wstring wstrText(_bsText ? _bsText : L"", SysStringLen(_bsText));
    SysFreeString(_bsText);
    return wstrText;
}

/// The value of an option; "-" where none is set.
inline std::wstring OptionOf(IZProps* _pProps, const wchar_t* _pwszName)
{
    BSTR bsValue = nullptr;
    const HRESULT hr = _pProps->PropsGet(_pwszName, &bsValue);
    const std::wstring wstrValue = TakeText(bsValue);
    return hr == S_OK ? wstrValue : L"-";
}

/// What an object saves.
inline std::wstring DocumentOf(IZFPersist* _pObject)
{
    BSTR bsDocument = nullptr;
    EXPECT_EQ(_pObject->PersistSaveToString(&bsDocument), S_OK);
    return TakeText(bsDocument);
}
