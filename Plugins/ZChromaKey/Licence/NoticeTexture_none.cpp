#include "ZChromaKey/Licence/NoticeFrame.h"

HRESULT NoticeTexture_Put(CNotice*, IZFFrame*, CZPtr<IZFFrame>*)
{
    return S_FALSE; // no textures that could be drawn onto
}
