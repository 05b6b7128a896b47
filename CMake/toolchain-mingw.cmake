# Windows x64 programs made on Linux with the MinGW-w64 GCC (UCRT); tests run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(z_triplet x86_64-w64-mingw32ucrt)
set(CMAKE_CXX_COMPILER ${z_triplet}-g++)
set(CMAKE_RC_COMPILER ${z_triplet}-windres)

# GCC may leave vectors misaligned on the stack of Windows x64; the assembler then has to emit moves that allow it.
set(CMAKE_CXX_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")
foreach(z_kind EXE SHARED MODULE)
  # Programs and the module need nothing but the system's own DLLs.
  set(CMAKE_${z_kind}_LINKER_FLAGS_INIT "-static")
endforeach()

# Never the headers or libraries of the machine that builds.
set(CMAKE_FIND_ROOT_PATH /usr/${z_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR wine)
