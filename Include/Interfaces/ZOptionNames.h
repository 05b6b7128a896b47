#pragma once

/// The names of the options that IZProps of a plug-in object takes. What each does, and its default, stand in the table
/// of options that IZTables hands out.
inline constexpr char c_szOptionTimeOverlay[] = "debug.time_overlay";
inline constexpr char c_szOptionGPUFlush[] = "gpu_flush_context";
inline constexpr char c_szOptionGPUMode[] = "gpu_mode";
inline constexpr char c_szOptionKeep[] = "input.keep";
inline constexpr char c_szOptionMatrix[] = "input.matrix";
inline constexpr char c_szOptionRange[] = "input.range";
inline constexpr char c_szOptionAlpha[] = "keying.alpha";
inline constexpr char c_szOptionBorders[] = "keying.borders";
inline constexpr char c_szOptionARGB[] = "output.argb";
inline constexpr char c_szOptionDepth[] = "output.depth";
inline constexpr char c_szOptionPremultiplied[] = "output.premultiplied";
inline constexpr char c_szOptionThread[] = "output.thread";
inline constexpr char c_szOptionThreads[] = "process.threads";
