#include "Soak/Soaker2.h"

#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "Sample/KeyScene.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"
#include "Interfaces/IZKey2.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace
{

constexpr int c_nPictures = 3;                       // of each size of the scene
constexpr int c_nPictureStep = 7;                    // frames of the scene between them
constexpr uint32_t c_nBackdrop = 0x1E9438;           // of the scene
constexpr int c_nMaskWidth = 80, c_nMaskHeight = 45; // small: the history keeps them

void Channels(uint32_t _nRGB, double& _dblRed, double& _dblGreen, double& _dblBlue)
{
    _dblRed = _nRGB >> 16 & 255;
    _dblGreen = _nRGB >> 8 & 255;
    _dblBlue = _nRGB & 255;
}

} // namespace

CZSoaker2::CZSoaker2(const SOAK_SETUP& _setup, CZModule& _modulePlain)
    : CZSoaker({CLSID_ZChromaKey2, {{640, 360}, {400, 226}, {176, 144}, {88, 144}}, 6, 3, true}, _setup, _modulePlain)
    , m_vecParams(Tables_Read(CZModule::Own(), eZTable_Params))
{
}

const char* CZSoaker2::TellingName() const
{
    return "with mixed pixels";
}

/// Painting takes longer than writing a format: each size is painted once.
std::vector<PICTURE> CZSoaker2::Pictures(int _nWidth, int _nHeight, bool _bScene)
{
    if (!_bScene)
        return {KeyScene_Picture(_nWidth, _nHeight, 1, eKS_Random)};
    std::vector<PICTURE>& vecPictures = m_mapPictures[{_nWidth, _nHeight}];
    if (vecPictures.empty())
    {
        SAMPLE_SCENE scene;
        scene.nWidth = _nWidth;
        scene.nHeight = _nHeight;
        const CZSampleScene painter(scene);
        PICTURE truth;
        vecPictures.resize(c_nPictures);
        for (int i = 0; i < c_nPictures; ++i)
            painter.Paint(i * c_nPictureStep, vecPictures[static_cast<size_t>(i)], truth);
    }
    return vecPictures;
}

KEY2_RANGE CZSoaker2::RangeAny()
{
    return {Pick(0, 180) * 1.0, Pick(0, 16) / 16.0, Pick(0, 16) / 16.0};
}

double CZSoaker2::ParamAny(const ZTABLE_ROW& _row)
{
    const double dblValue = _row.dblLeast + (_row.dblMost - _row.dblLeast) * Pick(0, 8) / 8;
    return _row.eValue == eZV_Choice ? std::floor(dblValue) : dblValue;
}

/// Half of the time at rest, else each parameter moved by one chance in four.
void CZSoaker2::ParamsChange()
{
    if (OneIn(2))
        return;
    for (const ZTABLE_ROW& row : m_vecParams)
        if (OneIn(4))
            Result_Check(Keyer().Key2()->ParamSet(CZBStr(row.pszName).Get(), ParamAny(row)),
                         ZFormat("setting %hs", row.pszName));
}

/// A picture of any size in the place of the plate; none: it is learned.
void CZSoaker2::PlateGive(IZFFrame* _pFrameOrNull)
{
    m_cpPlate = CZPtr<IZFFrame>(_pFrameOrNull);
    Result_Check(Keyer().Key2()->PlateSet(_pFrameOrNull), "giving a plate");
}

/// Shadows, a plate, and masks for all regions.
void CZSoaker2::FillKeys()
{
    IZChromaKey2* const pKey = Keyer().Key2();
    PICTURE mask;
    mask.Resize(c_nMaskWidth, c_nMaskHeight, 4);
    const CZPtr<IZFFrame> cpMask = KeyScene_Frame(mask, eZFCC_RGB32);
    for (const eRegion eWhich : {eRegion_Garbage, eRegion_HoldOut, eRegion_Backdrop})
        Result_Check(pKey->RegionSet(eWhich, cpMask.Get(), nullptr), "setting a region");
    Result_Check(pKey->ParamSet(CZBStr("shadows").Get(), 50), "setting shadows");
    PlateGive(Sources()[0].vecFrames[0].Get());
}

