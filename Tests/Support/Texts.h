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

/// The value of an option; "-" where it has none.
inline std::wstring OptionOf(IZProps* _pProps, const wchar_t* _pwszName)
{
    BSTR bsValue = nullptr;
    return _pProps->PropsGet(_pwszName, &bsValue) == S_OK ? TakeText(bsValue) : L"-";
}

/// What an object saves.
inline std::wstring DocumentOf(IZFPersist* _pObject)
{
    BSTR bsDocument = nullptr;
    EXPECT_EQ(_pObject->PersistSaveToString(&bsDocument), S_OK);
    return TakeText(bsDocument);
}
