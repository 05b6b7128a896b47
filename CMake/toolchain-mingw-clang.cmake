# The same by clang, a second opinion: unlike the GCC, it emits moves that fault on a misaligned vector.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(z_triplet x86_64-w64-mingw32ucrt)
set(CMAKE_C_COMPILER clang-19) # GoogleTest asks for it
set(CMAKE_C_COMPILER_TARGET ${z_triplet})
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_CXX_COMPILER_TARGET ${z_triplet})
set(CMAKE_RC_COMPILER ${z_triplet}-windres)
# The standard library is the GCC's, which has its own kind of thread-local variables.
set(CMAKE_CXX_FLAGS_INIT "-femulated-tls")
foreach(z_kind EXE SHARED MODULE)
  set(CMAKE_${z_kind}_LINKER_FLAGS_INIT "-fuse-ld=lld-19 -static -pthread")
endforeach()

set(CMAKE_FIND_ROOT_PATH /usr/${z_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR wine)
