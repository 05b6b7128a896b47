// The flat interface as a C program sees it. Usage: FlatTest MODULE, or FlatTest MODULE GENERATION KEYS WIDTH HEIGHT,
// which keys B, G, R, A pictures of standard input and writes them to standard output.

#include "Sdk/ZChromaKeyC.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#else
#include <dlfcn.h>
#include <pthread.h>
#endif

static int g_nFailures = 0;

#define CHECK(condition)                                                                                               \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(condition))                                                                                              \
        {                                                                                                              \
            ++g_nFailures;                                                                                             \
            fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition);                                            \
        }                                                                                                              \
    } while (0)

// The functions, under their names with an underscore.
#define POINTER(name) static __typeof__(&name) name##_;
ZCK_FUNCTIONS(POINTER)

#if defined(_WIN32)
static void* Library_Open(const char* _szPath)
{
    return (void*)LoadLibraryA(_szPath);
}
static void* Library_Find(void* _pLibrary, const char* _szName)
{
    return (void*)GetProcAddress((HMODULE)_pLibrary, _szName);
}
static void Library_Close(void* _pLibrary)
{
    CHECK(FreeLibrary((HMODULE)_pLibrary));
}
#else
static void* Library_Open(const char* _szPath)
{
    return dlopen(_szPath, RTLD_NOW | RTLD_LOCAL);
}
static void* Library_Find(void* _pLibrary, const char* _szName)
{
    return dlsym(_pLibrary, _szName);
}
static void Library_Close(void* _pLibrary)
{
    CHECK(dlclose(_pLibrary) == 0);
}
#endif

