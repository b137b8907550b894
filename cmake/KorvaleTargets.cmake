# Helpers that every CMakeLists.txt of the tree uses.

set( KORVALE_PLATFORM_DIR "Linux" )
if( WIN32 )
  set( KORVALE_PLATFORM_DIR "Windows" )
endif()

# Compiler settings of everything that is ours.
add_library( KorvaleSettings INTERFACE )
target_compile_options( KorvaleSettings INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-Wall;-Wextra;-Wconversion;-Wshadow> )
if( KORVALE_WARNINGS_AS_ERRORS )
  target_compile_options( KorvaleSettings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Werror> )
  # GCC 12 and 13 see overruns in std::string( "literal" ) + x where there are none, depending on the literal's length.
  target_compile_options( KorvaleSettings INTERFACE
    $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,14>>:-Wno-error=array-bounds;-Wno-error=restrict;-Wno-error=stringop-overflow;-Wno-error=stringop-overread> )
endif()
if( WIN32 )
  target_compile_definitions( KorvaleSettings INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00 )
endif()
if( KORVALE_SANITIZE )
  target_compile_options( KorvaleSettings INTERFACE -fsanitize=${KORVALE_SANITIZE} -fno-omit-frame-pointer )
  target_compile_definitions( KorvaleSettings INTERFACE KORVALE_SANITIZED )
  target_link_options( KorvaleSettings INTERFACE -fsanitize=${KORVALE_SANITIZE} )
  if( KORVALE_SANITIZE MATCHES "undefined" )
    target_compile_options( KorvaleSettings INTERFACE -fno-sanitize-recover=undefined )
  endif()
endif()

# korvale_precompile( TARGET HEADER... ): makes the sources of a target compile faster; they include what they use all the
# same. A compiler launcher caches sources, which it does worse with precompiled headers.
function( korvale_precompile target )
  if( KORVALE_PRECOMPILE_HEADERS AND NOT CMAKE_CXX_COMPILER_LAUNCHER )
    target_precompile_headers( ${target} PRIVATE ${ARGN} )
  endif()
endfunction()
set( KORVALE_COMMON_HEADERS <algorithm> <atomic> <functional> <map> <memory> <mutex> <string> <unordered_map> <vector> )

# korvale_batch( TARGET SIZE ): compiles several sources of a target at a time, so that what they include is compiled once.
# Names in unnamed namespaces are unique in the target for that reason. A compiler launcher caches single sources better.
function( korvale_batch target size )
  if( size GREATER 1 AND NOT CMAKE_CXX_COMPILER_LAUNCHER )
    set_target_properties( ${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${size} )
    # GCC takes sources that a batch includes for headers, where unnamed namespaces are a fault.
    target_compile_options( ${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage> )
  endif()
endfunction()

# korvale_vectorise( TARGET FILE... ): sources with loops over all samples, which the compiler is to turn into vector
# instructions. GCC crashes on headers that were precompiled with less optimisation than -O2.
function( korvale_vectorise target )
  set_source_files_properties( ${ARGN} TARGET_DIRECTORY ${target} PROPERTIES
    COMPILE_OPTIONS "$<$<CONFIG:Release>:-O3>;-ffp-contract=off" )
  if( CMAKE_CXX_FLAGS_RELEASE MATCHES "-O1" )
    set_source_files_properties( ${ARGN} TARGET_DIRECTORY ${target} PROPERTIES SKIP_PRECOMPILE_HEADERS ON )
  endif()
endfunction()

# korvale_library( NAME ): a shared library Korvale::NAME, whose sources and headers the folders add.
function( korvale_library name )
  set( target "Korvale${name}" )
  string( TOUPPER "${name}" upper )
  add_library( ${target} SHARED )
  add_library( Korvale::${name} ALIAS ${target} )
  set_target_properties( ${target} PROPERTIES
    EXPORT_NAME ${name}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR} )
  target_compile_features( ${target} PUBLIC cxx_std_20 )
  target_compile_definitions( ${target} PRIVATE KORVALE_BUILDING_${upper} )
  target_link_libraries( ${target} PRIVATE $<BUILD_INTERFACE:KorvaleSettings> )
  korvale_precompile( ${target} ${KORVALE_COMMON_HEADERS} )
  korvale_batch( ${target} ${KORVALE_BATCH_SIZE} )
  if( NOT WIN32 )
    # Nobody replaces our functions from outside, so they may call and inline one another directly.
    target_compile_options( ${target} PRIVATE -fno-semantic-interposition )
    target_link_options( ${target} PRIVATE -Wl,-Bsymbolic-functions )
  endif()
endfunction()

korvale_library( Core )
find_package( Threads REQUIRED )
target_link_libraries( KorvaleCore PRIVATE Threads::Threads )

# Folders of the imaging library set this to KorvaleImaging.
set( KORVALE_LIBRARY KorvaleCore )

# korvale_sources( FILE... ): sources of the library, relative to the calling folder.
function( korvale_sources )
  foreach( file IN LISTS ARGN )
    target_sources( ${KORVALE_LIBRARY} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${file}" )
  endforeach()
endfunction()

# korvale_headers( ROOT FILE... ): public headers, installed below the include folder as they lie below ROOT.
function( korvale_headers root )
  set( paths )
  foreach( file IN LISTS ARGN )
    list( APPEND paths "${CMAKE_CURRENT_SOURCE_DIR}/${file}" )
  endforeach()
  get_filename_component( name "${root}" NAME )
  string( MAKE_C_IDENTIFIER "headers_${name}" set )
  target_sources( ${KORVALE_LIBRARY} PUBLIC FILE_SET ${set} TYPE HEADERS BASE_DIRS "${root}" FILES ${paths} )
endfunction()

# korvale_classes( NAME... ): a header and a source of that name each, in a subsystem of X-Platform.
function( korvale_classes )
  foreach( name IN LISTS ARGN )
    korvale_sources( "${name}.cpp" )
    korvale_headers( "${CMAKE_SOURCE_DIR}/X-Platform" "${name}.h" )
  endforeach()
endfunction()

# On Windows the libraries of the compiler and our own lie beside the programs, so that they start from anywhere.
function( korvale_copy_runtime )
  set( CMAKE_RUNTIME_LIBRARIES libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll )
  foreach( dll IN LISTS CMAKE_RUNTIME_LIBRARIES )
    execute_process( COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE )
    if( NOT IS_ABSOLUTE "${path}" )
      find_file( KORVALE_RUNTIME_${dll} ${dll} PATHS /usr/x86_64-w64-mingw32/lib NO_CMAKE_FIND_ROOT_PATH REQUIRED )
      set( path "${KORVALE_RUNTIME_${dll}}" )
    endif()
    configure_file( "${path}" "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${dll}" COPYONLY )
    list( APPEND files "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${dll}" )
  endforeach()
  set( KORVALE_RUNTIME_FILES ${files} PARENT_SCOPE ) # to be installed beside them too
endfunction()
if( WIN32 )
  korvale_copy_runtime()
endif()
