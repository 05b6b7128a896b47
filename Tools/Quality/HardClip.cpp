#include "Quality/HardClip.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/Keyer.h"
#include "Kit/Result.h"
#include "Sample/KeyScene.h"

#include <cmath>

namespace
{

/// Has the object find the backdrop; false where it finds none.
bool FindBackdrop(CZKeyer& _keyer, IZFFrame* _pFrame)
{
    IZChromaKey* const pKey = _keyer.Key();
    IZChromaKey2* const pKey2 = _keyer.Key2();
    Result_Check(pKey2 ? pKey2->FrameSet(_pFrame) : pKey->KeyFrameSet(_pFrame, nullptr),
                 "handing over the first frame");
    const HRESULT hr = _keyer.FindBackdrop();
    Result_Check(pKey2 ? pKey2->FrameSet(nullptr) : pKey->KeyFrameSet(nullptr, nullptr), "taking the frame back");
    return hr != S_FALSE;
}

} // namespace

HARD_CLIP HardClip_Paint(const HARD_SCENE& _scene, int _nWidth, int _nHeight, int _nFrames)
{
    HARD_CLIP clip{&_scene, {}, {}};
    clip.vecPictures.resize(static_cast<size_t>(_nFrames));
    clip.vecTruths.resize(static_cast<size_t>(_nFrames));
    const HARD_SETUP setup{.nWidth = _nWidth, .nHeight = _nHeight};
    for (size_t n = 0; n < clip.vecPictures.size(); ++n)
        HardScene_Paint(_scene, setup, static_cast<int64_t>(n), clip.vecPictures[n], clip.vecTruths[n]);
    return clip;
}

eHardScreen HardClip_Screen(const HARD_SCENE& _scene)
{
    const SAMPLE_COLOR& col = _scene.colBack;
    if (col.b > 1.3f * std::max(col.r, col.g))
        return eHS_Blue;
    return col.g > 1.3f * std::max(col.r, col.b) ? eHS_Green : eHS_Other;
}

uint32_t HardClip_Ground(const HARD_SCENE& _scene)
{
    constexpr uint32_t c_arrGrounds[] = {0xC814AA, 0xEB8214, 0x3040C8};
    return c_arrGrounds[HardClip_Screen(_scene)];
}

std::vector<PICTURE> HardClip_Key(const HARD_CLIP& _clip, int _nGeneration,
                                  const std::function<void(CZKeyer&, size_t)>& _fnBefore)
{
    CZKeyer keyer(CZModule::Own(), _nGeneration == 2 ? CLSID_ZChromaKey2 : CLSID_ZChromaKey);
    keyer.OptionSet(c_szOptionARGB, "true");
    keyer.OptionSet(c_szOptionGPUMode, "0");
    std::vector<PICTURE> vecKeyed;
    const auto fnResult = [&](IZFFrame* _pResult) { Picture_FromFrame(_pResult, vecKeyed.emplace_back()); };
    for (size_t n = 0; n < _clip.vecPictures.size(); ++n)
    {
        const PICTURE& picture = _clip.vecPictures[n];
        const uint32_t fccOwn = picture.bAlpha ? eZFCC_ARGB32 : eZFCC_RGB32;
        const auto cpFrame = KeyScene_Frame(picture, _clip.fccType ? _clip.fccType : fccOwn);
        if (n == 0 && !FindBackdrop(keyer, cpFrame.Get()))
            return _clip.vecPictures;
        if (_fnBefore)
            _fnBefore(keyer, n);
        keyer.Process(cpFrame.Get(), fnResult);
    }
    keyer.Finish(fnResult);
    return vecKeyed;
}

PICTURE HardClip_Over(const PICTURE& _picture, uint32_t _nGround, bool _bLinear)
{
    PICTURE picture = _picture;
    picture.bAlpha = false;
    const uint8_t arrGround[3] = {static_cast<uint8_t>(_nGround), static_cast<uint8_t>(_nGround >> 8),
                                  static_cast<uint8_t>(_nGround >> 16)};
    for (size_t n = 0; n < picture.vecPixels.size(); n += 4)
    {
        float arrBGR[3];
        Score_Reference(&picture.vecPixels[n], arrGround, _bLinear, arrBGR);
        for (size_t c = 0; c < 3; ++c)
            picture.vecPixels[n + c] = static_cast<uint8_t>(std::lround(arrBGR[c]));
        picture.vecPixels[n + 3] = 255;
    }
    return picture;
}

QUALITY HardClip_Score(const HARD_CLIP& _clip, const std::vector<PICTURE>& _vecKeyed)
{
    CScore score(HardClip_Ground(*_clip.pScene), _clip.pScene->bLinear);
    for (size_t n = 0; n < _clip.vecTruths.size(); ++n)
        score.Add(_vecKeyed.at(n), _clip.vecTruths[n]);
    return score.Result();
}
