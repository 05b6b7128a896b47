#pragma once

#include "Kit/Tables.h"
#include "Soak/Soaker.h"

/// Runs of the first generation: keys of all types, adjustments, colour cancel.
class CZSoaker1 final : public CZSoaker
{
public:
    CZSoaker1(const SOAK_SETUP& _setup, CZModule& _modulePlain);
    const char* TellingName() const override;

private:
    std::vector<PICTURE> Pictures(int _nWidth, int _nHeight, bool _bScene) override;
    void FillKeys() override;
    void KeysChange() override;
    void KeysEdit() override;
    void Detect() override;
    void PlainComplete() override;
    bool IsTelling(IZFFrame* _pResult) override;
    CK_ADJUST AdjustAny();
    double AdjustValue(size_t _nAdjust);

    const std::vector<ZTABLE_ROW> m_vecAdjusts; ///< at the index of their eCK_Adjust
};
