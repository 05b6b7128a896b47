# What the module has on Windows besides the objects: registration, exports, type library, version.
enable_language(RC)
set(z_idl ${PROJECT_SOURCE_DIR}/Include/Interfaces/ZChromaKey.idl)
set(z_tlb ${CMAKE_CURRENT_BINARY_DIR}/ZChromaKey.tlb)
if(MSVC)
  add_custom_command(OUTPUT ${z_tlb} DEPENDS ${z_idl} VERBATIM
    COMMAND midl /nologo /env x64 /tlb ${z_tlb} /header nul /iid nul /proxy nul /dlldata nul ${z_idl})
else()
  # MinGW has the compiler but none of the system's own descriptions; Wine has these.
  find_program(ZCK_WIDL NAMES x86_64-w64-mingw32ucrt-widl x86_64-w64-mingw32-widl widl REQUIRED)
  find_path(ZCK_SYSTEM_IDL oaidl.idl PATHS /usr/include/wine/wine/windows /usr/include/wine/windows REQUIRED
    NO_CMAKE_FIND_ROOT_PATH)
  find_path(ZCK_SYSTEM_TLB stdole2.tlb PATHS /usr/lib/x86_64-linux-gnu/wine/x86_64-windows REQUIRED
    NO_CMAKE_FIND_ROOT_PATH)
  add_custom_command(OUTPUT ${z_tlb} DEPENDS ${z_idl} VERBATIM
    COMMAND ${ZCK_WIDL} -m64 -I${ZCK_SYSTEM_IDL} -L${ZCK_SYSTEM_TLB} -t -o ${z_tlb} ${z_idl})
endif()

configure_file(${CMAKE_CURRENT_LIST_DIR}/ZChromaKey.rc.in ZChromaKey.rc @ONLY)
set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/ZChromaKey.rc PROPERTIES OBJECT_DEPENDS ${z_tlb})
target_sources(ZChromaKey PRIVATE
  ../Com/ComExports.cpp ../Com/Registration.cpp ../Com/ZChromaKey.def ${z_tlb} ${CMAKE_CURRENT_BINARY_DIR}/ZChromaKey.rc)
target_include_directories(ZChromaKey PRIVATE ${CMAKE_CURRENT_BINARY_DIR}) # the resources name the type library
target_link_libraries(ZChromaKey PRIVATE ole32 oleaut32 advapi32 uuid)
set_target_properties(ZChromaKey PROPERTIES PREFIX "") # the class is registered under this file name everywhere
