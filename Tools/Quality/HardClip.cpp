#include "Quality/HardClip.h"

#include "Interfaces/ZOptionNames.h"
#include "Kit/Keyer.h"
#include "Kit/Result.h"
#include "Sample/KeyScene.h"

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

std::vector<PICTURE> HardClip_Key(const HARD_CLIP& _clip, int _nGeneration, uint32_t _fccType)
{
    CZKeyer keyer(CZModule::Own(), _nGeneration == 2 ? CLSID_ZChromaKey2 : CLSID_ZChromaKey);
    keyer.OptionSet(c_szOptionARGB, "true");
    keyer.OptionSet(c_szOptionGPUMode, "0");
    std::vector<PICTURE> vecKeyed;
    for (const PICTURE& picture : _clip.vecPictures)
    {
        const auto cpFrame = KeyScene_Frame(picture, _fccType);
        if (&picture == _clip.vecPictures.data() && !FindBackdrop(keyer, cpFrame.Get()))
            return _clip.vecPictures;
        keyer.Process(cpFrame.Get(), [&](IZFFrame* _pResult) { Picture_FromFrame(_pResult, vecKeyed.emplace_back()); });
    }
    keyer.Finish([&](IZFFrame* _pResult) { Picture_FromFrame(_pResult, vecKeyed.emplace_back()); });
    return vecKeyed;
}

QUALITY HardClip_Score(const HARD_CLIP& _clip, const std::vector<PICTURE>& _vecKeyed)
{
    CScore score(HardClip_Ground(*_clip.pScene), _clip.pScene->bLinear);
    for (size_t n = 0; n < _clip.vecTruths.size(); ++n)
        score.Add(_vecKeyed.at(n), _clip.vecTruths[n]);
    return score.Result();
}
