#include "zkhost/Ui/Editor.h"

#include "Kit/Result.h"

#include "Base/ZBstr.h"
#include "Base/ZLog.h"
#include "Image/ImgColor.h"
#include "Props/PropText.h"
#include "Props/Xml/XmlReader.h"

#include <algorithm>
#include <cmath>
#include <utility>

// What the module has, as it is shown.

namespace
{

uint32_t Packed(double _dblRed, double _dblGreen, double _dblBlue)
{
    const auto fnByte = [](double _dblValue) {
        return static_cast<uint32_t>(std::lround(std::clamp(_dblValue, 0.0, 255.0)));
    };
    return fnByte(_dblRed) << 16 | fnByte(_dblGreen) << 8 | fnByte(_dblBlue);
}

/// Hue in 256ths of a turn, lightness and saturation of 255: the cone of HSL, as Img_RowToHLS describes it.
uint32_t FromHLS(double _dblHue, double _dblLight, double _dblSaturation)
{
    const double dblReach = _dblSaturation / 255 * std::min(_dblLight, 255 - _dblLight);
    const auto fnChannel = [&](double _dblTurn) {
        const double dblPlace = std::fmod(_dblTurn + _dblHue * 12 / 256, 12);
        return _dblLight - dblReach * std::max(-1.0, std::min({dblPlace - 3, 9 - dblPlace, 1.0}));
    };
    return Packed(fnChannel(0), fnChannel(8), fnChannel(4));
}

/// The colour of a key of the first generation, whose words begin with R, H or Y.
uint32_t ColorOf(const SINGLE_KEY& _key, int32_t _eType, const ZF_VID_PROPS& _vidProps)
{
    const double dbl0 = _key.nValue & 255;
    const double dbl1 = _key.nValue >> 8 & 255;
    const double dbl2 = _key.nValue >> 16 & 255;
    if (_eType == eCKT_HLS)
        return FromHLS(dbl0, dbl1, dbl2);
    if (_eType != eCKT_YUV)
        return Packed(dbl0, dbl1, dbl2);
    const IMG_COLOR color = Img_ColorFromYUV({dbl0 / 255, dbl1 / 255, dbl2 / 255}, Img_MatrixOf(_vidProps));
    return Packed(color.dbl0 * 255, color.dbl1 * 255, color.dbl2 * 255);
}

/// A polygon that was drawn on a picture of another size, on this one.
std::string Scaled(std::string_view _svPolygon, double _dblScaleX, double _dblScaleY)
{
    std::string strPolygon;
    bool bX = true;
    while (!_svPolygon.empty())
    {
        const size_t nEnd = std::min(_svPolygon.find_first_of(", ;"), _svPolygon.size());
        double dblNumber = 0;
        if (PropText_ReadDouble(_svPolygon.substr(0, nEnd), &dblNumber))
        {
            strPolygon +=
                ZFormat(bX ? (strPolygon.empty() ? "%g" : " %g") : ",%g", dblNumber * (bX ? _dblScaleX : _dblScaleY));
            bX = !bX;
        }
        _svPolygon.remove_prefix(std::min(nEnd + 1, _svPolygon.size()));
    }
    return strPolygon;
}

} // namespace

void CZEditor::Refresh()
{
    EDITOR_STATE stateBefore = std::exchange(m_state, {});
    try
    {
        m_keyer.Key2() ? Refresh2() : Refresh1();
    }
    catch (...) // out of memory: half a state is none
    {
        m_state = std::move(stateBefore);
        throw;
    }
}

void CZEditor::Refresh1()
{
    CHROMA_KEY_RAW key = {};
    Result_Check(m_keyer.Key()->KeyRawGet(&key, nullptr), "looking at the keys");
    for (int i = 0; i < std::clamp(key.nKeysUsed, 0, Z_MAX_KEYS); ++i)
        (key.arrKeys[i].nReverseKey > 0 ? m_state.vecProtected : m_state.vecKeys)
            .push_back(ColorOf(key.arrKeys[i], key.eType, m_vidProps));
    for (size_t i = 0; i < m_vecRows.size(); ++i)
        Result_Check(m_keyer.Key()->KeyAdjustGet(static_cast<eCK_Adjust>(i), &m_state.vecParams.emplace_back()),
                     m_vecRows[i].pszName);
    double& dblType = m_state.vecParams.at(eCKA_KeyType);
    dblType = std::clamp(dblType, m_vecRows[eCKA_KeyType].dblLeast, m_vecRows[eCKA_KeyType].dblMost);
    m_state.bAutomatic = m_steps.At() > 0 && m_steps.List()[m_steps.At() - 1].bAutomatic;
}

