#pragma once

/// Records that describe a picture, its planes, its sound and its time code, and the codes they use.
///
/// The layouts are fixed: hosts, type library and shaders rely on every offset. Compare records field by field, never
/// with memcmp: ZF_VID_PROPS has four bytes of padding.

#include <cstddef>
#include <cstdint>

/// Pixel-format codes: little-endian four-character codes; the RGB family uses the first word of its media subtype.
enum eZFCC : uint32_t
{
    eZFCC_None = 0,
    eZFCC_RGB8 = 0xE436EB7A, ///< one 8-bit channel; the format of masks
    eZFCC_RGB565 = 0xE436EB7B,
    eZFCC_RGB555 = 0xE436EB7C,
    eZFCC_RGB24 = 0xE436EB7D,  ///< bytes B, G, R
    eZFCC_RGB32 = 0xE436EB7E,  ///< bytes B, G, R, unused
    eZFCC_ARGB32 = 0x773C9AC0, ///< bytes B, G, R, A; straight alpha
    eZFCC_r210 = 0x30313272,   ///< 10-bit RGB in big-endian words: 2 unused bits, R, G, B
    eZFCC_v210 = 0x30313276,   ///< 10-bit 4:2:2, six pixels in four little-endian words
    eZFCC_YUY2 = 0x32595559,
    eZFCC_UYVY = 0x59565955,
    eZFCC_HDYC = 0x43594448, ///< the bytes of UYVY, nominally BT.709
    eZFCC_YVYU = 0x55595659,
    eZFCC_IYU2 = 0x32555949,
    eZFCC_YVU9 = 0x39555659,
    eZFCC_I420 = 0x30323449, ///< planes Y, U, V
    eZFCC_YV12 = 0x32315659, ///< planes Y, V, U
    eZFCC_NV12 = 0x3231564E, ///< planes Y, interleaved U V
    eZFCC_I422 = 0x32323449, ///< planes Y, U, V
    eZFCC_YV16 = 0x36315659, ///< planes Y, V, U
    eZFCC_Y422 = 0x32323459, ///< planes Y, U, V, addressed with half-width chroma
    eZFCC_Y444 = 0x34343459, ///< planes Y, U, V, addressed with half-width chroma
    /// Of this system's own: little-endian words B, G, R, A of 16 bits; straight alpha. No four characters.
    eZFCC_ARGB64 = 0x01343641,
    /// Of this system's own: bytes R, G, B, A; straight alpha. No four characters.
    eZFCC_RGBA32 = 0x01323352,
    /// Known here beyond what hosts need: ten bits in the high bits of little-endian words, planes Y, interleaved U V.
    eZFCC_P010 = 0x30313050, ///< 4:2:0
    eZFCC_P210 = 0x30313250, ///< 4:2:2
};

/// Field order of a picture. Values 4 and 5 belong to the host and are carried through.
enum eZInterlace : int32_t
{
    eZI_NotSet = 0,
    eZI_TopFirst = 1,
    eZI_BottomFirst = 2,
    eZI_Progressive = 3,
    eZI_Inv = 4,
    eZI_OF = 5,
};

