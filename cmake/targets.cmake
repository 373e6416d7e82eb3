# Functions that declare components and programs.

# tsh_component(DIRECTORY ...): see components.cmake. Its sources are part of the library. In unity builds
# they are compiled together, so they must not declare the same name twice.
function(tsh_component folder)
  add_subdirectory(${folder})
  get_target_property(sources tsh_objects SOURCES)
  list(FILTER sources INCLUDE REGEX "^${PROJECT_SOURCE_DIR}/${folder}/")
  set_source_files_properties(${sources} PROPERTIES UNITY_GROUP ${folder})
  cmake_parse_arguments(PARSE_ARGV 1 component INTERNAL TOPIC INCLUDES)
  if(NOT component_INTERNAL)
    set_property(GLOBAL APPEND PROPERTY TSH_PUBLIC_COMPONENTS ${folder})
    tsh_topic_header(${folder} ${component_TOPIC})
  endif()
endfunction()

# tsh_public_headers(RESULT DIRECTORY): paths relative to the project.
function(tsh_public_headers result folder)
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} ${folder}/*.h)
  list(FILTER headers EXCLUDE REGEX "_internal\\.h$")
  set(${result} ${headers} PARENT_SCOPE)
endfunction()

# tsh_topic_header(DIRECTORY TOPIC): tsh/TOPIC.h, which tsh/tsh.h includes.
function(tsh_topic_header folder topic)
  tsh_public_headers(headers ${folder})
  list(TRANSFORM headers REPLACE "(.+)" "#include \"\\1\"\n")
  list(JOIN headers "" includes)
  string(TOUPPER TSH_${topic}_H guard)
  file(CONFIGURE OUTPUT ${TSH_HEADER_DIR}/tsh/${topic}.h
       CONTENT "#ifndef ${guard}\n#define ${guard}\n\n${includes}\n#endif\n")
  set_property(GLOBAL APPEND_STRING PROPERTY TSH_TOPIC_INCLUDES "#include \"tsh/${topic}.h\"\n")
  get_property(includes GLOBAL PROPERTY TSH_TOPIC_INCLUDES)
  file(CONFIGURE OUTPUT ${TSH_HEADER_DIR}/tsh/tsh.h
       CONTENT "/* All headers of libtsh. */\n#ifndef TSH_TSH_H\n#define TSH_TSH_H\n\n${includes}\n#endif\n")
endfunction()

# ocmd_tool(NAME [CORE TARGET | TESTED_CORE TARGET] SOURCES FILE... LIBRARIES TARGET...): a program that is
# built into bin/ and installed, from main.cpp and the sources. With CORE the sources become a static
# library of that name, which tests, fuzzers and other tools link too; with TESTED_CORE only in builds with
# tests or fuzzers. In unity builds sources are compiled together, so they must not declare the same name
# twice.
function(ocmd_tool name)
  cmake_parse_arguments(PARSE_ARGV 1 tool "" "CORE;TESTED_CORE" "SOURCES;LIBRARIES")
  if(TSH_BUILD_TESTS OR TSH_BUILD_FUZZ)
    string(APPEND tool_CORE "${tool_TESTED_CORE}")
  endif()
  add_executable(${name} main.cpp)
  if(tool_CORE)
    add_library(${tool_CORE} STATIC)
    target_link_libraries(${name} PRIVATE ${tool_CORE})
    set(target ${tool_CORE})
  else()
    set(target ${name})
  endif()
  target_sources(${target} PRIVATE ${tool_SOURCES})
  target_link_libraries(${target} PUBLIC ${tool_LIBRARIES})
  if(tool_CORE OR tool_TESTED_CORE)
    # Checked containers cost ocmd_diff 9 % of its instructions, a listing 0.04 %.
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_GLIBCXX_ASSERTIONS>)
  endif()
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${TSH_PROGRAM_DIR})
  set_property(GLOBAL APPEND PROPERTY TSH_PROGRAMS ${name})
endfunction()
