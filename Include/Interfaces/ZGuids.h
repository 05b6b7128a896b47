#pragma once

#include "Interfaces/ZPlatform.h"

/// Class and library identifiers, and how a module is entered.

/// The chroma-key plug-in object: IZChromaKey, IZFProcess, IZProps, IZPlugin, IZFPersist, IZSteps, IZTables, IZScript.
inline constexpr GUID CLSID_ZChromaKey = {0xFF12951C, 0xDC32, 0x42B7, {0xB6, 0x76, 0x58, 0x38, 0x83, 0xEF, 0x57, 0x4E}};
/// A key set that travels on its own: IZKey.
inline constexpr GUID CLSID_ZKey = {0xF74E5C32, 0xD592, 0x4C20, {0xA4, 0xE7, 0xA4, 0x70, 0xA7, 0x13, 0xFF, 0x8A}};
/// The plug-in object of the second generation: IZChromaKey2 in place of IZChromaKey, and the others.
inline constexpr GUID CLSID_ZChromaKey2 = {
    0x71527D2A, 0x8BB6, 0x4BB9, {0x80, 0x3C, 0xE0, 0x65, 0xBA, 0xFD, 0x14, 0x34}};
/// A key set of the second generation that travels on its own: IZKey2.
inline constexpr GUID CLSID_ZKey2 = {0x5AF3A9DB, 0xE515, 0x49AF, {0xB3, 0x74, 0xA5, 0xE1, 0xB7, 0xF4, 0xB0, 0x8C}};
/// The type library ZCHROMAKEYLib, version 1.0.
inline constexpr GUID LIBID_ZCHROMAKEYLib = {
    0xD3F4C631, 0xFC55, 0x4B9E, {0xA3, 0x00, 0x5E, 0x86, 0xF7, 0xBA, 0x97, 0xEF}};

/// The module's exports "DllGetClassObject" (hands out a class factory) and "DllCanUnloadNow" (S_OK: no object lives).
using ZDLLGETCLASSOBJECT = HRESULT(STDMETHODCALLTYPE*)(REFCLSID _clsid, REFIID _iid, void** _ppvFactory);
using ZDLLCANUNLOADNOW = HRESULT(STDMETHODCALLTYPE*)();