/// The backdrop of the scene, or any keys.
void CZSoaker2::KeysChange()
{
    IZChromaKey2* const pKey = Keyer().Key2();
    CHROMA_KEY2_RAW key = {};
    Result_Check(pKey->KeyReset(), "resetting the keys");
    Result_Check(pKey->KeyAddColor(c_nBackdrop), "adding the backdrop");
    Result_Check(pKey->KeyRawGet(&key), "looking at the keys");
    if (OneIn(3))
    {
        key.nKeysUsed = Pick(1, OneIn(4) ? Z_MAX_KEYS2 : 2);
        for (int i = 0; i < key.nKeysUsed; ++i)
        {
            SINGLE_KEY2& single = key.arrKeys[i];
            const uint32_t nRGB = (Bits() & 0x3F3F3F) | 0xC0u << 8 * Pick(0, 2); // no greys
            Channels(nRGB, single.dblRed, single.dblGreen, single.dblBlue);
            single.rangeBackdrop = OneIn(2) ? key.arrKeys[0].rangeBackdrop : RangeAny();
            single.rangeForeground = OneIn(2) ? key.arrKeys[0].rangeForeground : RangeAny();
        }
    }
    key.nProtectedUsed = OneIn(4) ? Pick(1, Z_MAX_KEYS2) : 0;
    for (int i = 0; i < key.nProtectedUsed; ++i)
    {
        PROTECTED_KEY2& single = key.arrProtected[i];
        Channels(Bits(), single.dblRed, single.dblGreen, single.dblBlue);
        single.range = RangeAny();
    }
    Result_Check(pKey->KeyRawSet(&key), "setting the keys");
    ParamsChange();
    PlateGive(nullptr);
    CountEdits(1);
}

const CZSoaker::SOURCE& CZSoaker2::SceneAny()
{
    const SOURCE* pSource = &SourceAny();
    while (!pSource->bScene && std::ranges::any_of(Sources(), &SOURCE::bScene))
        pSource = &SourceAny();
    return *pSource;
}

void CZSoaker2::KeysEdit()
{
    IZChromaKey2* const pKey = Keyer().Key2();
    IZFFrame* const pFrame = SceneAny().vecFrames[0].Get();
    ZF_VID_PROPS vidProps = {};
    int32_t nDone = 0;
    Result_Check(pFrame->VideoPropsGet(&vidProps), "looking at a frame");
    Result_Check(pKey->FrameSet(pFrame), "setting the frame to edit on");
    const bool bGroup = OneIn(2);
    if (bGroup)
        Result_Check(pKey->GroupBegin(), "beginning a group");
    ColoursEdit(vidProps.nWidth, std::abs(vidProps.nHeight));
    RegionEdit();
    const ZTABLE_ROW& row = m_vecParams[static_cast<size_t>(Pick(0, static_cast<int>(m_vecParams.size()) - 1))];
    Result_Check(pKey->ParamSet(CZBStr(row.pszName).Get(), ParamAny(row)), ZFormat("setting %hs", row.pszName));
    if (bGroup)
        Result_Check(pKey->GroupEnd(), "ending a group");
    Result_Check(pKey->StepBack(Pick(0, 4), &nDone), "stepping back");
    Result_Check(pKey->StepFwd(Pick(0, 2), &nDone), "stepping forward");
    Result_Check(pKey->PlateLearn(static_cast<eLearn>(Pick(eLearn_On, eLearn_Restart))), "learning the plate");
    Result_Check(pKey->ViewSet(OneIn(2) ? eView_Result : static_cast<eView>(Pick(eView_Result, eView_Source))),
                 "setting the view");
    Result_Check(pKey->FrameSet(nullptr), "taking the frame back");
    if (OneIn(2))
        PlateGive(SceneAny().vecFrames[0].Get());
    Look();
}

/// Keys where the scene shows its backdrop, protected colours anywhere.
void CZSoaker2::ColoursEdit(int _nWidth, int _nHeight)
{
    IZChromaKey2* const pKey = Keyer().Key2();
    int32_t nKeys = 0, nProtected = 0;
    Result_Check(pKey->KeyCount(FALSE, &nKeys), "counting keys");
    Result_Check(pKey->KeyCount(TRUE, &nProtected), "counting protected colours");
    if (nKeys > Z_MAX_KEYS2 - 2) // a point and a rectangle come
        Result_Check(pKey->KeyReset(), "resetting the keys");
    else if (nProtected > 0)
        Result_Check(pKey->KeyRemove(Pick(0, nProtected - 1), TRUE), "removing a protected colour");
    const int nX = Pick(0, _nWidth / 10), nY = Pick(0, _nHeight / 10);
    Result_Check(pKey->KeyAddPoint(nX, nY), ZFormat("picking %d,%d", nX, nY));
    Result_Check(pKey->KeyAddRect(0, 0, 16, 16), "adding a rectangle");
    if (nProtected < Z_MAX_KEYS2)
        Result_Check(pKey->KeyProtectPoint(Pick(0, _nWidth - 1), Pick(0, _nHeight - 1)), "protecting a point");
    CountEdits(3);
}

