// Option strings, the store that keeps them, numbers, rectangles, wide texts, polygons. The first byte says what the
// rest is.

#include "Support/FuzzTarget.h"

#include "Base/ZHelpers.h"
#include "Base/ZLog.h"
#include "Helpers/CKDetectOptions.h"
#include "Props/PropPairs.h"
#include "Props/PropStore.h"
#include "ZChromaKey/Config/ChromaKeyOptions.h"
#include "ZChromaKey/Keys2/Polygon.h"

#include <cmath>
#include <vector>

namespace
{

bool LiesIn(std::string_view _svPart, std::string_view _svWhole)
{
    return _svPart.empty() ||
           (_svPart.data() >= _svWhole.data() && _svPart.data() + _svPart.size() <= _svWhole.data() + _svWhole.size());
}

void CheckPairs(std::string_view _svText)
{
    std::vector<PROP_PAIR> vecPairs;
    PROP_PAIRS_ERROR error;
    CPropStore store;
    const bool bRead = PropPairs_Read(_svText, &vecPairs, &error);
    if (!bRead)
        FUZZ_REQUIRE(vecPairs.empty() && error.nPosition >= 1 && error.nPosition <= _svText.size() + 1 &&
                     !error.strReason.empty());
    for (const PROP_PAIR& pair : vecPairs)
    {
        FUZZ_REQUIRE(!pair.svName.empty() && LiesIn(pair.svName, _svText) && LiesIn(pair.svValue, _svText));
        FUZZ_REQUIRE(PropPairs_Find(vecPairs, pair.svName) != nullptr);
        const std::string strName(pair.svName);
        const std::string strValue(pair.svValue);
        const HRESULT hr = PropStore_PropsSet(&store, ZText_ToWide(strName).c_str(), ZText_ToWide(strValue).c_str(),
                                              ChromaKeyOptions_Validate);
        FUZZ_REQUIRE(hr == S_OK || hr == S_FALSE || hr == E_INVALIDARG);
        store.Set(strName, strValue); // unchecked, as loaded ones are
        FUZZ_REQUIRE(strValue.empty() || store.ValuesGet()[strName] == strValue);
        static_cast<void>(store.GetBool(strName, false));
    }
    const CK_FRAME_OPTIONS optionsFrame = ChromaKeyOptions_Read(store);
    FUZZ_REQUIRE(optionsFrame.nThreads >= 1 && optionsFrame.nThreads <= 16);
    CKUtils::CK_DETECT_OPTIONS options;
    const HRESULT hr = CKUtils::DetectOptions_Read(_svText, &options);
    FUZZ_REQUIRE(bRead || FAILED(hr));
    FUZZ_REQUIRE(std::isfinite(options.dblKeyDiff) && std::isfinite(options.dblBorders));
    FUZZ_REQUIRE(options.dblSimilarity >= 0 && options.dblSimilarity <= 1);
}

/// What is read prints as a text that reads as the same.
template <class T, class Print>
void CheckPrinted(std::string_view _svText, bool (*_pfnRead)(std::string_view, T*), Print&& _fnPrint)
{
    T value{}, valueAgain{};
    if (_pfnRead(_svText, &value))
        FUZZ_REQUIRE(_pfnRead(_fnPrint(value), &valueAgain) && value == valueAgain);
}

void CheckNumbers(std::string_view _svText)
{
    CheckPrinted<int64_t>(_svText, PropText_ReadInt, PropText_FromInt);
    CheckPrinted<int32_t>(_svText, PropText_ReadInt32, PropText_FromInt);
    CheckPrinted<double>(_svText, PropText_ReadDouble, PropText_FromDouble);
    CheckPrinted<bool>(_svText, PropText_ReadBool, PropText_FromBool);
    CheckPrinted<PROP_RECT>(_svText, PropText_ReadRect, [](const PROP_RECT& _rect) {
        return ZFormat("%d,%d,%d,%d", _rect.nLeft, _rect.nTop, _rect.nRight, _rect.nBottom);
    });
    eCK_Type eType = eCKT_None;
    if (CKUtils::KeyType_FromText(_svText, &eType))
        FUZZ_REQUIRE(eType >= eCKT_RGB && eType <= eCKT_Auto);
    FUZZ_REQUIRE(LiesIn(PropText_Trim(_svText), _svText));
    FUZZ_REQUIRE(PropText_Quote(_svText).size() < 80);
}

void CheckNames(std::string_view _svText)
{
    const uint32_t fccType = FCC_Parse(_svText);
    CByteReader in(_svText);
    const uint32_t fccAny = in.Take<uint32_t>();
    FUZZ_REQUIRE(!FCC_Name(fccType).empty() && !FCC_Name(fccAny).empty());
    // Wide and back is the same, once what is not valid has been replaced.
    const std::string strValid = ZText_FromWide(ZText_ToWide(_svText));
    FUZZ_REQUIRE(ZText_FromWide(ZText_ToWide(strValid)) == strValid);
    std::wstring wstrAny;
    while (!in.AtEnd())
        wstrAny += static_cast<wchar_t>(in.Take<int32_t>());
    const std::string strAny = ZText_FromWide(wstrAny);
    FUZZ_REQUIRE(ZText_FromWide(ZText_ToWide(strAny)) == strAny);
}

/// Whether an odd number of a polygon's sides pass a point on its left.
bool IsInside(const std::vector<POLYGON_POINT>& _vecPoints, double _dblX, double _dblY)
{
    bool bInside = false;
    POLYGON_POINT from = _vecPoints.back();
    for (const POLYGON_POINT& to : _vecPoints)
    {
        const double dblPart = (_dblY - from.dblY) / (to.dblY - from.dblY);
        if ((from.dblY <= _dblY) != (to.dblY <= _dblY) && from.dblX + dblPart * (to.dblX - from.dblX) <= _dblX)
            bInside = !bInside;
        from = to;
    }
    return bInside;
}

/// A text is refused with its place and a reason, or gives the mask that its corners mean.
void CheckPolygon(CByteReader _in)
{
    const int nWidth = _in.Range(1, 24), nHeight = _in.Range(1, 16);
    std::vector<POLYGON_POINT> vecPoints;
    std::string strReason;
    if (!Polygon_Read(_in.Rest(), &vecPoints, &strReason))
    {
        FUZZ_REQUIRE(vecPoints.empty() && strReason.starts_with("character "));
        return;
    }
    FUZZ_REQUIRE(vecPoints.size() >= 3);
    const IMG_MASK mask = Polygon_Mask(vecPoints, nWidth, nHeight);
    for (size_t n = 0; n < mask.vecBytes.size(); ++n)
    {
        const int nRow = static_cast<int>(n) / nWidth;
        const bool bInside = IsInside(vecPoints, static_cast<int>(n) % nWidth + 0.5, nRow + 0.5);
        FUZZ_REQUIRE(mask.vecBytes[n] == (bInside ? 255 : 0));
    }
}

} // namespace

void FuzzTarget_Run(CByteReader& _in)
{
    switch (_in.Byte() % 4)
    {
    case 0:
        return CheckPairs(_in.Rest());
    case 1:
        return CheckNumbers(_in.Rest());
    case 3:
        return CheckPolygon(CByteReader(_in.Rest()));
    default:
        return CheckNames(_in.Rest());
    }
}
