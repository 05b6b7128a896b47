#pragma once

#include "Image/ImgColor.h"
#include "Interfaces/ZPlatform.h"
#include "Interfaces/ZVideoTypes.h"
#include "ZChromaKey/Engine2/Pixels.h"
#include "ZChromaKey/Engine2/Runner.h"

#include <optional>

/// The keyer of the second generation: frames in, frames with alpha out.
///
/// Two small pictures describe the scene: the backdrop plate, what the screen looks like behind everything, and the
/// foreground plate, what solid foreground near here looks like. Alpha is the place of a pixel between the two; colour
/// is unmixed with the backdrop. Only cells that are neither surely backdrop nor surely solid see the full maths.
///
/// Results do not depend on the number of threads, the compiler or the system.

/// A picture: what VidPtr_Build takes, and where its planes are. Borrowed for the call.
struct UNMIX_INPUT
{
    ZF_VID_PROPS vidProps;
    ZF_VID_PTR vidPtr;
    /// Of YUV, where the picture's own size may not tell it: parts of a picture. The GNU compiler wants the
    /// initialiser.
    std::optional<eZYMatrix> eMatrix = {}; // NOLINT(readability-redundant-member-init)
};

struct UNMIX_STATS
{
    float fltBackdrop = 0; ///< shares of the cells, 0 to 1
    float fltMixed = 0;
    float fltSolid = 0;
    float fltNoise = 0;   ///< levels
    int nPlateFrames = 0; ///< frames that the plate was learned from since the start or the last cut
    int nCuts = 0;
};

/// Keys the next picture of the stream. _result: rows of the picture's size.
///
/// A change of size, format or matrix starts the stream anew; so does, unless the plate is held, a change of what says
/// which cells are backdrop: protected colours, the region of the backdrop, the parameter "backdrop". Other keys and
/// another plate always start it anew. A picture that equals the one before teaches nothing and, with the same setup,
/// gives the same result. While the plate is held, nothing of a picture shows in those after it.
/// S_FALSE: no key is named and nothing in the picture qualifies as backdrop; the picture comes out as it is, opaque.
/// E_NOTIMPL, E_INVALIDARG: as CImgRowReader::Init; nothing is written. Allocates for the first pictures of a size
/// only.
HRESULT Unmix_Frame(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_INPUT& _input,
                    const UNMIX_RESULT& _result, IRowRunner& _runner);

/// \name The halves of Unmix_Frame, for who writes the pixels otherwise
///@{
/// All that a picture teaches, up to the classes of its cells; writes nothing. The same codes.
HRESULT Unmix_Learn(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_INPUT& _input, IRowRunner& _runner);

/// The picture that was learned from last, as Unmix_Write takes its pixels: all of its rows, bytes and, where they are
/// known better than that in any field, 64ths of a level, of mixed cells and their neighbours at least. Its memory is
/// the input's or the state's, until the next picture. The codes of Unmix_Write.
HRESULT Unmix_Open(UNMIX_STATE& _state, const UNMIX_INPUT& _input, IRowRunner& _runner, UNMIX_PICTURE* _pPicture);

/// The cells of a picture that is not in memory. Rows of 16 bytes a cell: sums of B, G, R and A as 16-bit numbers, the
/// least of the four, the greatest. For each field its rows of cells; then one for each third of them from the second
/// on, with the first pixel of each cell's first line and the one two to its right: noise is measured between these;
/// then, of RGB, one for each row of cells that fineness is measured in, with two places for each third cell, the first
/// of these turning with the row: the second line of the cell, and of its second column the first, third and last
/// pixel.
struct UNMIX_CELL_INPUT
{
    ZF_VID_PROPS vidProps; ///< B, G, R and A that counts, or does not
    eZYMatrix eMatrix;     ///< that it was read with
    const uint8_t* pRow0;
    ptrdiff_t nStride; ///< bytes
};
HRESULT Unmix_LearnCells(UNMIX_STATE& _state, const UNMIX_SETUP& _setup, const UNMIX_CELL_INPUT& _input,
                         IRowRunner& _runner);

enum eUnmixWrite
{
    eUW_All,    ///< the result from the beginning
    eUW_Finish, ///< its pixels are there: what comes after them, edges and views
};
/// The result of the picture that was learned from last.
HRESULT Unmix_Write(UNMIX_STATE& _state, const UNMIX_INPUT& _input, const UNMIX_RESULT& _result, IRowRunner& _runner,
                    eUnmixWrite _eWrite);
///@}

/// Forgets the plate and what was measured; keys that are named stay.
void Unmix_Restart(UNMIX_STATE& _state);

UNMIX_STATS Unmix_Stats(const UNMIX_STATE& _state);
