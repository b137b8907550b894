# Install rules: headers in the shape of the source tree, the libraries, a CMake package and pkg-config files.
include( CMakePackageConfigHelpers )

set( include_dir "${CMAKE_INSTALL_INCLUDEDIR}/korvale" )
set( package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Korvale" )
# What is installed works wherever it is: pkg-config finds the headers and libraries from the place of its own file.
file( RELATIVE_PATH prefix_from_pkgconfig "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}" )

# korvale_install_library( NAME PACKAGE ): a library with its headers, as a component of the CMake package and as PACKAGE.pc.
function( korvale_install_library name package )
  target_include_directories( Korvale${name} PUBLIC $<INSTALL_INTERFACE:${include_dir}> )
  # A library finds the one that it is built on beside it.
  set_target_properties( Korvale${name} PROPERTIES INSTALL_RPATH "$ORIGIN" )
  install( TARGETS Korvale${name} EXPORT Korvale${name}Targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET headers_X_Platform DESTINATION ${include_dir}
    FILE_SET headers_Platform DESTINATION ${include_dir} )
  install( EXPORT Korvale${name}Targets NAMESPACE Korvale:: DESTINATION ${package_dir} )
  configure_file( cmake/${package}.pc.in "${CMAKE_BINARY_DIR}/${package}.pc" @ONLY )
  install( FILES "${CMAKE_BINARY_DIR}/${package}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" )
endfunction()

korvale_install_library( Core korvale )
if( KORVALE_BUILD_IMAGING )
  korvale_install_library( Imaging korvale-imaging )
endif()
if( WIN32 )
  install( FILES ${KORVALE_RUNTIME_FILES} DESTINATION ${CMAKE_INSTALL_BINDIR} )
endif()
if( TARGET korvale )
  # The program finds the libraries beside it, wherever both are installed.
  file( RELATIVE_PATH lib_from_bin "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}" )
  set_target_properties( korvale PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin}" )
  install( TARGETS korvale RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} )
endif()

configure_package_config_file( cmake/KorvaleConfig.cmake.in "${CMAKE_BINARY_DIR}/KorvaleConfig.cmake"
  INSTALL_DESTINATION ${package_dir} )
write_basic_package_version_file( "${CMAKE_BINARY_DIR}/KorvaleConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion )
install( FILES "${CMAKE_BINARY_DIR}/KorvaleConfig.cmake" "${CMAKE_BINARY_DIR}/KorvaleConfigVersion.cmake"
  DESTINATION ${package_dir} )
