# How every target of the project is declared.
#
#   zpk_library(NAME SOURCES a.cpp … [DEPENDS target …])   a static library of one folder
#   zpk_program(NAME SOURCES main.cpp … DEPENDS target …)  a program
#   zpk_test(NAME SOURCES a_test.cpp … [DEPENDS target …] [LABELS l …] [SERIAL] [TIMEOUT s])
#                                                          a GoogleTest program, one line in ./test; with the label
#                                                          `asan` also part of the sanitizer run (target asan_tests)
#
# A library sees the headers of its DEPENDS only through `src/` and `helper/`, which are the project's include
# roots; what it may include from there is held by tools/checks/layers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(ZPK_CCACHE ccache)
if(ZPK_CCACHE)
  # Without these two, ccache passes over every source that uses a precompiled header.
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CMAKE_COMMAND}" -E env CCACHE_SLOPPINESS=pch_defines,time_macros "${ZPK_CCACHE}")
endif()
find_program(ZPK_MOLD mold)
if(ZPK_MOLD)
  add_link_options(-fuse-ld=mold)
endif()

add_library(zpk_options INTERFACE)
target_compile_options(zpk_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
  -Wcast-align -Woverloaded-virtual -Wconversion -Wsign-conversion -Wformat=2 -Wundef -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 takes a text literal plus a std::string for an overlapping copy once it inlines at -O3.
  target_compile_options(zpk_options INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(zpk_options INTERFACE -Wreserved-identifier)
endif()
target_include_directories(zpk_options INTERFACE "${CMAKE_SOURCE_DIR}/src" "${CMAKE_SOURCE_DIR}")

function(zpk_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_link_libraries(${name} PUBLIC ${arg_DEPENDS} PRIVATE $<BUILD_INTERFACE:zpk_options>)
  # The names that moc makes up are reserved ones.
  set_source_files_properties("${CMAKE_CURRENT_BINARY_DIR}/${name}_autogen/mocs_compilation.cpp" PROPERTIES
    COMPILE_OPTIONS -Wno-reserved-identifier)
endfunction()

function(zpk_program name)
  cmake_parse_arguments(arg "" "" "SOURCES;DEPENDS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_DEPENDS} zpk_options)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
endfunction()

function(zpk_test name)
  cmake_parse_arguments(arg "SERIAL" "TIMEOUT" "SOURCES;DEPENDS;LABELS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_DEPENDS} GTest::gmock GTest::gtest_main zpk_options zpk_test_options)
  target_precompile_headers(${name} REUSE_FROM zpk_test_precompiled)
  target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/tests")
  # Two tests may give their worlds the same names, so where sources are compiled several at once, these are not.
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests" UNITY_BUILD OFF)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${arg_LABELS}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8")
  if("asan" IN_LIST arg_LABELS)
    if(NOT TARGET asan_tests)
      add_custom_target(asan_tests)
    endif()
    add_dependencies(asan_tests ${name})
    if(NOT ZPK_BUILD_SANITIZED_TESTS)
      set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL TRUE)
    endif()
  endif()
  if(arg_SERIAL)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL TRUE)
  endif()
endfunction()
