#include "Soak/Soaker1.h"

#include "Kit/HostError.h"
#include "Kit/Result.h"
#include "Sample/KeyScene.h"

#include "Base/ZLog.h"

#include <cstdlib>

namespace
{

constexpr int c_nSceneKeys = 4;

} // namespace

CZSoaker1::CZSoaker1(const SOAK_SETUP& _setup, CZModule& _modulePlain)
    : CZSoaker({CLSID_ZChromaKey, {{1920, 1080}, {1280, 720}, {720, 576}, {640, 270}, {88, 144}}, 1, 1, false}, _setup,
               _modulePlain)
    , m_vecAdjusts(Tables_Read(CZModule::Own(), eZTable_Adjusts))
{
}

const char* CZSoaker1::TellingName() const
{
    return "with colour cancel";
}

std::vector<PICTURE> CZSoaker1::Pictures(int _nWidth, int _nHeight, bool _bScene)
{
    return {KeyScene_Picture(_nWidth, _nHeight, c_nSceneKeys, _bScene ? eKS_Screen : eKS_Random)};
}

void CZSoaker1::FillKeys()
{
}

void CZSoaker1::PlainComplete()
{
}

/// The keys of the source, or any.
void CZSoaker1::KeysChange()
{
    ZF_VID_PROPS vidProps = {};
    Result_Check(SourceAny().vecFrames[0]->VideoPropsGet(&vidProps), "looking at a frame");
    CHROMA_KEY_RAW keys = KeyScene_Keys(vidProps, KeyScene_Type(vidProps.fccType), Pick(1, c_nSceneKeys));
    if (OneIn(2))
    {
        keys.eType = OneIn(16) ? Pick(eCKT_Alpha, eCKT_Auto) : Pick(eCKT_RGB, eCKT_YUV);
        keys.nKeysUsed = Pick(1, Z_MAX_KEYS);
        for (int i = 0; i < keys.nKeysUsed; ++i)
        {
            const int arrDelta[] = {Pick(0, 80), Pick(0, 80), Pick(0, 80)};
            keys.arrKeys[i].nValue = Bits();
            keys.arrKeys[i].nDelta = static_cast<uint32_t>(arrDelta[0] | arrDelta[1] << 8 | arrDelta[2] << 16);
            keys.arrKeys[i].nSmoothRange = Pick(0, 60);
            keys.arrKeys[i].nAlpha = OneIn(4) ? Pick(0, 255) : 0;
            keys.arrKeys[i].nReverseKey = OneIn(8);
            if (OneIn(4))
                continue; // a key that cleans nothing
            for (int32_t* const pnCancel :
                 {&keys.arrKeys[i].nCancelRange, &keys.arrKeys[i].nCancelPower, &keys.arrKeys[i].nCancelChroma,
                  &keys.arrKeys[i].nCancelLuma, &keys.arrKeys[i].nCancelAlpha})
                *pnCancel = Pick(-255, 255);
        }
        keys.bColorCancel = OneIn(2);
    }
    keys.nEdgesSmooth = OneIn(4) ? Pick(0, 10) : 0;
    keys.nMinTransparent = OneIn(4) ? Pick(0, 100) : 0;
    keys.nMaxTransparent = OneIn(4) ? Pick(150, 255) : 255;
    keys.nInterlacedVideo = OneIn(8);
    keys.nInverseKey = OneIn(8);
    const CK_ADJUST adjust = AdjustAny();
    Result_Check(Keyer().Key()->KeyRawSet(&keys, OneIn(4) ? nullptr : &adjust), "setting the keys");
    CountEdits(1);
}

/// Half of the time at rest, else each adjustment moved by one chance in four.
CK_ADJUST CZSoaker1::AdjustAny()
{
    CK_ADJUST adjust = {};
    if (OneIn(2))
        return adjust;
    IZChromaKey* const pKey = Keyer().Key();
    for (size_t i = eCKA_KeyType + 1; i < m_vecAdjusts.size(); ++i)
        Result_Check(pKey->KeyAdjustSet(static_cast<eCK_Adjust>(i), OneIn(4) ? AdjustValue(i) : 0),
                     ZFormat("adjusting %hs", m_vecAdjusts[i].pszName));
    Result_Check(pKey->KeyRawGet(nullptr, &adjust), "looking at the adjustments");
    return adjust;
}

double CZSoaker1::AdjustValue(size_t _nAdjust)
{
    const ZTABLE_ROW& row = m_vecAdjusts[_nAdjust];
    return row.dblLeast + (row.dblMost - row.dblLeast) * Pick(0, 8) / 8;
}

/// Whether the colours of a result of the plain copy have been cleaned: keyed without colour cancel it is another one.
bool CZSoaker1::IsTelling(IZFFrame* _pResult)
{
    CHROMA_KEY_RAW key = {};
    CK_ADJUST adjust = {};
    Result_Check(KeyerPlain().Key()->KeyRawGet(&key, &adjust), "looking at the keys");
    key.bColorCancel = 0;
    adjust.dblColors = 0;
    Result_Check(KeyerPlain().Key()->KeyRawSet(&key, &adjust), "setting the keys without colour cancel");
    const CZPtr<IZFFrame> cpUncleaned = KeyPlain();
    if (!cpUncleaned)
        throw CZHostError("a frame without colour cancel did not come back");
    PICTURE picture, uncleaned;
    Picture_FromFrame(_pResult, picture);
    Picture_FromFrame(cpUncleaned.Get(), uncleaned);
    return picture.vecPixels != uncleaned.vecPixels;
}

void CZSoaker1::KeysEdit()
{
    IZChromaKey* const pKey = Keyer().Key();
    const SOURCE& source = SourceAny();
    ZF_VID_PROPS vidProps = {};
    Result_Check(source.vecFrames[0]->VideoPropsGet(&vidProps), "looking at a frame");
    Result_Check(pKey->KeyFrameSet(source.vecFrames[0].Get(), nullptr), "setting the frame to edit on");
    const int nX = Pick(0, vidProps.nWidth - 1), nY = Pick(0, std::abs(vidProps.nHeight) - 1);
    const auto nAdjust = static_cast<size_t>(Pick(1, static_cast<int>(m_vecAdjusts.size()) - 1));
    Result_Check(pKey->KeyAddPoint(nX, nY), ZFormat("picking %d,%d", nX, nY));
    Result_Check(pKey->KeyExcludePoint(vidProps.nWidth - 1, nY), "excluding a point");
    Result_Check(pKey->KeyAddRect(0, 0, 16, 16), "adding a rectangle");
    Result_Check(pKey->KeyAdjustSet(static_cast<eCK_Adjust>(nAdjust), AdjustValue(nAdjust)),
                 ZFormat("adjusting %hs", m_vecAdjusts[nAdjust].pszName));
    Result_Check(pKey->KeyStepBack(Pick(0, 4)), "stepping back");
    Result_Check(pKey->KeyStepFwd(Pick(0, 2)), "stepping forward");
    CountEdits(6);
}

void CZSoaker1::Detect()
{
    Result_Check(Keyer().Key()->KeyDetect(nullptr), "detecting");
    CountEdits(1);
}
