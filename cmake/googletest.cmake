# GoogleTest, as the targets gtest and gtest_main: built from its sources if they are found, with the flags
# of the build (sanitizers, -m32, coverage); else the installed libraries.
find_path(TSH_GOOGLETEST_SOURCES googletest/include/gtest/gtest.h PATHS /usr/src/googletest
          DOC "Folder of GoogleTest's sources" NO_DEFAULT_PATH)
if(TSH_GOOGLETEST_SOURCES)
  set(INSTALL_GTEST OFF)
  add_subdirectory(${TSH_GOOGLETEST_SOURCES} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  foreach(library gtest gtest_main)
    target_compile_options(${library} PRIVATE -w) # ignores warnings in its sources
  endforeach()
else()
  find_package(GTest 1.12)
  if(NOT GTest_FOUND)
    message(FATAL_ERROR "The tests need GoogleTest 1.12 or later. Install it (Debian: googletest), "
                        "name the folder of its sources with -DTSH_GOOGLETEST_SOURCES=FOLDER, or "
                        "build without tests: -DTSH_BUILD_TESTS=OFF.")
  endif()
  add_library(gtest ALIAS GTest::gtest)
  add_library(gtest_main ALIAS GTest::gtest_main)
endif()
include(GoogleTest)