void CZEditor::Refresh2()
{
    CHROMA_KEY2_RAW key = {};
    Result_Check(m_keyer.Key2()->KeyRawGet(&key), "looking at the keys");
    m_state.bAutomatic = key.bAutomatic != 0;
    m_state.bHold = key.params.eLearnValue == double{eLearn_Hold};
    for (int i = 0; i < key.nKeysUsed; ++i)
        m_state.vecKeys.push_back(Packed(key.arrKeys[i].dblRed, key.arrKeys[i].dblGreen, key.arrKeys[i].dblBlue));
    for (int i = 0; i < key.nProtectedUsed; ++i)
    {
        const PROTECTED_KEY2& color = key.arrProtected[i];
        m_state.vecProtected.push_back(Packed(color.dblRed, color.dblGreen, color.dblBlue));
    }
    for (const ZTABLE_ROW& row : m_vecRows)
        Result_Check(m_keyer.Key2()->ParamGet(CZBStr(row.pszName).Get(), &m_state.vecParams.emplace_back()),
                     row.pszName);
    RefreshRegions();
}

/// The module hands regions out as masks; their polygons are in its document.
void CZEditor::RefreshRegions()
{
    const auto cpPersist = ZQuery<IZFPersist>(m_keyer.Key2());
    CZBStr bsDocument;
    XML_READ_ERROR error;
    Result_Check(cpPersist->PersistSaveToString(bsDocument.Put()), "writing the keys down");
    const auto upRoot = XmlReader_Read(bsDocument.Text(), &error);
    const CXmlNode* const pKeys = upRoot ? upRoot->ChildFind("ZChromaKey2") : nullptr;
    for (size_t n = 0; const CXmlNode* const pRegion = pKeys ? pKeys->ChildFind("region", n) : nullptr; ++n)
    {
        const auto* const pName = std::ranges::find(c_arrRegionNames, pRegion->AttrText("name", ""));
        const std::string_view svPolygon = pRegion->AttrText("polygon", "");
        const int64_t nWidth = pRegion->AttrInt("width", m_vidProps.nWidth);
        const int64_t nHeight = pRegion->AttrInt("height", std::abs(m_vidProps.nHeight));
        const bool bSame =
            !m_vidProps.nWidth || (nWidth == m_vidProps.nWidth && nHeight == std::abs(m_vidProps.nHeight));
        if (pName != c_arrRegionNames.end() && nWidth > 0 && nHeight > 0)
            m_state.arrRegions.at(static_cast<size_t>(pName - c_arrRegionNames.begin())) =
                bSame ? std::string(svPolygon)
                      : Scaled(svPolygon, static_cast<double>(m_vidProps.nWidth) / static_cast<double>(nWidth),
                               static_cast<double>(std::abs(m_vidProps.nHeight)) / static_cast<double>(nHeight));
    }
}

HRESULT CZEditor::Remove1(int _nIndex, bool _bProtected)
{
    CHROMA_KEY_RAW key = {};
    Result_Check(m_keyer.Key()->KeyRawGet(&key, nullptr), "looking at the keys");
    int nLeft = _nIndex;
    for (int i = 0; _nIndex >= 0 && i < std::clamp(key.nKeysUsed, 0, Z_MAX_KEYS); ++i)
    {
        if ((key.arrKeys[i].nReverseKey > 0) != _bProtected || nLeft-- > 0)
            continue;
        std::move(key.arrKeys + i + 1, key.arrKeys + key.nKeysUsed, key.arrKeys + i);
        key.arrKeys[--key.nKeysUsed] = {};
        return m_keyer.Key()->KeyRawSet(&key, nullptr);
    }
    return E_INVALIDARG;
}