/// Named video formats, in the order of the format table.
// clang-format off
enum eZVideoFormat : int32_t
{
    eZVF_Custom = 0,
    eZVF_NTSC, eZVF_NTSC_2398p, eZVF_NTSC_16x9, eZVF_PAL, eZVF_PAL_16x9,
    eZVF_HD720_50p, eZVF_HD720_5994p, eZVF_HD720_60p,
    eZVF_HD1080_2398p, eZVF_HD1080_24p, eZVF_HD1080_25p, eZVF_HD1080_2997p, eZVF_HD1080_30p, eZVF_HD1080_50i,
    eZVF_HD1080_5994i, eZVF_HD1080_60i, eZVF_HD1080_50p, eZVF_HD1080_5994p, eZVF_HD1080_60p, eZVF_HD1080_9590p,
    eZVF_HD1080_96p, eZVF_HD1080_100p, eZVF_HD1080_11988p, eZVF_HD1080_120p,
    eZVF_2K_DCI_2398p, eZVF_2K_DCI_24p, eZVF_2K_DCI_25p, eZVF_2K_DCI_2997p, eZVF_2K_DCI_30p, eZVF_2K_DCI_4795p,
    eZVF_2K_DCI_48p, eZVF_2K_DCI_50p, eZVF_2K_DCI_5994p, eZVF_2K_DCI_60p, eZVF_2K_DCI_9590p, eZVF_2K_DCI_96p,
    eZVF_2K_DCI_100p, eZVF_2K_DCI_11988p, eZVF_2K_DCI_120p,
    eZVF_2K_2398p, eZVF_2K_24p, eZVF_2K_25p,
    eZVF_4K_UHD_50i, eZVF_4K_UHD_5994i, eZVF_4K_UHD_60i, eZVF_4K_UHD_2398p, eZVF_4K_UHD_24p, eZVF_4K_UHD_25p,
    eZVF_4K_UHD_2997p, eZVF_4K_UHD_30p,
    eZVF_4K_DCI_2398p, eZVF_4K_DCI_24p, eZVF_4K_DCI_25p, eZVF_4K_DCI_2997p, eZVF_4K_DCI_30p, eZVF_4K_DCI_4795p,
    eZVF_4K_DCI_48p,
    eZVF_4K_UHD_50p, eZVF_4K_UHD_5994p, eZVF_4K_UHD_60p, eZVF_4K_UHD_9590p, eZVF_4K_UHD_96p, eZVF_4K_UHD_100p,
    eZVF_4K_UHD_11988p, eZVF_4K_UHD_120p,
    eZVF_4K_DCI_50p, eZVF_4K_DCI_5994p, eZVF_4K_DCI_60p, eZVF_4K_DCI_9590p, eZVF_4K_DCI_96p, eZVF_4K_DCI_100p,
    eZVF_4K_DCI_11988p, eZVF_4K_DCI_120p,
    eZVF_8K_UHD_2398p, eZVF_8K_UHD_24p, eZVF_8K_UHD_25p, eZVF_8K_UHD_2997p, eZVF_8K_UHD_30p, eZVF_8K_UHD_4795p,
    eZVF_8K_UHD_48p, eZVF_8K_UHD_50p, eZVF_8K_UHD_5994p, eZVF_8K_UHD_60p,
    eZVF_8K_DCI_2398p, eZVF_8K_DCI_24p, eZVF_8K_DCI_25p, eZVF_8K_DCI_2997p, eZVF_8K_DCI_30p, eZVF_8K_DCI_4795p,
    eZVF_8K_DCI_48p, eZVF_8K_DCI_50p, eZVF_8K_DCI_5994p, eZVF_8K_DCI_60p,
    eZVF_Disabled = 94,
};
// clang-format on

/// Where the pixels of a frame are.
enum eZGPU : uint32_t
{
    eZGPU_None = 0,        ///< in system memory
    eZGPU_DX11Texture = 1, ///< in a Direct3D 11 texture that is attached to the frame
};

/// Video properties of a frame, 48 bytes.
struct ZF_VID_PROPS
{
    int32_t eVideoFormat; ///< eZVideoFormat; an index into the format table
    uint32_t fccType;     ///< eZFCC; 0 = not set
    int32_t nWidth;       ///< pixels
    int32_t nHeight;      ///< lines; RGB family: positive = rows stored bottom-up, negative = top-down
    int32_t nRowBytes;    ///< bytes per row of plane 0; 0 = derive from format and width; negative = walked bottom-up
    int32_t eInterlace;   ///< eZInterlace
    int16_t nAspectX;     ///< display aspect numerator; 0 with nAspectY = not set
    int16_t nAspectY;     ///< display aspect denominator
    double dblRate;       ///< frames per second; the sign says the direction of play
    int32_t nAspectMode;  ///< 0 to 4; text forms print nothing, "I", "L", "C", "N"
    uint32_t nGPUFlags;   ///< 0 = system memory; low 12 bits: eZGPU, GPU surface kind; 0x2000: double-size surface
};
static_assert(sizeof(ZF_VID_PROPS) == 48);
static_assert(offsetof(ZF_VID_PROPS, nAspectX) == 24 && offsetof(ZF_VID_PROPS, dblRate) == 32);
static_assert(offsetof(ZF_VID_PROPS, nAspectMode) == 40 && offsetof(ZF_VID_PROPS, nGPUFlags) == 44);

/// Width and height of a plane, in samples and rows.
struct ZF_SIZE
{
    int32_t cx;
    int32_t cy;
};

/// Where the planes of a picture are, 80 bytes.
struct ZF_VID_PTR
{
    int64_t lpVideoPlanes[4];   ///< address of the row walked first of each plane; 0 = plane absent
    ZF_SIZE szVideoPlanes[4];   ///< size of each plane
    int32_t cbVideoRowBytes[4]; ///< stride of each plane in bytes; negative when rows are walked bottom-up
};
static_assert(sizeof(ZF_VID_PTR) == 80);
static_assert(offsetof(ZF_VID_PTR, szVideoPlanes) == 32 && offsetof(ZF_VID_PTR, cbVideoRowBytes) == 64);

/// Sound properties; read only for time arithmetic.
struct ZF_AUD_PROPS
{
    int32_t nChannels;
    int32_t nSamplesPerSec;
    int32_t nBitsPerSample;
};
static_assert(sizeof(ZF_AUD_PROPS) == 12);

/// Time code; nFlags bit 0 = drop-frame, bits 8 to 11 = field number.
struct ZF_TIMECODE
{
    int32_t nHours;
    int32_t nMinutes;
    int32_t nSeconds;
    int32_t nFrames;
    uint32_t nFlags;
};
static_assert(sizeof(ZF_TIMECODE) == 20);