/// A polygon, a mask, or none.
void CZSoaker2::RegionEdit()
{
    IZChromaKey2* const pKey = Keyer().Key2();
    const auto eWhich = static_cast<eRegion>(Pick(eRegion_Garbage, eRegion_Backdrop));
    PICTURE mask;
    mask.Resize(c_nMaskWidth, c_nMaskHeight, 4);
    const int nLeft = Pick(0, c_nMaskWidth), nTop = Pick(0, c_nMaskHeight);
    const int nRight = Pick(0, c_nMaskWidth), nBottom = Pick(0, c_nMaskHeight);
    Picture_Fill(mask, nLeft, nTop, nRight, nBottom, 0xFFFFFF);
    const CZPtr<IZFFrame> cpMask = KeyScene_Frame(mask, eZFCC_RGB32);
    const int nKind = Pick(0, 2);
    if (nKind == 1) // its mask is as large as the frame that it counts the pixels of
        Result_Check(pKey->FrameSet(cpMask.Get()), "setting the frame of a polygon");
    const std::string strPolygon = ZFormat("%d,%d %d,%d 40,44", nLeft, nTop, nRight, nBottom);
    Result_Check(
        pKey->RegionSet(eWhich, nKind == 2 ? cpMask.Get() : nullptr, nKind == 1 ? CZBStr(strPolygon).Get() : nullptr),
        "setting a region");
    CountEdits(1);
}

/// What can be asked for while frames run.
void CZSoaker2::Look()
{
    IZChromaKey2* const pKey = Keyer().Key2();
    CZPtr<IZFFrame> cpPlate;
    CZPtr<IZKey2> cpKey;
    CHROMA_KEY2_STATS stats = {};
    Result_Check(pKey->PlateGet(cpPlate.Put()), "taking the plate");
    Result_Check(pKey->StatsGet(&stats), "asking for statistics");
    Result_Check(pKey->KeyGet(cpKey.Put()), "taking the keys as an object");
    Result_Check(pKey->KeySet(cpKey.Get()), "setting the keys from an object");
}

void CZSoaker2::Detect()
{
    Result_Check(Keyer().Key2()->KeyAuto(), "finding the backdrop");
    CountEdits(1);
}

/// A document has neither masks and plate, nor the view, nor whether the plate is held.
void CZSoaker2::PlainComplete()
{
    IZChromaKey2* const pKey = Keyer().Key2();
    IZChromaKey2* const pPlain = KeyerPlain().Key2();
    for (const eRegion eWhich : {eRegion_Garbage, eRegion_HoldOut, eRegion_Backdrop})
    {
        CZPtr<IZFFrame> cpMask;
        Result_Check(pKey->RegionGet(eWhich, cpMask.Put()), "taking a region");
        Result_Check(pPlain->RegionSet(eWhich, cpMask.Get(), nullptr), "setting a region of the plain copy");
    }
    CHROMA_KEY2_RAW key = {};
    Result_Check(pKey->KeyRawGet(&key), "looking at the keys");
    Result_Check(pPlain->KeyRawSet(&key), "setting the keys of the plain copy");
    Result_Check(pPlain->PlateSet(m_cpPlate.Get()), "giving the plain copy a plate");
    for (IZChromaKey2* const pEach : {pKey, pPlain})
        Result_Check(ZQuery<IZFProcess>(pEach)->OnMediaFlush(), "flushing");
}

void CZSoaker2::CheckGPU()
{
    CHROMA_KEY2_STATS stats = {};
    Result_Check(Keyer().Key2()->StatsGet(&stats), "asking for statistics");
    if (stats.eKeyedOnValue != eKeyedOn_GPU)
        throw CZHostError("a frame was not keyed on the GPU");
}

bool CZSoaker2::IsTelling(IZFFrame*)
{
    CHROMA_KEY2_STATS stats = {};
    Result_Check(KeyerPlain().Key2()->StatsGet(&stats), "asking for statistics");
    return stats.dblMixed > 0;
}
