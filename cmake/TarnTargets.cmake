# How targets of this tree are made: our warnings as errors, and a public include folder that shows a target's
# own directory and nothing else, so that including a header of a target one does not name fails to compile.

include(CheckCXXCompilerFlag)
string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()
find_program(MOLD_PROGRAM mold)
if(MOLD_PROGRAM)
  add_link_options(-fuse-ld=mold)
endif()

add_library(tarn_options INTERFACE)
target_compile_options(tarn_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 reports false positives inside libstdc++ and Boost templates inlined into our code.
  target_compile_options(tarn_options INTERFACE -Wno-maybe-uninitialized -Wno-dangling-reference -Wno-restrict
                                                -Wno-stringop-overflow -Wno-stringop-overread -Wno-array-bounds
                                                -Wno-mismatched-new-delete)
endif()
if(NOT TARN_SANITIZE)
  # What our code does wrong with a stranger's bytes ends the program instead of giving it away. Debian 12's crt1.o is
  # not marked for -fcf-protection, so there the processor checks jumps only once that is.
  target_compile_options(tarn_options INTERFACE -fstack-protector-strong)
  target_compile_definitions(tarn_options INTERFACE _GLIBCXX_ASSERTIONS)
  foreach(flag -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "TARN_HAS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
      target_compile_options(tarn_options INTERFACE ${flag})
    endif()
  endforeach()
  if("${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${build_type}}" MATCHES "-O[1-3s]")
    set(TARN_FORTIFY ON)  # needs the optimiser
    target_compile_options(tarn_options INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  endif()
  add_link_options(-Wl,-z,relro,-z,now)
endif()
if(TARN_SANITIZE)
  add_compile_options(-fsanitize=${TARN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TARN_SANITIZE})
endif()

# tarn_library(NAME SOURCES... [PUBLIC targets...] [PRIVATE targets...])
# PUBLIC: what the headers use. PRIVATE: what only the sources use.
function(tarn_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  set(visible ${CMAKE_BINARY_DIR}/include/${name})
  get_filename_component(parent ${visible}/${folder} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  if(NOT EXISTS ${visible}/${folder})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${visible}/${folder} SYMBOLIC)
  endif()
  if(ARG_SOURCES)
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${visible})
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE tarn_options ${ARG_PRIVATE})
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${visible})
    target_link_libraries(${name} INTERFACE ${ARG_PUBLIC})
  endif()
endfunction()

# tarn_qml_module(NAME URI uri [QML files...] [SOURCES files...] [RESOURCES files...] [PUBLIC targets...] [PRIVATE targets...])
# A static library with views and their logic. Its types exist once its function in QmlModules.h has been called; a program
# that shows them adds qrc:/qt/qml to its engine's import paths.
function(tarn_qml_module name)
  cmake_parse_arguments(ARG "" "URI" "QML;SOURCES;RESOURCES;PUBLIC;PRIVATE" ${ARGN})
  set(CMAKE_AUTOMOC ON)
  tarn_library(${name} SOURCES ${ARG_SOURCES} PUBLIC ${ARG_PUBLIC} Qt6::Quick PRIVATE ${ARG_PRIVATE})
  qt_add_qml_module(${name} URI ${ARG_URI} VERSION 1.0 RESOURCE_PREFIX /qt/qml NO_PLUGIN
                    QML_FILES ${ARG_QML} RESOURCES ${ARG_RESOURCES})
  # What Qt's tools write keeps to their warnings, not to ours.
  get_target_property(sources ${name} SOURCES)
  list(FILTER sources INCLUDE REGEX "/(\\.rcc|.*_qmltyperegistrations).*\\.cpp$")
  set_source_files_properties(${sources} PROPERTIES COMPILE_OPTIONS -w)
endfunction()

# tarn_program(NAME SOURCES... LINK targets...)
function(tarn_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tarn_options ${ARG_LINK})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
endfunction()

# What tests run with under a sanitizer.
set(TARN_SANITIZER_ENVIRONMENT "")
if(TARN_SANITIZE MATCHES "thread")
  # Packaged libraries are not instrumented, so what they do under their own locks looks like a race.
  set(TARN_SANITIZER_ENVIRONMENT "TSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/tsan-suppressions.txt")
elseif(TARN_SANITIZE MATCHES "address")
  set(TARN_SANITIZER_ENVIRONMENT "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/lsan-suppressions.txt")
endif()

# tarn_test(NAME SOURCES... LINK targets... [TIMEOUT seconds]): a GoogleTest program, each case a ctest case.
function(tarn_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINK" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE tarn_options GTest::gmock_main ${ARG_LINK})
  target_compile_definitions(${name} PRIVATE TARN_SOURCE_DIR="${CMAKE_SOURCE_DIR}" TARN_BIN_DIR="${CMAKE_BINARY_DIR}/bin")
  set(properties TIMEOUT ${ARG_TIMEOUT})
  if(TARN_SANITIZER_ENVIRONMENT)
    list(APPEND properties ENVIRONMENT "${TARN_SANITIZER_ENVIRONMENT}")
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST NO_PRETTY_VALUES PROPERTIES ${properties})
endfunction()
