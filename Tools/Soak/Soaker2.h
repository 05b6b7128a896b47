#pragma once

#include "Kit/Tables.h"
#include "Soak/Soaker.h"

#include "Sample/SampleScene.h"

#include <map>
#include <utility>

/// Runs of the second generation: keys, protected colours, parameters, regions, views, groups of steps, the plate
/// learned and held, over pictures that move. What it makes of a frame depends on those before: a check begins a new
/// stream.
class CZSoaker2 final : public CZSoaker
{
public:
    CZSoaker2(const SOAK_SETUP& _setup, CZModule& _modulePlain);
    const char* TellingName() const override;

private:
    std::vector<PICTURE> Pictures(int _nWidth, int _nHeight, bool _bScene) override;
    void FillKeys() override;
    void KeysChange() override;
    void KeysEdit() override;
    void Detect() override;
    void PlainComplete() override;
    void CheckGPU() override;
    bool IsTelling(IZFFrame* _pResult) override;

    KEY2_RANGE RangeAny();
    double ParamAny(const ZTABLE_ROW& _row);
    void ParamsChange();
    const SOURCE& SceneAny();
    void ColoursEdit(int _nWidth, int _nHeight);
    void RegionEdit();
    void Look();

    void PlateGive(IZFFrame* _pFrameOrNull);

    CZPtr<IZFFrame> m_cpPlate;                                         ///< that was given
    const std::vector<ZTABLE_ROW> m_vecParams;                         ///< in the order of KEY2_PARAMS
    std::map<std::pair<int, int>, std::vector<PICTURE>> m_mapPictures; ///< of the scene, by size, until all are made
};
