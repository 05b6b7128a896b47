#pragma once

#include "openfx/OpenFx.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

/// A host for one effect that knows its interface by the letter: a property, parameter or clip that does not exist, a
/// wrong type, a handle that is no longer valid and a picture that is not given back are faults.

/// What hosts keep behind the handles. A property has its type from the start; the host says which there are.
using MINI_VALUE = std::variant<int, double, std::string, void*>;
struct OFX_PROPS_OF_HOST
{
    std::map<std::string, std::vector<MINI_VALUE>> mapValues;
};
struct OFX_PARAM_OF_HOST
{
    std::string strType;
    OFX_PROPS_OF_HOST props;
    std::vector<MINI_VALUE> vecValue;
};
struct OFX_PARAMS_OF_HOST
{
    std::map<std::string, std::unique_ptr<OFX_PARAM_OF_HOST>> mapParams;
    bool bDescribing = false;
};
struct MINI_PICTURE;
struct OFX_CLIP_OF_HOST
{
    OFX_PROPS_OF_HOST props;
    MINI_PICTURE* pPicture = nullptr;
};
struct OFX_EFFECT_OF_HOST
{
    OFX_PROPS_OF_HOST props;
    OFX_PARAMS_OF_HOST params;
    std::map<std::string, OFX_CLIP_OF_HOST> mapClips;
    bool bDescribing = false;
};

/// A picture of R, G, B, A samples in the host's memory, with bytes between its rows that nobody may touch.
struct MINI_PICTURE
{
    static constexpr int c_nGap = 24;

    /// _strDepth: "Byte", "Short" or "Float". _bTopFirst: the top row lies first, and the row bytes are negative.
    MINI_PICTURE(const std::string& _strDepth, int _nWidth, int _nHeight, bool _bTopFirst = false, int _nX = 0,
                 int _nY = 0);
    /// A row counted from the top.
    uint8_t* Row(int _nY);
    size_t RowBytes() const;
    /// The rows without the gaps, the top one first.
    std::string Pixels();
    void SetPixels(const std::string& _strPixels);
    bool GapsUntouched() const;

    std::string strDepth;
    int nWidth, nHeight;
    bool bTopFirst;
    std::array<int, 4> arrBounds;
    bool bPremultiplied = false;
    std::vector<uint8_t> vecMemory;
};

class CMiniHost
{
public:
    /// Loads and describes the effect in a context, "Filter" or "General". One host at a time.
    CMiniHost(const std::string& _strBundleFile, const std::string& _strContext, bool _bMessages = true);
    ~CMiniHost();

    /// A parameter in the description, null where there is none.
    const OFX_PARAM_OF_HOST* Described(const std::string& _strName) const;
    const OFX_PROPS_OF_HOST& DescribedProps() const
    {
        return m_descriptor.props;
    }
    /// Makes an instance; its parameters have their defaults.
    std::unique_ptr<OFX_EFFECT_OF_HOST> Create();
    void Destroy(std::unique_ptr<OFX_EFFECT_OF_HOST> _upEffect);
    static void Set(OFX_EFFECT_OF_HOST& _effect, const std::string& _strName, std::vector<MINI_VALUE> _vecValue);
    OFX_STATUS Render(OFX_EFFECT_OF_HOST& _effect, double _dblTime, MINI_PICTURE* _pSource, MINI_PICTURE& _result,
                      double _dblScale = 1);
    OFX_STATUS Act(const char* _pszAction, OFX_EFFECT_OF_HOST* _pEffect, OFX_PROPS _hIn = nullptr,
                   OFX_PROPS _hOut = nullptr);

    static void Fault(const std::string& _strWhat);
    static std::vector<std::string> Faults();
    static std::vector<std::string> Messages();

private:
    void* m_pFile;
    OFX_PLUGIN* m_pPlugin = nullptr;
    OFX_EFFECT_OF_HOST m_descriptor;
    OFX_PROPS_OF_HOST m_propsOfHost;
    OFX_HOST m_host;
};
