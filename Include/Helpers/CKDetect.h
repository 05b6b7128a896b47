#pragma once

#include "Helpers/CKDetectOptions.h"
#include "Helpers/CKUtils.h"
#include "Image/ImgColor.h"
#include "Interfaces/ZVideoTypes.h"

#include <cstdint>
#include <vector>

/// Automatic key detection: finds the backdrop of a picture without a person.
///
/// The picture is cut into a grid. Blocks that are flat in colour and lie in a green or blue region of colour space
/// become key boxes, which are offered to a key calculator.
///
/// Detection works on a working picture of four bytes a pixel. The pixel format of its record says what the bytes are:
///   RGB family    bytes B, G, R, A
///   other         bytes Y, U, V, A
///   0             bytes H, L, S, A: hue in 1/256 of a turn, the others in 1/255
/// Its alpha must be constant: it takes no part in flatness or class, but in the key boxes.
namespace CKUtils
{

/// What became of an examined block.
enum eCKBlock : int32_t
{
    eCKB_NotFlat = 0,  ///< not flat, or not in the green or blue class
    eCKB_Refused = 1,  ///< the calculator found it too different from its keys
    eCKB_Accepted = 2, ///< the calculator took it, or has it covered
};

/// An examined block, in pixels from the top left of the picture.
struct CK_BLOCK
{
    int32_t nX;
    int32_t nY;
    int32_t nWidth;
    int32_t nHeight;
    eCKBlock eVerdict;
};

/// Searches a working picture and offers its blocks to the calculator. True when NO key was found; the calculator's
/// keys then are as they were.
///
/// Before the search the calculator's limit is set to the options' nMaxKeys, even if that merges keys it has. After it
/// all keys of a Y, U, V picture are pulled toward the pure backdrop colour, converted with _eMatrix.
///
/// _pInputProps: width, height, format and row size (0 = width x 4) count. The picture is scanned from its top: rows of
/// the RGB family with positive height and row size are stored bottom-up; for all others _pbInput is the top row.
/// _pBlocks: null, or receives the examined blocks in the order of the search (memory is taken once, before it).
///
/// With bShowBlocks, examined blocks are marked in the working picture by their brightness (Y; L; B, G and R):
/// accepted ones 64 levels up, refused ones 64 down, not flat ones 32 down, saturating. Without it no byte is written.
bool DetectKeys(CKeyCalc* _pKey, uint8_t* _pbInput, const ZF_VID_PROPS* _pInputProps, const CK_DETECT_OPTIONS& _options,
                eZYMatrix _eMatrix, std::vector<CK_BLOCK>* _pBlocks = nullptr);

} // namespace CKUtils
