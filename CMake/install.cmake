# What an installation has: the module, zkhost, and what a host author needs to build against them. The tree can be
# moved: nothing in it knows where it lies.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(z_include ${CMAKE_INSTALL_INCLUDEDIR}/zchromakey)
set(z_package ${CMAKE_INSTALL_LIBDIR}/cmake/ZChromaKey)
if(WIN32) # a program finds the module beside itself
  set(z_module ${CMAKE_INSTALL_BINDIR}/ZChromaKey.dll)
  set(z_pc_libs "-lole32 -loleaut32 -luuid")
else()
  set(z_module ${CMAKE_INSTALL_LIBDIR}/libZChromaKey.so)
  set(z_pc_libs -ldl)
endif()

install(TARGETS zkhost RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT keyer)
# No import library: a host asks the loaded module for its entries.
install(TARGETS ZChromaKey
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT keyer LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT keyer)
install(DIRECTORY Include/Interfaces Include/Sdk DESTINATION ${z_include} COMPONENT dev
  FILES_MATCHING PATTERN "*.h" PATTERN "*.idl")
install(FILES Include/Base/ZPtr.h Include/Base/ZUnknown.h DESTINATION ${z_include}/Base COMPONENT dev) # what Sdk includes
install(DIRECTORY Docs/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
install(DIRECTORY Host/python/zchromakey DESTINATION lib/python3/dist-packages COMPONENT python
  PATTERN __pycache__ EXCLUDE)
install(FILES LICENSE CHANGELOG.md Docs/HostGuide.md Docs/KeyingGuide.md Docs/KeyingPage.md Docs/Options.md
  Docs/guide-backdrop.png Docs/guide-solid.png Docs/guide-edges.png Docs/guide-colours.png Docs/guide-clip.png
  Docs/keyingpage.png Docs/keyingpage-areas.png Docs/keyingpage-tablet.png
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT keyer)

# For find_package(ZChromaKey) and for pkg-config.
configure_package_config_file(CMake/ZChromaKeyConfig.cmake.in ${CMAKE_BINARY_DIR}/package/ZChromaKeyConfig.cmake
  INSTALL_DESTINATION ${z_package} PATH_VARS z_include NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/ZChromaKeyConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/ZChromaKeyConfig.cmake
  ${CMAKE_BINARY_DIR}/package/ZChromaKeyConfigVersion.cmake DESTINATION ${z_package} COMPONENT dev)
file(RELATIVE_PATH z_up /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" z_up ${z_up})
configure_file(CMake/zchromakey.pc.in ${CMAKE_BINARY_DIR}/package/zchromakey.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/zchromakey.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
