# cmake -DOUTPUT=SOURCE -DHEADER=HEADER -DCLASS=CLASS "-DFILES=NAME=PATH|NAME=PATH|..." -P EmbedFiles.cmake
#
# Writes a source that defines, for each file, the static member CLASS::NAME, a std::string_view of the file's bytes.
# The files must be text without the sequence )embedded".
string( REPLACE "|" ";" FILES "${FILES}" )
set( source "#include \"${HEADER}\"\n" )
foreach( file IN LISTS FILES )
  string( REGEX MATCH "^([A-Za-z]+)=(.+)$" parts "${file}" )
  file( READ "${CMAKE_MATCH_2}" text )
  string( APPEND source "\nconst std::string_view ${CLASS}::${CMAKE_MATCH_1} = R\"embedded(${text})embedded\";\n" )
endforeach()
file( WRITE "${OUTPUT}" "${source}" )
