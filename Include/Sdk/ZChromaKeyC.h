#ifndef ZCHROMAKEY_C_H
#define ZCHROMAKEY_C_H

/// The keyer as plain C functions, for shells of other programs and for languages that call C. C11 or C++; needs
/// nothing but this file.
///
/// The functions are entries of the module (ZChromaKey.dll, libZChromaKey.so), which is loaded at run time and asked
/// for them by name; ZCK_FUNCTIONS lists the names. On Unix it can be linked as well. Close every keyer before
/// unloading it.
///
/// Rules for all of it:
/// - Texts are UTF-8 and end with a zero. Those handed in are copied; null counts as "".
/// - Threads: all functions may be called from any thread at any time, but for zck_close, which is the last call with
///   its keyer. Frames of one keyer are keyed one after the other. Edits (keys, parameters, documents) wait for each
///   other and take effect with the next frame; those that look at a picture, or replace keys, also lie between frames.
///   Keyers know nothing of each other.
/// - Memory stays the caller's. When a function has returned, the module holds none of it, no picture either.
/// - Answers are of zck_result: ZCK_OK, ZCK_NOTHING, or an error, which is below 0. After an error keys, parameters and
///   options are as before, and zck_last_error has the reason. No exception comes out of a function.
///
/// Which of both generations a keyer is of, zck_open says. The second unmixes colours and learns the backdrop while
/// frames come in; the first keys boxes of colours, each frame by itself.

#include <stddef.h> // NOLINT(modernize-deprecated-headers): C has no other
#include <stdint.h> // NOLINT(modernize-deprecated-headers)

#if defined(_WIN32)
#define ZCK_CALL __cdecl
#else
#define ZCK_CALL
#endif

/// What functions answer. What is below 0 is an error; later modules may have others.
enum zck_result
{
    ZCK_OK = 0,
    ZCK_NOTHING = 1,     ///< no error, but nothing has changed: each function says what that means
    ZCK_E_ARGUMENT = -1, ///< an argument is missing, or not one of those that are right
    ZCK_E_STATE = -2,    ///< not as things are: all sixteen colours are in use
    ZCK_E_FORMAT = -3,   ///< a pixel format, matrix or range that is not known, or not for this
    ZCK_E_MEMORY = -4,   ///< out of memory
    ZCK_E_BUSY = -5,     ///< the frame before has not come to its end for ten seconds
    ZCK_E_FAILED = -6    ///< anything else
};

/// The argument _generation.
enum zck_generation
{
    ZCK_GENERATION_DEFAULT = 0, ///< the second
    ZCK_GENERATION_1 = 1,
    ZCK_GENERATION_2 = 2
};

/// The argument _use: what becomes of a colour.
enum zck_use
{
    ZCK_USE_KEY = 0,     ///< one more backdrop colour; the first one takes the place of what zck_key_auto found
    ZCK_USE_PROTECT = 1, ///< stays solid although it is like the backdrop
    ZCK_USE_ONLY = 2     ///< the backdrop colour: takes the place of all there are; protected ones stay
};

/// The codes of pixel formats are those of the keyer's format table: four characters in the order of memory, and for
/// the RGB family the numbers below.
#define ZCK_FOURCC(a, b, c, d) ((uint32_t)(a) | (uint32_t)(b) << 8 | (uint32_t)(c) << 16 | (uint32_t)(d) << 24)

#define ZCK_FORMAT_RGB8 0xE436EB7Au                    ///< a byte a pixel: masks, 0 backdrop to 255 opaque
#define ZCK_FORMAT_RGB24 0xE436EB7Du                   ///< bytes B, G, R
#define ZCK_FORMAT_RGB32 0xE436EB7Eu                   ///< bytes B, G, R and one that is not used
#define ZCK_FORMAT_ARGB32 0x773C9AC0u                  ///< bytes B, G, R, A
#define ZCK_FORMAT_ARGB64 0x01343641u                  ///< words B, G, R, A of 16 bits, little-endian
#define ZCK_FORMAT_I420 ZCK_FOURCC('I', '4', '2', '0') ///< planes Y, U, V
#define ZCK_FORMAT_NV12 ZCK_FOURCC('N', 'V', '1', '2') ///< planes Y, U and V in turn
#define ZCK_FORMAT_I422 ZCK_FOURCC('I', '4', '2', '2') ///< planes Y, U, V
#define ZCK_FORMAT_YUY2 ZCK_FOURCC('Y', 'U', 'Y', '2')
#define ZCK_FORMAT_UYVY ZCK_FOURCC('U', 'Y', 'V', 'Y')
#define ZCK_FORMAT_V210 ZCK_FOURCC('v', '2', '1', '0') ///< 10 bits, six pixels in four little-endian words
#define ZCK_FORMAT_RGBA32 0x01323352u                  ///< bytes R, G, B, A
#define ZCK_FORMAT_P010 ZCK_FOURCC('P', '0', '1', '0') ///< as NV12, in little-endian words, the upper 10 bits of each
#define ZCK_FORMAT_P210 ZCK_FOURCC('P', '2', '1', '0') ///< the same with chroma in every line

