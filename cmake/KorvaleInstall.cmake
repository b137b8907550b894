# Install rules: headers in the shape of the source tree, the library, a CMake package and a pkg-config file.
include( CMakePackageConfigHelpers )

set( include_dir "${CMAKE_INSTALL_INCLUDEDIR}/korvale" )
target_include_directories( KorvaleCore PUBLIC $<INSTALL_INTERFACE:${include_dir}> )
install( TARGETS KorvaleCore EXPORT KorvaleTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET headers_X_Platform DESTINATION ${include_dir}
  FILE_SET headers_Platform DESTINATION ${include_dir} )
if( WIN32 )
  install( FILES ${KORVALE_RUNTIME_FILES} DESTINATION ${CMAKE_INSTALL_BINDIR} )
endif()
if( TARGET korvale )
  # The program finds the library beside it, wherever both are installed.
  file( RELATIVE_PATH lib_from_bin "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}" )
  set_target_properties( korvale PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin}" )
  install( TARGETS korvale RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} )
endif()

set( package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Korvale" )
install( EXPORT KorvaleTargets NAMESPACE Korvale:: DESTINATION ${package_dir} )
configure_package_config_file( cmake/KorvaleConfig.cmake.in "${CMAKE_BINARY_DIR}/KorvaleConfig.cmake"
  INSTALL_DESTINATION ${package_dir} )
write_basic_package_version_file( "${CMAKE_BINARY_DIR}/KorvaleConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion )
install( FILES "${CMAKE_BINARY_DIR}/KorvaleConfig.cmake" "${CMAKE_BINARY_DIR}/KorvaleConfigVersion.cmake"
  DESTINATION ${package_dir} )

configure_file( cmake/korvale.pc.in "${CMAKE_BINARY_DIR}/korvale.pc" @ONLY )
install( FILES "${CMAKE_BINARY_DIR}/korvale.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" )
