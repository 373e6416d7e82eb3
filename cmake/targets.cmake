# How components and programs are declared.

# tsh_component(FOLDER ...): see components.cmake. Its sources are part of the library. In unity builds
# they are compiled together, so they must not declare the same name twice.
function(tsh_component folder)
  add_subdirectory(${folder})
  get_target_property(sources tsh_objects SOURCES)
  list(FILTER sources INCLUDE REGEX "^${PROJECT_SOURCE_DIR}/${folder}/")
  set_source_files_properties(${sources} PROPERTIES UNITY_GROUP ${folder})
  if(NOT INTERNAL IN_LIST ARGN)
    set_property(GLOBAL APPEND PROPERTY TSH_PUBLIC_COMPONENTS ${folder})
  endif()
endfunction()

# ocmd_tool(NAME [CORE TARGET] SOURCES FILE... LIBRARIES TARGET...): a program that is built into
# bin/ and installed, from main.cpp and the sources. With CORE the sources become a static library of
# that name, which tests and fuzzers link too.
function(ocmd_tool name)
  cmake_parse_arguments(PARSE_ARGV 1 tool "" CORE "SOURCES;LIBRARIES")
  add_executable(${name} main.cpp)
  if(tool_CORE)
    add_library(${tool_CORE} STATIC ${tool_SOURCES})
    target_link_libraries(${tool_CORE} PUBLIC ${tool_LIBRARIES})
    target_link_libraries(${name} PRIVATE ${tool_CORE})
  else()
    target_sources(${name} PRIVATE ${tool_SOURCES})
    target_link_libraries(${name} PRIVATE ${tool_LIBRARIES})
  endif()
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${TSH_PROGRAM_DIR})
  set_property(GLOBAL APPEND PROPERTY TSH_PROGRAMS ${name})
endfunction()
