# cmake -DBUILD=<build folder> -DVERSION=<x.y.z> -P package.cmake
#
# Makes the Debian package and compares what it holds with what it should: the files below, every
# header, and the libraries that it depends on.
set(folder ${BUILD}/tests/install/package)
file(REMOVE_RECURSE ${folder})
execute_process(COMMAND cpack -G DEB --config ${BUILD}/CPackConfig.cmake -B ${folder}
                OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cpack: ${result}\n${output}")
endif()
file(GLOB package ${folder}/*.deb)
execute_process(COMMAND dpkg-deb --contents ${package} OUTPUT_VARIABLE contents
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND dpkg-deb --field ${package} Depends OUTPUT_VARIABLE depends
                COMMAND_ERROR_IS_FATAL ANY)

string(REGEX MATCHALL "\\./usr/[^\n]*[^\n/](\n|$)" lines "${contents}")
set(files "")
set(headers 0)
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^\\./usr/([^ \n]*).*$" "\\1" file "${line}")
  if(file MATCHES "^include/recast/[a-z_]+/[a-z0-9_]+\\.h$")
    math(EXPR headers "${headers} + 1")
  else()
    list(APPEND files ${file})
  endif()
endforeach()
list(SORT files)

string(REGEX REPLACE "\\.[0-9]+$" "" interface ${VERSION})
set(expected
  bin/recast
  lib/cmake/recast/recastConfig.cmake
  lib/cmake/recast/recastConfigVersion.cmake
  lib/cmake/recast/recastTargets-relwithdebinfo.cmake
  lib/cmake/recast/recastTargets.cmake
  lib/librecast.so
  lib/librecast.so.${VERSION}
  lib/librecast.so.${interface}
  lib/pkgconfig/recast.pc
  share/bash-completion/completions/recast
  share/man/man1/recast.1)
list(SORT expected)
if(NOT files STREQUAL expected)
  message(FATAL_ERROR "the package holds\n  ${files}\nnot\n  ${expected}")
endif()
file(GLOB built ${BUILD}/include/*/recast/*/*.h)
list(LENGTH built count)
if(NOT headers EQUAL count)
  message(FATAL_ERROR "the package holds ${headers} headers of ${count}")
endif()
foreach(library libhdf5 libdeflate0 libstdc)
  if(NOT depends MATCHES "${library}")
    message(FATAL_ERROR "the package does not depend on ${library}: ${depends}")
  endif()
endforeach()