/// zck_frame::fields: which field of an interlaced picture is the first in time.
enum zck_fields
{
    ZCK_FIELDS_DEFAULT = 0, ///< progressive
    ZCK_FIELDS_TOP = 1,
    ZCK_FIELDS_BOTTOM = 2,
    ZCK_FIELDS_NONE = 3 ///< progressive
};

/// zck_frame::matrix: between YUV and RGB.
enum zck_matrix
{
    ZCK_MATRIX_DEFAULT = 0, ///< BT.601 for pictures of standard definition, else BT.709
    ZCK_MATRIX_601 = 1,
    ZCK_MATRIX_709 = 2,
    ZCK_MATRIX_2020 = 3 ///< with non-constant luminance
};

/// zck_frame::range: the levels of black and white in YUV.
enum zck_range
{
    ZCK_RANGE_DEFAULT = 0, ///< studio
    ZCK_RANGE_STUDIO = 1,  ///< of 255: 16 and 235
    ZCK_RANGE_FULL = 2     ///< of 255: 0 and 255
};

/// A picture in the caller's memory, 80 bytes. Set what is not used to 0.
typedef struct zck_frame
{
    uint32_t size;        ///< of this record: sizeof(zck_frame)
    uint32_t format;      ///< ZCK_FORMAT_..., or another code of the format table
    int32_t width;        ///< pixels, from 1; even where two pixels share chroma
    int32_t height;       ///< lines, from 1; even where two lines share chroma or the picture is interlaced
    void* planes[4];      ///< the first byte of the top row of each plane, in the order of the format
    int32_t row_bytes[4]; ///< from a row to the one below it; negative where the bottom row comes first in memory
    int32_t fields;       ///< zck_fields
    int32_t matrix;       ///< zck_matrix; of YUV alone
    int32_t range;        ///< zck_range; of YUV alone
    int32_t reserved;     ///< 0
} zck_frame;

/// A parameter, for a panel. Its texts stay as they are while the module is loaded.
typedef struct zck_param
{
    uint32_t size;       ///< of this record, set by the caller: sizeof(zck_param)
    int32_t whole;       ///< 1: takes whole numbers alone
    double least;        ///< its range, both ends included
    double most;         ///< likewise
    double initial;      ///< what it is in a new keyer
    const char* name;    ///< for zck_param_set
    const char* unit;    ///< "%", "pixels"; "" where there is none
    const char* choices; ///< names of the values from 0 on, a blank between them; null where it is no choice
    const char* help;    ///< what the person at the controls sees
} zck_param;

/// A keyer: made by zck_open, belongs to the caller until zck_close.
typedef struct zck_keyer zck_keyer;

