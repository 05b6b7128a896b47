#pragma once

#include "Shell/ShellKeyer.h"
#include "openfx/OpenFxHost.h"

#include <mutex>
#include <vector>

/// One instance of the effect. What its user has set lives in the host's parameters and is read for each picture, for
/// hosts make instances anew whenever they like; only what the keyer learns from the pictures is lost with it.

/// Defines the parameters: our own, and those of the keyer.
void OpenFxKeyer_DefineParams(OFX_PARAMS _hParams);

class COpenFxKeyer
{
public:
    explicit COpenFxKeyer(OFX_EFFECT _hEffect);

    /// Keys the picture that the host asks for. Where that fails it is passed through as it came; c_nOfxFailed only
    /// without a picture in or out.
    OFX_STATUS Render(OFX_PROPS _hIn);

private:
    void TakeSettings(double _dblTime, double _dblScale);
    uint32_t Color(OFX_PARAM _hParam, double _dblTime) const;
    template <class T, class Word> void Key(const COpenFxImage& _source, const COpenFxImage& _result, OFX_PROPS _hIn);
    bool KeyWords(const COpenFxImage& _source, uint32_t _nFormat);

    const OFX_EFFECT m_hEffect;
    std::mutex m_mtx; // some hosts render one instance on several threads although it asks for one
    CShellKeyer m_keyer;
    OFX_PARAM m_hKeys = nullptr;
    OFX_PARAM m_hAuto = nullptr;
    OFX_PARAM m_hStills = nullptr;
    OFX_PARAM m_hColor = nullptr;
    OFX_PARAM m_hProtect = nullptr;
    std::vector<OFX_PARAM> m_vecParams; ///< as in ShellParams_Get
    std::vector<unsigned char> m_vecIn; ///< B, G, R, A without gaps, top row first
    std::vector<unsigned char> m_vecOut;
};
