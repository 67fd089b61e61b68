# How the folders of the project become targets.
#
# Every folder of code is a component: an object library that sees its own headers and those of the
# components it links to, and no others, so that an include against the layers does not compile.
# Headers are included as "recast/<component>/<header>.h", in the build tree as in an installed one.

set(CMAKE_CXX_EXTENSIONS OFF)
add_library(recast_settings INTERFACE)
target_compile_features(recast_settings INTERFACE cxx_std_20)
# Results must not depend on the machine or the optimisation level.
target_compile_options(recast_settings INTERFACE -ffp-contract=off)
add_library(recast_warnings INTERFACE)
target_link_libraries(recast_settings INTERFACE recast_warnings)
if(RECAST_DEVELOPER)
  target_compile_options(recast_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                                   -Werror)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 sees overlaps in std::string's own concatenation that aren't there.
    target_compile_options(recast_warnings INTERFACE -Wno-restrict)
  endif()
endif()
if(RECAST_SANITIZE)
  target_compile_options(recast_settings INTERFACE -fsanitize=${RECAST_SANITIZE}
                                                   -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(recast_settings INTERFACE -fsanitize=${RECAST_SANITIZE})
endif()
if(RECAST_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "RECAST_BUILD_FUZZERS: libFuzzer comes with clang; the compiler is ${CMAKE_CXX_COMPILER}")
  endif()
  # Coverage for the fuzzers to follow, without their main function.
  target_compile_options(recast_settings INTERFACE -fsanitize=fuzzer-no-link)
  target_link_options(recast_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()
find_package(Threads REQUIRED)
target_link_libraries(recast_settings INTERFACE Threads::Threads)

# recast_component(<name> [LINKS <component>...] [SOURCES <file>...])
function(recast_component name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;LIBRARIES" ${ARGN})
  set(include_root ${PROJECT_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${include_root}/recast)
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_root}/recast/${name} SYMBOLIC)
  add_library(recast_${name} OBJECT ${ARG_SOURCES})
  set_target_properties(recast_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON
                        CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_include_directories(recast_${name} PUBLIC $<BUILD_INTERFACE:${include_root}>)
  list(TRANSFORM ARG_LINKS PREPEND recast_)
  target_link_libraries(recast_${name} PUBLIC recast_settings ${ARG_LINKS} PRIVATE ${ARG_LIBRARIES})
  set_property(GLOBAL APPEND PROPERTY RECAST_COMPONENTS recast_${name})
  set_property(GLOBAL APPEND PROPERTY RECAST_LIBRARIES ${ARG_LIBRARIES})
endfunction()

# librecast.so: all components in one.
function(recast_shared_library)
  get_property(components GLOBAL PROPERTY RECAST_COMPONENTS)
  get_property(libraries GLOBAL PROPERTY RECAST_LIBRARIES)
  add_library(recast SHARED)
  set_target_properties(recast PROPERTIES VERSION ${PROJECT_VERSION}
                        SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  # The components' include folders are what a host sees; their objects go into the library.
  target_link_libraries(recast PRIVATE ${components} ${libraries})
  foreach(component IN LISTS components)
    target_include_directories(recast INTERFACE
      $<BUILD_INTERFACE:$<TARGET_PROPERTY:${component},INTERFACE_INCLUDE_DIRECTORIES>>)
  endforeach()
  target_include_directories(recast INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_compile_features(recast INTERFACE cxx_std_20)
  if(RECAST_SANITIZE)
    # The sanitizers' runtime has to be loaded before the library, so programs bring it.
    target_compile_options(recast INTERFACE -fsanitize=${RECAST_SANITIZE} -fno-sanitize-recover=all)
    target_link_options(recast INTERFACE -fsanitize=${RECAST_SANITIZE})
  endif()
endfunction()

# recast_program(<name> <file>...): an executable over the components' objects, so that it also sees
# what the shared library hides.
function(recast_program name)
  get_property(components GLOBAL PROPERTY RECAST_COMPONENTS)
  get_property(libraries GLOBAL PROPERTY RECAST_LIBRARIES)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE ${components} ${libraries})
endfunction()
