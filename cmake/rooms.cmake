# kx3_room(NAME [SOURCES file...] [ABOVE room...]): the room src/NAME as library kx3_NAME.
#
# A room links only the rooms that it stands above, and its compiler finds only their headers: each room
# has an include root of its own, which holds nothing but a link to its folder. An include of any other
# room is a file that does not exist.
function(kx3_room name)
  cmake_parse_arguments(PARSE_ARGV 1 room "" "" "SOURCES;ABOVE")
  set(include_root ${PROJECT_BINARY_DIR}/rooms/${name})
  file(MAKE_DIRECTORY ${include_root})
  file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src/${name} ${include_root}/${name} SYMBOLIC)
  list(TRANSFORM room_ABOVE PREPEND kx3_)
  if(room_SOURCES)
    list(TRANSFORM room_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/src/${name}/)
    add_library(kx3_${name} STATIC ${room_SOURCES})
    target_link_libraries(kx3_${name} PUBLIC ${room_ABOVE} PRIVATE kx3_warnings)
    target_include_directories(kx3_${name} PUBLIC ${include_root})
  else() # headers only
    add_library(kx3_${name} INTERFACE)
    target_link_libraries(kx3_${name} INTERFACE ${room_ABOVE})
    target_include_directories(kx3_${name} INTERFACE ${include_root})
  endif()
endfunction()