#ifdef __cplusplus
extern "C"
{
#endif

    /// Takes a line of the log. _level: 1 error, 2 warning, 3 information, 4 verbose. Called from any thread, also
    /// during calls: takes the text, which is gone afterwards, and returns; calls nothing of this file.
    typedef void(ZCK_CALL* zck_log)(void* _user, int _level, const char* _line);

    /// The module's name and version: "ZChromaKey 1.2.3". Stays while it is loaded.
    const char* ZCK_CALL zck_version(void);
    /// Sends the log of the whole module, of all its keyers, to a function; _level: the most that it gets, 0 nothing.
    /// Null goes back to errors and warnings on standard error (on Windows: to the debugger); do that before its code
    /// is unloaded.
    int ZCK_CALL zck_log_set(zck_log _log_or_null, void* _user, int _level);

    /// Makes a keyer without keys. Without keys, nothing is keyed. _generation: zck_generation. On an error *_keyer is
    /// null.
    int ZCK_CALL zck_open(int _generation, zck_keyer** _keyer);
    /// Ends a keyer, and gives back its threads and memory. Null: does nothing.
    void ZCK_CALL zck_close(zck_keyer* _keyer_or_null);
    /// Why the last call with this keyer that did not answer ZCK_OK did not; null: the last zck_open, zck_log_set or
    /// zck_param_info of this thread. "" where there was none. Valid until this thread asks again.
    const char* ZCK_CALL zck_last_error(zck_keyer* _keyer_or_null);

    /// Sets an option; null or "" goes back to its default. Docs/Options.md lists them: "process.threads",
    /// "gpu_mode", "keying.borders", "output.premultiplied". Those that follow from the frames that are handed in
    /// ("output.argb", "output.depth", "output.thread", "input.keep", "input.matrix", "input.range") are refused.
    int ZCK_CALL zck_option_set(zck_keyer* _keyer, const char* _name, const char* _value);
    /// Sets a parameter: "spill", "choke", of the first generation an adjustment: "power", "colors". Calls for one
    /// parameter that follow each other within a second are one step. ZCK_NOTHING: it has that value already.
    int ZCK_CALL zck_param_set(zck_keyer* _keyer, const char* _name, double _value);
    /// Hands out the value of a parameter.
    int ZCK_CALL zck_param_get(zck_keyer* _keyer, const char* _name, double* _value);
    /// Describes the parameters of a generation, counted from 0. ZCK_NOTHING: there is none with that number.
    int ZCK_CALL zck_param_info(int _generation, int _index, zck_param* _param);

    /// Finds the backdrop of a picture and makes it the key. ZCK_NOTHING: there is none; zck_last_error says why.
    int ZCK_CALL zck_key_auto(zck_keyer* _keyer, const zck_frame* _frame);
    /// Takes the colour around a point of a picture. Pixels count from its top left. _use: zck_use. ZCK_NOTHING, here
    /// and in the next two: keys and protected colours stay as they are, for this colour is there already.
    /// ZCK_E_ARGUMENT: outside the picture, or grey, which the second generation cannot key.
    int ZCK_CALL zck_key_point(zck_keyer* _keyer, const zck_frame* _frame, int _x, int _y, int _use);
    /// Takes the colour of a rectangle, the second corner (right and bottom) not included: 0,0,8,8 are 64 pixels.
    int ZCK_CALL zck_key_rect(zck_keyer* _keyer, const zck_frame* _frame, int _x1, int _y1, int _x2, int _y2, int _use);
    /// Takes a colour, 0xRRGGBB. What a host sets again and again, with ZCK_USE_ONLY, makes one step for each change.
    int ZCK_CALL zck_key_color(zck_keyer* _keyer, uint32_t _rgb, int _use);
    /// Removes keys, protected colours and regions, and sets all parameters to their defaults. A step like others.
    int ZCK_CALL zck_reset(zck_keyer* _keyer);
    /// Takes edits back (_steps below 0) or makes them again; _done_or_null: how many there were. ZCK_NOTHING: none.
    int ZCK_CALL zck_step(zck_keyer* _keyer, int _steps, int* _done_or_null);

    /// Loads a document: keys, protected colours, parameters and regions, as one step. Options in it are left aside,
    /// and so is what it has of the other generation. ZCK_E_ARGUMENT: it is none, or has nothing of this generation.
    int ZCK_CALL zck_load(zck_keyer* _keyer, const char* _document);
    /// Writes keys, protected colours, parameters and regions down as a document (XML), without options.
    /// _document: takes up to _capacity bytes, with the zero at its end; null to ask for the size. *_needed_or_null:
    /// the bytes that it takes. ZCK_E_ARGUMENT: too small; nothing is written then but a zero.
    int ZCK_CALL zck_save(zck_keyer* _keyer, char* _document, size_t _capacity, size_t* _needed_or_null);

    /// Keys a picture and writes the result.
    ///
    /// _out_or_null: of the picture's size, less "keying.borders"; its format is ZCK_FORMAT_ARGB32, in the second
    /// generation also ZCK_FORMAT_ARGB64, or one that these can be converted into. Alpha is straight unless
    /// "output.premultiplied" says otherwise; colours are cleaned of the backdrop's. It may be the very memory of the
    /// input, and must not overlap it otherwise.
    /// Alpha of the input is multiplied in: what was cut away before stays away. The parameter "alpha", of the first
    /// generation the option "keying.alpha", replaces it instead.
    /// _mask_or_null: alpha alone, ZCK_FORMAT_RGB8, of the same size. One of both must be there. Bytes of rows after
    /// their last pixel stay as they are. After an error the pixels of both are undefined.
    ///
    /// Size, format and place of the frames may change from call to call. Each picture counts as the one after that of
    /// the call before; call zck_flush where it is not.
    int ZCK_CALL zck_process(zck_keyer* _keyer, const zck_frame* _in, const zck_frame* _out_or_null,
                             const zck_frame* _mask_or_null);
    /// The next frame begins another shot: what was learned from those before is forgotten. Waits for nothing.
    int ZCK_CALL zck_flush(zck_keyer* _keyer);

/// Calls a macro with the name of each function, for whoever looks them up in the loaded module.
#define ZCK_FUNCTIONS(F)                                                                                               \
    F(zck_version)                                                                                                     \
    F(zck_log_set)                                                                                                     \
    F(zck_open)                                                                                                        \
    F(zck_close)                                                                                                       \
    F(zck_last_error)                                                                                                  \
    F(zck_option_set)                                                                                                  \
    F(zck_param_set)                                                                                                   \
    F(zck_param_get)                                                                                                   \
    F(zck_param_info)                                                                                                  \
    F(zck_key_auto)                                                                                                    \
    F(zck_key_point)                                                                                                   \
    F(zck_key_rect)                                                                                                    \
    F(zck_key_color)                                                                                                   \
    F(zck_reset)                                                                                                       \
    F(zck_step)                                                                                                        \
    F(zck_load)                                                                                                        \
    F(zck_save)                                                                                                        \
    F(zck_process)                                                                                                     \
    F(zck_flush)

#ifdef __cplusplus
}
#endif

#endif
