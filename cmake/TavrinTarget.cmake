# tavrin_target(NAME): the warnings, sanitizers and definitions that every target of this tree is built with.
function(tavrin_target name)
  if(MSVC)
    target_compile_options(${name} PRIVATE /W4 /permissive- /Zc:__cplusplus /utf-8 $<$<BOOL:${TAVRIN_WERROR}>:/WX>
      # Members and bases that are not exported: host, framework and module are built with one compiler.
      /wd4251 /wd4275)
  else()
    target_compile_options(${name} PRIVATE
      -Wall -Wextra -Wpedantic -Wshadow -Woverloaded-virtual
      # qCDebug(category) << ... is written as Qt means it to be, with no argument for the macro's dots.
      $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>
      $<$<BOOL:${TAVRIN_WERROR}>:-Werror>)
    if(TAVRIN_SANITIZE)
      target_compile_options(${name} PRIVATE -fsanitize=${TAVRIN_SANITIZE} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
      target_link_options(${name} PRIVATE -fsanitize=${TAVRIN_SANITIZE})
    endif()
    if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # It takes the files that are compiled together for headers, in which a name of one file alone were a mistake.
      target_compile_options(${name} PRIVATE -Wno-subobject-linkage)
    endif()
    if(TAVRIN_FUZZ)
      target_compile_options(${name} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
  endif()
  target_compile_definitions(${name} PRIVATE NOMINMAX WIN32_LEAN_AND_MEAN)
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
endfunction()

# tavrin_compile_one_by_one(NAME...): not several files at a time, for targets whose files give names of their own to
# things of their own that are other files' too.
function(tavrin_compile_one_by_one)
  set_target_properties(${ARGN} PROPERTIES UNITY_BUILD OFF)
endfunction()

# tavrin_precompile(NAME HEADER...): headers of other projects that most files of a target include. Every file names what
# it needs all the same: the presets without precompiled headers build it on its own.
function(tavrin_precompile name)
  list(TRANSFORM ARGN REPLACE "(.+)" "<\\1>" OUTPUT_VARIABLE headers)
  target_precompile_headers(${name} PRIVATE ${headers})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT CMAKE_DISABLE_PRECOMPILE_HEADERS)
    target_compile_options(${name} PRIVATE -fpch-preprocess) # for ccache, which preprocesses first
  endif()
endfunction()

# tavrin_add_test(NAME SOURCES... [LIBRARIES...] [PRECOMPILE...]): one GoogleTest program, run once as one ctest entry.
# Its own code is not optimised, which halves the time that a compiler spends on it.
function(tavrin_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBRARIES;PRECOMPILE")
  add_executable(${name} ${arg_SOURCES})
  tavrin_target(${name})
  target_compile_options(${name} PRIVATE $<IF:$<BOOL:${MSVC}>,/Od,-O0>)
  tavrin_precompile(${name} gtest/gtest.h ${arg_PRECOMPILE})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gtest GTest::gmock)
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT})
  # Of a program that fails, ctest shows the tests that failed, not the hundreds that passed.
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "GTEST_BRIEF=1")
endfunction()

# tavrin_run_with_local_ndi(TEST): the loader finds this tree's NDI runtime when the test runs.
function(tavrin_run_with_local_ndi test)
  if(NOT WIN32)
    set(search_path LD_LIBRARY_PATH)
  elseif(CMAKE_CROSSCOMPILING)
    set(search_path WINEPATH)
  else()
    set(search_path PATH)
  endif()
  set_property(TEST ${test} APPEND PROPERTY
    ENVIRONMENT_MODIFICATION "${search_path}=path_list_prepend:${TAVRIN_NDI_DIR}")
endfunction()

# tavrin_link_ndi(NAME): links the NDI runtime without saying where it is. The loader's search path decides whether the
# vendor's runtime or the local one of this tree answers, so the binary's own run path names this tree's libraries only.
function(tavrin_link_ndi name)
  target_link_libraries(${name} PRIVATE ndi_interface ndi_local)
  if(NOT WIN32)
    set_target_properties(${name} PROPERTIES
      BUILD_WITH_INSTALL_RPATH ON
      INSTALL_RPATH "$ORIGIN/../lib;$ORIGIN/../../../lib")
  endif()
endfunction()
