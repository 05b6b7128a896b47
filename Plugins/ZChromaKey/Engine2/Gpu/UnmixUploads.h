#pragma once

#include "Base/ZMatrix.h"
#include "DirectX/Shaders/UnmixEdgeShader.h"
#include "DirectX/Shaders/UnmixShader.h"
#include "Interfaces/ZVideoTypes.h"
#include "ZChromaKey/Engine2/State.h"

#include <vector>

/// What moves and blurs edges.
struct UNMIX_EDGE_UPLOADS
{
    bool bChoke;
    bool bSoften;
    UNMIX_CHOKE_CONSTANTS choke;
    UNMIX_BLUR_CONSTANTS arrBlurs[2]; ///< along rows, across them
};

/// What a picture has taught, in the form that the shaders take. Kept from frame to frame for its memory.
struct UNMIX_UPLOADS
{
    UNMIX_CONSTANTS constants;
    std::vector<uint32_t> vecCells; ///< the fields one below the other, as the next
    std::vector<VEC4> vecFore;
    UNMIX_EDGE_UPLOADS edges;     ///< only where UnmixUploads_Edges found something to do
    std::vector<int16_t> vecPast; ///< only where UnmixUploads_Past was asked for it, by pixels of the frame
};

/// How the samples of a texture in YUV are read; DX_TextureDesc says how they lie.
UNMIX_SHADER_SAMPLES UnmixUploads_Samples(const ZF_VID_PROPS& _vidProps, eZYMatrix _eMatrix);
/// The same of a picture in RGB that was learned from: of its pixels, where their chroma was shared once. False: it was
/// not.
bool UnmixUploads_PixelSamples(const UNMIX_STATE& _state, UNMIX_SHADER_SAMPLES* _pSamples);
/// The constants that cells are made with. _bAlpha: the picture's alpha counts.
UNMIX_CONSTANTS UnmixUploads_CellConstants(const ZF_VID_PROPS& _vidProps, bool _bAlpha);
/// All but the differences of the frame before. _state: as Unmix_Learn left it; where no key was found, every pixel
/// stays as it is. What comes after the pixels is left to others.
void UnmixUploads_Fill(const UNMIX_STATE& _state, bool _bAlpha, UNMIX_UPLOADS* _pUploads);
/// Adds that the picture is there in 64ths of a level, too, with or without its solid cells, and that the result is to
/// have 16 bits.
void UnmixUploads_Deep(bool _bDeep, bool _bDeepSolid, bool _bWords, UNMIX_UPLOADS* _pUploads);
/// What is done to edges, and marks the cells where none moves. False: nothing is.
bool UnmixUploads_Edges(UNMIX_STATE& _state, UNMIX_UPLOADS* _pUploads);
/// Adds what comes after the pixels to the constants: shadows, the input's alpha, regions and views. Works the density
/// of shadows out.
void UnmixUploads_After(UNMIX_STATE& _state, bool _bPremultiply, UNMIX_UPLOADS* _pUploads);
/// The differences of the frame before, which every field has.
void UnmixUploads_Past(const UNMIX_STATE& _state, UNMIX_UPLOADS* _pUploads);