static void* Module_Load(const char* _szPath)
{
    void* const pModule = Library_Open(_szPath);
    void* pEntry = NULL;
    CHECK(pModule != NULL);
#define FIND(name)                                                                                                     \
    pEntry = pModule ? Library_Find(pModule, #name) : NULL;                                                            \
    memcpy(&name##_, &pEntry, sizeof(pEntry));                                                                         \
    CHECK(name##_ != NULL);
    ZCK_FUNCTIONS(FIND)
    return pModule;
}

// A picture in memory of its own.
typedef struct PICTURE
{
    zck_frame frame;
    unsigned char* pBytes;
    size_t nBytes;
} PICTURE;

enum
{
    eWidth = 160,
    eHeight = 96
};

static PICTURE Picture_New(uint32_t _nFormat, int _nWidth, int _nHeight, int _nPixelBytes)
{
    PICTURE picture;
    memset(&picture, 0, sizeof(picture));
    picture.nBytes = (size_t)_nWidth * (size_t)_nHeight * (size_t)_nPixelBytes;
    picture.pBytes = malloc(picture.nBytes);
    memset(picture.pBytes, 0xCD, picture.nBytes);
    picture.frame.size = sizeof(picture.frame);
    picture.frame.format = _nFormat;
    picture.frame.width = _nWidth;
    picture.frame.height = _nHeight;
    picture.frame.planes[0] = picture.pBytes;
    picture.frame.row_bytes[0] = _nWidth * _nPixelBytes;
    return picture;
}

// Makes the memory useless before it goes: nobody may still look at it.
static void Picture_Delete(PICTURE* _pPicture)
{
    memset(_pPicture->pBytes, 0xEE, _pPicture->nBytes);
    free(_pPicture->pBytes);
    _pPicture->pBytes = NULL;
}

static int IsBody(int _nX, int _nY, int _nWidth, int _nHeight)
{
    const int nX = 2 * _nX - _nWidth;
    const int nY = 2 * _nY - _nHeight - _nHeight / 3;
    return nX * nX + nY * nY < _nHeight * _nHeight / 2;
}

// A red body before a green backdrop, with grain; pixels of three or four bytes.
static PICTURE Picture_Scene(uint32_t _nFormat, int _nWidth, int _nHeight, int _nPixelBytes)
{
    static const unsigned char s_arrColors[2][4] = {{50, 170, 60, 255}, {90, 70, 200, 255}};
    PICTURE picture = Picture_New(_nFormat, _nWidth, _nHeight, _nPixelBytes);
    unsigned char* pPixel = picture.pBytes;
    uint32_t nRandom = 1;
    for (int y = 0; y < _nHeight; ++y)
        for (int x = 0; x < _nWidth; ++x, pPixel += _nPixelBytes)
            for (int c = 0; c < _nPixelBytes; ++c) // the grain shows where a picture is read after it was written
            {
                nRandom = nRandom * 1664525u + 1013904223u;
                pPixel[c] =
                    (unsigned char)(s_arrColors[IsBody(x, y, _nWidth, _nHeight)][c] - (c < 3 ? nRandom >> 30 : 0));
            }
    return picture;
}

// The same as planes Y, U, V.
static PICTURE Picture_Planes(int _nWidth, int _nHeight)
{
    PICTURE picture = Picture_New(ZCK_FORMAT_I420, _nWidth, _nHeight, 2);
    unsigned char* const pU = picture.pBytes + _nWidth * _nHeight;
    unsigned char* const pV = pU + _nWidth / 2 * (_nHeight / 2);
    for (int y = 0; y < _nHeight; ++y)
        for (int x = 0; x < _nWidth; ++x)
        {
            const int bBody = IsBody(x & ~1, y & ~1, _nWidth, _nHeight);
            const int nChroma = y / 2 * (_nWidth / 2) + x / 2;
            picture.pBytes[y * _nWidth + x] = (unsigned char)(bBody ? 112 : 122);
            pU[nChroma] = (unsigned char)(bBody ? 114 : 85);
            pV[nChroma] = (unsigned char)(bBody ? 187 : 86);
        }
    picture.frame.planes[1] = pU;
    picture.frame.planes[2] = pV;
    picture.frame.row_bytes[0] = _nWidth;
    picture.frame.row_bytes[1] = picture.frame.row_bytes[2] = _nWidth / 2;
    return picture;
}

// Pixels whose alpha (the last byte of each) is not what the scene says, edges aside.
static int Wrong(const PICTURE* _pPicture, int _nPixelBytes)
{
    const int nWidth = _pPicture->frame.width;
    const int nHeight = _pPicture->frame.height;
    int nWrong = 0;
    for (int y = 2; y < nHeight - 2; ++y)
        for (int x = 2; x < nWidth - 2; ++x)
        {
            const int bBody = IsBody(x, y, nWidth, nHeight);
            const int nAlpha = _pPicture->pBytes[(y * nWidth + x + 1) * _nPixelBytes - 1];
            int bEdge = 0;
            for (int n = 0; n < 25; ++n)
                bEdge |= IsBody(x + n % 5 - 2, y + n / 5 - 2, nWidth, nHeight) != bBody;
            nWrong += !bEdge && (bBody ? nAlpha < 250 : nAlpha > 5);
        }
    return nWrong;
}

static zck_keyer* Keyer_Open(int _nGeneration)
{
    zck_keyer* pKeyer = NULL;
    CHECK(zck_open_(_nGeneration, &pKeyer) == ZCK_OK);
    CHECK(zck_option_set_(pKeyer, "gpu_mode", "0") == ZCK_OK);
    return pKeyer;
}

static void CheckPlaces(int _nGeneration)
{
    zck_keyer* const pKeyer = Keyer_Open(_nGeneration);
    PICTURE in = Picture_Scene(ZCK_FORMAT_ARGB32, eWidth, eHeight, 4);
    PICTURE out = Picture_New(ZCK_FORMAT_ARGB32, eWidth, eHeight, 4);
    PICTURE mask = Picture_New(ZCK_FORMAT_RGB8, eWidth, eHeight, 1);
    CHECK(zck_process_(pKeyer, &in.frame, &out.frame, &mask.frame) == ZCK_OK);
    CHECK(memcmp(in.pBytes, out.pBytes, in.nBytes) == 0); // without keys nothing is keyed
    CHECK(mask.pBytes[0] == 255 && mask.pBytes[mask.nBytes - 1] == 255);

    CHECK(zck_key_auto_(pKeyer, &in.frame) == ZCK_OK);
    CHECK(zck_process_(pKeyer, &in.frame, &out.frame, &mask.frame) == ZCK_OK);
    CHECK(Wrong(&out, 4) == 0 && Wrong(&mask, 1) == 0);
    PICTURE upward = Picture_New(ZCK_FORMAT_ARGB32, eWidth, eHeight, 4);
    upward.frame.planes[0] = upward.pBytes + (eHeight - 1) * eWidth * 4;
    upward.frame.row_bytes[0] = -eWidth * 4;
    CHECK(zck_flush_(pKeyer) == ZCK_OK);
    CHECK(zck_process_(pKeyer, &in.frame, &upward.frame, NULL) == ZCK_OK);
    for (int y = 0; y < eHeight; ++y)
        CHECK(memcmp(out.pBytes + y * eWidth * 4, upward.pBytes + (eHeight - 1 - y) * eWidth * 4, eWidth * 4) == 0);
    memcpy(upward.pBytes, in.pBytes, in.nBytes);
    upward.frame.planes[0] = upward.pBytes;
    upward.frame.row_bytes[0] = eWidth * 4;
    CHECK(zck_flush_(pKeyer) == ZCK_OK);
    CHECK(zck_process_(pKeyer, &upward.frame, &upward.frame, NULL) == ZCK_OK);
    CHECK(memcmp(out.pBytes, upward.pBytes, out.nBytes) == 0);
    for (int y = 0; y < eHeight; ++y) // an input that begins with its bottom row
        memcpy(upward.pBytes + (eHeight - 1 - y) * eWidth * 4, in.pBytes + y * eWidth * 4, eWidth * 4);
    upward.frame.planes[0] = upward.pBytes + (eHeight - 1) * eWidth * 4;
    upward.frame.row_bytes[0] = -eWidth * 4;
    memset(mask.pBytes, 0xCD, mask.nBytes);
    CHECK(zck_flush_(pKeyer) == ZCK_OK);
    CHECK(zck_process_(pKeyer, &upward.frame, NULL, &mask.frame) == ZCK_OK);
    CHECK(Wrong(&mask, 1) == 0);
    const size_t nInBody = eHeight * 2 / 3 * eWidth + eWidth / 2; // what was cut away before stays away
    in.pBytes[4 * nInBody + 3] = 0;
    CHECK(zck_process_(pKeyer, &in.frame, &out.frame, &mask.frame) == ZCK_OK);
    CHECK(out.pBytes[4 * nInBody + 3] == 0 && mask.pBytes[nInBody] == 0);
    CHECK(out.pBytes[4 * nInBody + 19] > 250 && mask.pBytes[nInBody + 4] > 250);
    zck_close_(pKeyer);
    Picture_Delete(&in);
    Picture_Delete(&out);
    Picture_Delete(&mask);
    Picture_Delete(&upward);
}

// Frames whose size, format and memory change with each call.
static void CheckStream(int _nGeneration)
{
    static const int s_arrSizes[][2] = {{160, 96}, {161, 97}, {64, 48}, {322, 200}, {160, 96}};
    zck_keyer* const pKeyer = Keyer_Open(_nGeneration);
    CHECK(zck_key_color_(pKeyer, 0x3CAA32, ZCK_USE_KEY) == ZCK_OK);
    for (size_t n = 0; n < sizeof(s_arrSizes) / sizeof(s_arrSizes[0]); ++n)
        for (int nPixelBytes = 3; nPixelBytes <= 4; ++nPixelBytes)
        {
            const int nWidth = s_arrSizes[n][0];
            const int nHeight = s_arrSizes[n][1];
            PICTURE in =
                Picture_Scene(nPixelBytes == 3 ? ZCK_FORMAT_RGB24 : ZCK_FORMAT_RGB32, nWidth, nHeight, nPixelBytes);
            PICTURE out = Picture_New(ZCK_FORMAT_ARGB32, nWidth, nHeight, 4);
            PICTURE mask = Picture_New(ZCK_FORMAT_RGB8, nWidth, nHeight, 1);
            CHECK(zck_process_(pKeyer, &in.frame, &out.frame, &mask.frame) == ZCK_OK);
            CHECK(Wrong(&out, 4) == 0 && Wrong(&mask, 1) == 0);
            Picture_Delete(&in);
            Picture_Delete(&out);
            Picture_Delete(&mask);
        }
    PICTURE planes = Picture_Planes(eWidth, eHeight);
    PICTURE words = Picture_New(ZCK_FORMAT_ARGB64, eWidth, eHeight, 8);
    planes.frame.matrix = ZCK_MATRIX_601;
    CHECK(zck_process_(pKeyer, &planes.frame, &words.frame, NULL) == ZCK_OK);
    CHECK(Wrong(&words, 8) == 0); // of words the upper byte
    CHECK(zck_option_set_(pKeyer, "keying.borders", "8,4,16,2") == ZCK_OK);
    CHECK(zck_process_(pKeyer, &planes.frame, &words.frame, NULL) == ZCK_E_ARGUMENT);
    words.frame.width = eWidth - 24;
    words.frame.height = eHeight - 6;
    CHECK(zck_process_(pKeyer, &planes.frame, &words.frame, NULL) == ZCK_OK);
    zck_close_(pKeyer);
    Picture_Delete(&planes);
    Picture_Delete(&words);
}

static void CheckEdits(int _nGeneration)
{
    zck_keyer* const pKeyer = Keyer_Open(_nGeneration);
    PICTURE scene = Picture_Scene(ZCK_FORMAT_RGB32, eWidth, eHeight, 4);
    PICTURE out = Picture_New(ZCK_FORMAT_ARGB32, eWidth, eHeight, 4);
    const char* const szName = _nGeneration == ZCK_GENERATION_1 ? "power" : "choke";
    char szKeys[16384];
    char szAgain[16384];
    size_t nNeeded = 0;
    int nDone = -1;
    double dblValue = -1;
    CHECK(zck_step_(pKeyer, -1, &nDone) == ZCK_NOTHING && nDone == 0);
    CHECK(zck_key_rect_(pKeyer, &scene.frame, 0, 0, 30, 8, ZCK_USE_ONLY) == ZCK_OK);
    CHECK(zck_key_rect_(pKeyer, &scene.frame, eWidth / 2, eHeight - 20, eWidth / 2 + 9, eHeight - 9, ZCK_USE_PROTECT) ==
          ZCK_OK);
    CHECK(zck_param_set_(pKeyer, szName, 2) == ZCK_OK);
    CHECK(zck_param_set_(pKeyer, szName, 2) == ZCK_NOTHING);
    CHECK(zck_param_get_(pKeyer, szName, &dblValue) == ZCK_OK && dblValue == 2);
    CHECK(zck_process_(pKeyer, &scene.frame, &out.frame, NULL) == ZCK_OK);
    CHECK(out.pBytes[3] == 0 && out.pBytes[4 * ((eHeight - 15) * eWidth + eWidth / 2) + 3] == 255);

    CHECK(zck_save_(pKeyer, szKeys, sizeof(szKeys), &nNeeded) == ZCK_OK && nNeeded == strlen(szKeys) + 1);
    CHECK(strstr(szKeys, "option") == NULL);
    CHECK(zck_save_(pKeyer, szAgain, nNeeded - 1, NULL) == ZCK_E_ARGUMENT && szAgain[0] == 0);
    CHECK(zck_save_(pKeyer, NULL, 0, &nNeeded) == ZCK_OK);
    CHECK(zck_key_color_(pKeyer, 0x2030C0, ZCK_USE_ONLY) == ZCK_OK);
    CHECK(zck_key_color_(pKeyer, 0x2030C0, ZCK_USE_ONLY) == ZCK_NOTHING);
    CHECK(zck_process_(pKeyer, &scene.frame, &out.frame, NULL) == ZCK_OK);
    CHECK(out.pBytes[3] == 255); // blue goes, and green no more
    CHECK(zck_key_point_(pKeyer, &scene.frame, eWidth, 0, ZCK_USE_ONLY) == ZCK_E_ARGUMENT);
    CHECK(zck_step_(pKeyer, -1, &nDone) == ZCK_OK && nDone == 1);
    CHECK(zck_save_(pKeyer, szAgain, sizeof(szAgain), NULL) == ZCK_OK && strcmp(szKeys, szAgain) == 0);
    CHECK(zck_reset_(pKeyer) == ZCK_OK);
    CHECK(zck_load_(pKeyer, szKeys) == ZCK_OK);
    CHECK(zck_save_(pKeyer, szAgain, sizeof(szAgain), NULL) == ZCK_OK && strcmp(szKeys, szAgain) == 0);
    CHECK(zck_step_(pKeyer, -9, &nDone) == ZCK_OK && nDone == 5);
    CHECK(zck_step_(pKeyer, 9, &nDone) == ZCK_OK && nDone == 5);
    zck_close_(pKeyer);
    Picture_Delete(&scene);
    Picture_Delete(&out);
}

static void CheckParams(int _nGeneration)
{
    zck_keyer* const pKeyer = Keyer_Open(_nGeneration);
    zck_param param = {.size = sizeof(param)};
    double dblValue = 0;
    int nParams = 0;
    for (; zck_param_info_(_nGeneration, nParams, &param) == ZCK_OK; ++nParams)
        CHECK(zck_param_set_(pKeyer, param.name, param.most) >= ZCK_OK &&
              zck_param_get_(pKeyer, param.name, &dblValue) == ZCK_OK && param.least < param.most &&
              (dblValue == param.most || strcmp(param.name, "learn") == 0)); // to learn anew is no state
    CHECK(nParams == (_nGeneration == ZCK_GENERATION_1 ? 17 : 14));
    CHECK(param.help[0] != 0 && (param.choices == NULL || param.whole == 1));
    zck_close_(pKeyer);
}

static void CheckRefusals(int _nGeneration)
{
    zck_keyer* const pKeyer = Keyer_Open(_nGeneration);
    zck_keyer* pNone = pKeyer;
    PICTURE in = Picture_Scene(ZCK_FORMAT_RGB32, eWidth, eHeight, 4);
    PICTURE out = Picture_New(ZCK_FORMAT_ARGB32, eWidth, eHeight, 4);
    const zck_frame frame = in.frame;
    zck_param param = {.size = 4};
    CHECK(zck_open_(7, &pNone) == ZCK_E_ARGUMENT && pNone == NULL);
    CHECK(strstr(zck_last_error_(NULL), "generation 7") != NULL);
    CHECK(zck_open_(0, NULL) == ZCK_E_ARGUMENT && zck_flush_(NULL) == ZCK_E_ARGUMENT);
    CHECK(zck_param_info_(_nGeneration, 0, &param) == ZCK_E_ARGUMENT);
    CHECK(zck_log_set_(NULL, NULL, 9) == ZCK_E_ARGUMENT);
    CHECK(strcmp(zck_last_error_(pKeyer), "") == 0);
    zck_close_(NULL);

#define REFUSES(code, text) CHECK((code) < 0 && strstr(zck_last_error_(pKeyer), text) != NULL)
    REFUSES(zck_process_(pKeyer, NULL, &out.frame, NULL), "input is missing");
    REFUSES(zck_process_(pKeyer, &frame, NULL, NULL), "Output and mask");
    REFUSES(zck_process_(pKeyer, &frame, NULL, &out.frame), "mask must be");
    in.frame.size = 8;
    REFUSES(zck_process_(pKeyer, &in.frame, &out.frame, NULL), "record of 8 bytes");
    in.frame = frame;
    in.frame.format = ZCK_FOURCC('N', 'O', 'N', 'E');
    CHECK(zck_process_(pKeyer, &in.frame, &out.frame, NULL) == ZCK_E_FORMAT);
    in.frame = frame;
    in.frame.height = -eHeight;
    REFUSES(zck_process_(pKeyer, &in.frame, &out.frame, NULL), "160x-96");
    in.frame.height = eHeight - 1;
    REFUSES(zck_process_(pKeyer, &in.frame, &out.frame, NULL), "must be of 160x95");
    in.frame = frame;
    in.frame.planes[0] = NULL;
    REFUSES(zck_process_(pKeyer, &in.frame, &out.frame, NULL), "plane 0");
    in.frame = frame;
    in.frame.row_bytes[0] = eWidth * 4 - 1;
    REFUSES(zck_process_(pKeyer, &in.frame, &out.frame, NULL), "639 bytes a row");
    in.frame = frame;
    in.frame.format = ZCK_FORMAT_YUY2;
    in.frame.range = ZCK_RANGE_FULL + 1;
    CHECK(zck_process_(pKeyer, &in.frame, &out.frame, NULL) == ZCK_E_FORMAT);
    in.frame.range = ZCK_RANGE_DEFAULT;
    in.frame.width = eWidth - 1;
    REFUSES(zck_process_(pKeyer, &in.frame, &out.frame, NULL), "even");
    out.frame.format = ZCK_FORMAT_YUY2;
    CHECK(zck_process_(pKeyer, &frame, &out.frame, NULL) == ZCK_E_FORMAT);

    REFUSES(zck_option_set_(pKeyer, "output.thread", "true"), "follows from the frames");
    REFUSES(zck_option_set_(pKeyer, "gpu_mode", "fast"), "gpu_mode");
    REFUSES(zck_option_set_(pKeyer, NULL, NULL), "");
    REFUSES(zck_param_set_(pKeyer, "nothing", 1), "nothing");
    REFUSES(zck_param_get_(pKeyer, NULL, NULL), "null");
    REFUSES(zck_key_point_(pKeyer, &frame, 1, 1, 3), "use 3");
    REFUSES(zck_key_color_(pKeyer, 0, -1), "use -1");
    REFUSES(zck_key_auto_(pKeyer, NULL), "picture is missing");
    REFUSES(zck_load_(pKeyer, "keys.xml"), "no document");
    REFUSES(zck_load_(pKeyer, "<zl-root/>"), "no element");
    memset(in.pBytes, 128, in.nBytes);
    CHECK(zck_key_auto_(pKeyer, &frame) == ZCK_NOTHING && strstr(zck_last_error_(pKeyer), "backdrop") != NULL);
    zck_close_(pKeyer);
    Picture_Delete(&in);
    Picture_Delete(&out);
}

static void ZCK_CALL LineCount(void* _pUser, int _nLevel, const char* _szLine)
{
    *(int*)_pUser += _nLevel >= 1 && _nLevel <= 4 && _szLine[0] != 0;
}

// One keyer of each generation on a thread of its own.
#if defined(_WIN32)
static DWORD WINAPI ThreadBody(LPVOID _pGeneration)
#else
static void* ThreadBody(void* _pGeneration)
#endif
{
    for (int n = 0; n < 5; ++n)
        CheckStream(*(const int*)_pGeneration);
    return 0;
}

static void CheckThreads(void)
{
    static const int s_arrGenerations[2] = {ZCK_GENERATION_1, ZCK_GENERATION_DEFAULT};
#if defined(_WIN32)
    HANDLE arrThreads[2];
    for (int n = 0; n < 2; ++n)
        arrThreads[n] = CreateThread(NULL, 0, &ThreadBody, (LPVOID)&s_arrGenerations[n], 0, NULL);
    CHECK(WaitForMultipleObjects(2, arrThreads, TRUE, INFINITE) == WAIT_OBJECT_0);
    for (int n = 0; n < 2; ++n)
        CloseHandle(arrThreads[n]);
#else
    pthread_t arrThreads[2];
    for (int n = 0; n < 2; ++n)
        CHECK(pthread_create(&arrThreads[n], NULL, &ThreadBody, (void*)&s_arrGenerations[n]) == 0);
    for (int n = 0; n < 2; ++n)
        CHECK(pthread_join(arrThreads[n], NULL) == 0);
#endif
}

static void CheckAll(void)
{
    int nLines = 0;
    CHECK(strncmp(zck_version_(), "ZChromaKey ", 11) == 0);
    CHECK(zck_log_set_(&LineCount, &nLines, 3) == ZCK_OK && nLines > 0);
    for (int nGeneration = ZCK_GENERATION_1; nGeneration <= ZCK_GENERATION_2; ++nGeneration)
    {
        CheckPlaces(nGeneration);
        CheckStream(nGeneration);
        CheckEdits(nGeneration);
        CheckParams(nGeneration);
        CheckRefusals(nGeneration);
    }
    CHECK(zck_log_set_(NULL, NULL, 0) == ZCK_OK);
    CheckThreads();
}

// Keys the pictures of standard input.
static int KeyPictures(int _nGeneration, const char* _szKeys, int _nWidth, int _nHeight)
{
    static char s_szKeys[65536];
    FILE* const pFile = fopen(_szKeys, "rb");
    const size_t nKeys = pFile ? fread(s_szKeys, 1, sizeof(s_szKeys) - 1, pFile) : 0;
    zck_keyer* const pKeyer = Keyer_Open(_nGeneration);
    PICTURE picture = Picture_New(ZCK_FORMAT_RGB32, _nWidth, _nHeight, 4);
    zck_frame frameOut = picture.frame;
    frameOut.format = ZCK_FORMAT_ARGB32;
    CHECK(nKeys > 0 && zck_load_(pKeyer, s_szKeys) == ZCK_OK);
    while (fread(picture.pBytes, 1, picture.nBytes, stdin) == picture.nBytes)
    {
        CHECK(zck_process_(pKeyer, &picture.frame, &frameOut, NULL) == ZCK_OK);
        CHECK(fwrite(picture.pBytes, 1, picture.nBytes, stdout) == picture.nBytes);
    }
    zck_close_(pKeyer);
    Picture_Delete(&picture);
    if (pFile)
        fclose(pFile);
    return g_nFailures != 0;
}

int main(int _nArgs, char** _arrArgs)
{
    if (_nArgs != 2 && _nArgs != 6)
        return 2;
#if defined(_WIN32)
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    void* pModule = Module_Load(_arrArgs[1]);
    if (g_nFailures != 0)
        return 1;
    if (_nArgs == 6)
        return KeyPictures(atoi(_arrArgs[2]), _arrArgs[3], atoi(_arrArgs[4]), atoi(_arrArgs[5]));
    CheckAll();
    Library_Close(pModule);
    pModule = Module_Load(_arrArgs[1]); // a second time, as after an update of a plug-in
    if (g_nFailures == 0)
        CheckThreads();
    Library_Close(pModule);
    return g_nFailures != 0;
}
