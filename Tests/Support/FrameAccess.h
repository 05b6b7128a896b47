#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"
#include "Interfaces/IZProps.h"

#include <gtest/gtest.h>

#include <string>

/// What frames and other objects say when they are asked; a question that fails, fails the test.

/// The record of a frame or a texture.
template <class I> ZF_VID_PROPS PropsOf(I* _pObject)
{
    ZF_VID_PROPS vidProps = {};
    EXPECT_EQ(_pObject->VideoPropsGet(&vidProps), S_OK);
    return vidProps;
}

inline ZF_VID_PTR PtrOf(IZFFrame* _pFrame, uint32_t _nFlags = eZFP_Flip)
{
    ZF_VID_PTR vidPtr = {};
    EXPECT_EQ(_pFrame->VideoPtrGet(_nFlags, &vidPtr), S_OK);
    return vidPtr;
}

inline ZF_TIMECODE TimeCodeOf(IZFFrame* _pFrame)
{
    ZF_TIMECODE timeCode = {};
    EXPECT_EQ(_pFrame->TimeCodeGet(&timeCode), S_OK);
    return timeCode;
}

/// A text of a frame; "(none)" where there is none.
inline std::wstring TextOf(IZFFrame* _pFrame, const wchar_t* _pwszName)
{
    BSTR bsText = nullptr;
    const HRESULT hr = ZQuery<IZProps>(_pFrame)->PropsGet(_pwszName, &bsText);
    EXPECT_EQ(hr, bsText ? S_OK : S_FALSE);
    std::wstring wstrText = bsText ? bsText : L"(none)";
    SysFreeString(bsText);
    return wstrText;
}

/// Null where nothing is attached under that name.
inline CZPtr<IUnknown> AttachmentOf(IZFFrame* _pFrame, const wchar_t* _pwszName)
{
    CZPtr<IUnknown> cpObject;
    const HRESULT hr = _pFrame->AttachmentGet(_pwszName, cpObject.Put());
    EXPECT_EQ(hr, cpObject ? S_OK : S_FALSE);
    return cpObject;
}

/// References held on an object.
inline ULONG RefsOf(IUnknown* _pObject)
{
    _pObject->AddRef();
    return _pObject->Release();
}
