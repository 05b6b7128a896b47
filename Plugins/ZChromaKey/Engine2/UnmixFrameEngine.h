#pragma once

#include "Image/ImgPicture.h"
#include "Interfaces/ChromaKey2Types.h"
#include "ZChromaKey/Frame/FrameEngine.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>

/// What the second generation's engine keys with: its ENGINE_SETTINGS. Masks and plates are too large to be copied and
/// compared with every frame: here are their numbers, which change when they do (0: there is none).
struct UNMIX_SETTINGS
{
    CHROMA_KEY2_RAW key;
    uint64_t nRestarts; ///< changes when the plate that was learned is to be forgotten
    uint64_t nPlate;
    uint64_t arrRegions[Z_REGIONS]; ///< by eRegion
};
static_assert(sizeof(UNMIX_SETTINGS) == sizeof(CHROMA_KEY2_RAW) + 5 * sizeof(uint64_t),
              "compared as bytes: no padding");

/// The masks and the plate that the numbers of settings stand for.
struct UNMIX_PARTS
{
    std::array<std::shared_ptr<const IMG_MASK>, Z_REGIONS> arrMasks; ///< to be stretched to the frame
    std::shared_ptr<const IMG_PICTURE> spPlate;                      ///< the same; keys where the settings have none
};

/// A colour: R, G, B from 0 to 255.
struct UNMIX_COLOUR
{
    double dblRed;
    double dblGreen;
    double dblBlue;
};

/// The second generation's engine, as its plug-in object sees it. Besides what the frame path asks, these calls may
/// come from any thread; none of them calls a host.
class CUnmixFrameEngine : public CFrameEngine
{
public:
    /// The parts of the settings that the next Process gets; kept until others are set.
    virtual void PartsSet(const UNMIX_PARTS& _parts) = 0;
    /// Finds the backdrop of a picture. S_FALSE and a reason: nothing in it qualifies.
    virtual HRESULT KeyFind(const IMG_PICTURE& _picture, UNMIX_COLOUR* _pColour, std::string* _pstrReason) = 0;
    /// The backdrop plate, as large as the frames. S_FALSE: there is none.
    virtual HRESULT PlateGet(IMG_PICTURE* _pPicture) = 0;
    /// What is known of the last frame. S_FALSE and zeros: there was none.
    virtual HRESULT StatsGet(CHROMA_KEY2_STATS* _pStats) = 0;
};
