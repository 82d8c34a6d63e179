# SPDX-License-Identifier: MIT
# What every target of the project has in common, and short forms to declare a library, a program and tests.

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_library(lightpen_options INTERFACE)
# Our presets make errors of these (CMAKE_COMPILE_WARNING_AS_ERROR); another compiler's new warning stops no packager.
target_compile_options(lightpen_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wnon-virtual-dtor
  -Woverloaded-virtual -Wold-style-cast -Wundef
  # The mapping is exact to the last bit: no fused multiply-add, no reassociation.
  -ffp-contract=off -fno-fast-math
  # g++ 12 sees overlaps in sums of strings at -O3 that are not there (its bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(LIGHTPEN_SANITIZE)
  target_compile_options(lightpen_options INTERFACE
    -fsanitize=${LIGHTPEN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(lightpen_options INTERFACE -fsanitize=${LIGHTPEN_SANITIZE})
  # What the sanitizers add to the code makes g++ see values without one where there are none.
  target_compile_options(lightpen_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# lightpen_unproven(VARIABLE TOP headers...): those that the source of their name does not include before anything else.
# A source that does so proves by being compiled that the header needs nothing before it.
function(lightpen_unproven VARIABLE TOP)
  set(unproven)
  foreach(header ${ARGN})
    string(REGEX REPLACE "\\.h$" ".cpp" source ${header})
    set(first)
    if(EXISTS ${source})
      file(STRINGS ${source} first REGEX "^ *# *include" LIMIT_COUNT 1)
    endif()
    file(RELATIVE_PATH path ${TOP} ${header})
    if(NOT first STREQUAL "#include \"${path}\"")
      list(APPEND unproven ${header})
    endif()
  endforeach()
  set(${VARIABLE} ${unproven} PARENT_SCOPE)
endfunction()

# lightpen_headers(TARGET headers...): the target's headers, which are included by their path below src/, tools/ or
# tests/, whichever they are in. Those that no source proves to compile alone are compiled on their own by
# all_verify_interface_header_sets.
function(lightpen_headers TARGET)
  get_target_property(type ${TARGET} TYPE)
  set(scope PUBLIC)
  if(type STREQUAL INTERFACE_LIBRARY)
    set(scope INTERFACE)
  endif()
  if(ARGN)
    file(RELATIVE_PATH path ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    string(REGEX REPLACE "/.*" "" top "${path}")
    set(top ${CMAKE_SOURCE_DIR}/${top})
    target_include_directories(${TARGET} ${scope} ${top})
    lightpen_unproven(unproven ${top} ${ARGN})
    if(unproven)
      target_sources(${TARGET} ${scope} FILE_SET HEADERS BASE_DIRS ${top} FILES ${unproven})
      set_target_properties(${TARGET} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
    endif()
  endif()
endfunction()

# lightpen_files(VARIABLE PATTERN): the files of this folder and of those below it that have no targets of their own.
function(lightpen_files VARIABLE PATTERN)
  file(GLOB_RECURSE files CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${PATTERN})
  file(GLOB_RECURSE others ${CMAKE_CURRENT_SOURCE_DIR}/*/CMakeLists.txt)
  foreach(other ${others})
    get_filename_component(folder ${other} DIRECTORY)
    list(FILTER files EXCLUDE REGEX "^${folder}/")
  endforeach()
  set(${VARIABLE} ${files} PARENT_SCOPE)
endfunction()

# lightpen_compile_together(TARGET sources...): under a sanitizer a dozen of the target's files become one unit, since most of
# what a file costs the compiler is in the headers that all of them include. The other presets compile each file alone, which
# keeps each complete. So does this one for a file that declares a name of its own which another has too.
function(lightpen_compile_together TARGET)
  if(NOT LIGHTPEN_SANITIZE)
    return()
  endif()
  set(claimed)
  foreach(source ${ARGN})
    file(STRINGS ${source} lines REGEX "^[A-Za-z][^/]* [A-Za-z0-9_]+( =| :| \\{|[({;]|\\[)")
    list(FILTER lines EXCLUDE REGEX "^(namespace|template|using namespace) ")
    set(names)
    foreach(line ${lines})
      string(REGEX MATCH " ([A-Za-z0-9_]+)( =| :| \\{|[({;]|\\[)" name "${line}")
      list(APPEND names ${CMAKE_MATCH_1})
    endforeach()
    list(REMOVE_DUPLICATES names)
    list(REMOVE_ITEM names const noexcept)
    foreach(name ${names})
      if(name IN_LIST claimed)
        set_source_files_properties(${source} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
      endif()
    endforeach()
    list(APPEND claimed ${names})
  endforeach()
  set_target_properties(${TARGET} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
  # These warn of a local name that a neighbour has too, and of a type of a file's own as if it stood in a header.
  target_compile_options(${TARGET} PRIVATE -Wno-shadow $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endfunction()

# lightpen_library(NAME libraries...): the static library of this folder, from all of its files but the programs'
# entries (main*.cpp).
function(lightpen_library NAME)
  lightpen_files(sources *.cpp)
  lightpen_files(headers *.h)
  list(FILTER sources EXCLUDE REGEX "/main[A-Za-z]*\\.cpp$|/tests/.*Test\\.cpp$")
  add_library(lightpen_${NAME} STATIC ${sources} ${headers})
  lightpen_headers(lightpen_${NAME} ${headers})
  set_target_properties(lightpen_${NAME} PROPERTIES LINKER_LANGUAGE CXX)
  target_link_libraries(lightpen_${NAME} PUBLIC lightpen_options Threads::Threads ${ARGN})
  lightpen_compile_together(lightpen_${NAME} ${sources})
endfunction()

# Whether libraries are optimised once more as they are linked: in an optimised build, where the compiler can. A packager's
# own decision stands, for all targets.
set(LIGHTPEN_LINKS_TO_OPTIMISE OFF)
if(NOT "${CMAKE_BUILD_TYPE}" MATCHES "^(Debug)?$" AND NOT LIGHTPEN_SANITIZE AND NOT DEFINED CMAKE_INTERPROCEDURAL_OPTIMIZATION)
  include(CheckIPOSupported)
  check_ipo_supported(RESULT LIGHTPEN_LINKS_TO_OPTIMISE LANGUAGES CXX)
endif()

# lightpen_quick(TARGET): a library that reports pass on their way to the pointer, through many small functions of many
# files. They become few where the linker sees all of them.
function(lightpen_quick TARGET)
  if(LIGHTPEN_LINKS_TO_OPTIMISE)
    set_target_properties(${TARGET} PROPERTIES INTERPROCEDURAL_OPTIMIZATION ON)
  endif()
  # A point is two numbers. g++ reads both at once where they have just been written one by one, and the processor then
  # waits until they are in its cache.
  target_compile_options(${TARGET} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
endfunction()

# lightpen_resources(TARGET FOLDER): copies what programs in that folder of the build read at run time: their
# information dictionary, with the version, beside them, the rest into the folder resources beside them.
function(lightpen_resources TARGET FOLDER)
  set(patterns *.bin *.plist *.strings */Localizable.strings *.svg *.htm help/* sounds/*.wav)
  list(TRANSFORM patterns PREPEND ${CMAKE_SOURCE_DIR}/resources/)
  file(GLOB originals LIST_DIRECTORIES false CONFIGURE_DEPENDS ${patterns})
  set(folders)
  foreach(original ${originals})
    file(RELATIVE_PATH resource ${CMAKE_SOURCE_DIR} ${original})
    if(resource STREQUAL "resources/Info.plist")
      set(resource Info.plist)
      configure_file(${original} ${CMAKE_BINARY_DIR}/Info.plist @ONLY)
      set(original ${CMAKE_BINARY_DIR}/Info.plist)
    endif()
    get_filename_component(folder ${FOLDER}/${resource} DIRECTORY)
    list(APPEND folders ${folder})
    list(APPEND files_${folder} ${original})
    list(APPEND copied_files ${original})
  endforeach()
  list(REMOVE_DUPLICATES folders)
  # Begun anew, so that nothing stays behind which is no resource any more.
  set(commands COMMAND ${CMAKE_COMMAND} -E rm -rf ${FOLDER}/resources)
  foreach(folder ${folders})
    list(APPEND commands COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
                         COMMAND ${CMAKE_COMMAND} -E copy ${files_${folder}} ${folder})
  endforeach()
  set(copied ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}-resources.stamp)
  add_custom_command(OUTPUT ${copied} ${commands} COMMAND ${CMAKE_COMMAND} -E touch ${copied}
                     DEPENDS ${copied_files} VERBATIM COMMENT "Copying the resources of ${TARGET}")
  target_sources(${TARGET} PRIVATE ${copied})
endfunction()

# lightpen_application(PROGRAM): gives the program a folder of its own name, with its resources.
function(lightpen_application PROGRAM)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${PROGRAM})
  if(EXISTS ${folder} AND NOT IS_DIRECTORY ${folder})
    file(REMOVE ${folder}) # the program itself, from a build before it had a folder
  endif()
  set_target_properties(${PROGRAM} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${folder})
  lightpen_resources(${PROGRAM} ${folder})
endfunction()

# lightpen_test_program(PROGRAM sources...): a program of these test files. Its target is named after the folder too;
# LIGHTPEN_TEST_LIBRARIES are what it links.
function(lightpen_test_program PROGRAM)
  add_executable(${PROGRAM} ${ARGN})
  target_link_libraries(${PROGRAM} PRIVATE ${LIGHTPEN_TEST_LIBRARIES} GTest::gmock GTest::gtest_main)
  target_include_directories(${PROGRAM} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  set_target_properties(${PROGRAM} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
  # A sanitizer looks at what is tested; quick tests would cost more in the compiler than they save.
  if(LIGHTPEN_SANITIZE)
    target_compile_options(${PROGRAM} PRIVATE -O0)
  endif()
  add_dependencies(tests_${LIGHTPEN_TEST_FOLDER} ${PROGRAM})
endfunction()

# lightpen_suites_of(VARIABLE SOURCE): the filter that runs what this file tests and nothing else.
function(lightpen_suites_of VARIABLE SOURCE)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${SOURCE})
  file(STRINGS ${SOURCE} tests REGEX "^(TYPED_)?TEST(_F|_P)?\\(")
  set(filter)
  foreach(test ${tests})
    string(REGEX REPLACE "^[A-Z_]+\\(([A-Za-z0-9_]+).*" "\\1" suite "${test}")
    list(APPEND filter ${suite}.* */${suite}.*)
  endforeach()
  if(NOT filter)
    message(FATAL_ERROR "${SOURCE} tests nothing")
  endif()
  list(REMOVE_DUPLICATES filter)
  list(JOIN filter ":" filter)
  set(${VARIABLE} ${filter} PARENT_SCOPE)
endfunction()

# lightpen_leave_out(SANITIZER units...): this folder's tests that a build with the sanitizer does not have. To be called
# before lightpen_tests.
function(lightpen_leave_out SANITIZER)
  foreach(unit ${ARGN})
    file(GLOB_RECURSE source ${CMAKE_CURRENT_SOURCE_DIR}/${unit}.cpp)
    if(NOT source)
      message(FATAL_ERROR "${unit} cannot be left out: there is no such test")
    endif()
  endforeach()
  if(LIGHTPEN_SANITIZE MATCHES ${SANITIZER})
    set(LIGHTPEN_LEFT_OUT ${ARGN} PARENT_SCOPE)
  endif()
endfunction()

# lightpen_tests(FOLDER libraries...): a test FOLDER/UnitTest for each *Test.cpp of this folder and those below it, and
# the target tests_FOLDER that builds them. A file with a main of its own is a program of its own, since it decides
# what the process looks like; all others are one program, of which each test runs its file's suites in a process of
# its own.
function(lightpen_tests FOLDER)
  set(LIGHTPEN_TEST_FOLDER ${FOLDER})
  set(LIGHTPEN_TEST_LIBRARIES ${ARGN})
  add_custom_target(tests_${FOLDER})
  lightpen_files(headers *.h)
  if(headers)
    add_library(tests_${FOLDER}_headers INTERFACE)
    target_link_libraries(tests_${FOLDER}_headers INTERFACE ${ARGN} GTest::gmock)
    lightpen_headers(tests_${FOLDER}_headers ${headers})
  endif()
  lightpen_files(sources *Test.cpp)
  set(together)
  foreach(source ${sources})
    get_filename_component(unit ${source} NAME_WE)
    if(unit IN_LIST LIGHTPEN_LEFT_OUT)
      continue()
    endif()
    file(STRINGS ${source} main REGEX "^int main\\(")
    if(main)
      lightpen_test_program(${FOLDER}_${unit} ${source})
      add_test(NAME ${FOLDER}/${unit} COMMAND ${FOLDER}_${unit})
    else()
      list(APPEND together ${source})
      lightpen_suites_of(filter ${source})
      add_test(NAME ${FOLDER}/${unit} COMMAND ${FOLDER}_tests --gtest_filter=${filter})
    endif()
    set_tests_properties(${FOLDER}/${unit} PROPERTIES LABELS ${FOLDER} TIMEOUT 120)
  endforeach()
  if(together)
    lightpen_test_program(${FOLDER}_tests ${together})
    lightpen_compile_together(${FOLDER}_tests ${together})
  endif()
endfunction()
