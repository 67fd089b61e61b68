# cmake -DBUILD=<build folder> -DCOMPILER=<C++> -DLIBDIR=<lib> -DVERSION=<x.y.z> -DRASTER=<file>
#       -P host_outside.cmake
set(folder ${BUILD}/tests/install/outside)
file(REMOVE_RECURSE ${folder})
file(MAKE_DIRECTORY ${folder})

function(run)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${folder} OUTPUT_VARIABLE output
                  ERROR_VARIABLE output RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}: ${result}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${folder}/prefix)
run(${folder}/prefix/bin/recast raster -o hill.q8 ${RASTER})

file(WRITE ${folder}/host/CMakeLists.txt [[
cmake_minimum_required(VERSION 3.25)
project(host LANGUAGES CXX)
find_package(recast REQUIRED)
add_executable(host host.cpp)
target_link_libraries(host PRIVATE recast::recast)
]])
file(WRITE ${folder}/host/host.cpp [[
#include <iostream>

#include "recast/columns/column_ascii_to_point_cloud_q8.h"
#include "recast/contours/create_contour_lines.h"
#include "recast/raster/esri_raster_to_q8.h"
#include "recast/raster/terrain_import.h"
#include "recast/refragment/spatial_refragmentation.h"
#include "recast/sheaf/bundle.h"

int main(int, char** arguments) {
  const auto files = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{arguments[1]});
  bool ok = false;
  const auto bundle = Quilt::Bundle::load(
      ok, Larder::makeStrong<Larder::LoaderParameters>(files, false), nullptr);
  if (!ok) return 1;
  for (const auto& id : bundle->getGridIdentifiers()) std::cout << id->name() << "\n";
  return 0;
}
]])
run(${CMAKE_COMMAND} -S host -B by_cmake -DCMAKE_CXX_COMPILER=${COMPILER}
    -DCMAKE_PREFIX_PATH=${folder}/prefix)
run(${CMAKE_COMMAND} --build by_cmake)
run(by_cmake/host hill.q8)
if(NOT output MATCHES "DGM_CellSize_25")
  message(FATAL_ERROR "the host saw: ${output}")
endif()

find_program(pkg_config pkg-config REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${folder}/prefix/${LIBDIR}/pkgconfig)
run(${pkg_config} --modversion recast)
if(NOT output STREQUAL "${VERSION}\n")
  message(FATAL_ERROR "pkg-config knows version ${output}")
endif()
run(${pkg_config} --cflags --libs recast)
string(STRIP "${output}" flags)
separate_arguments(flags)
run(${COMPILER} host/host.cpp -o by_pkg_config ${flags} -Wl,-rpath,${folder}/prefix/${LIBDIR})
run(./by_pkg_config hill.q8)
