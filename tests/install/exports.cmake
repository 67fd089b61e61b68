# cmake -DLIBRARY=<librecast.so> -DLIST=<exports.txt> [-DUPDATE=ON] -P exports.cmake
#
# Compares the functions that the library exports, inline ones and templates left out, with the list:
# a change of the interface is to be seen. With UPDATE the list is written anew.
execute_process(COMMAND nm -DC --defined-only ${LIBRARY} OUTPUT_VARIABLE symbols
                COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[0-9a-f]+ T [^\n]+" lines "${symbols}")
set(names "")
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^[0-9a-f]+ T " "" name "${line}")
  list(APPEND names "${name}")
endforeach()
list(SORT names)
list(REMOVE_DUPLICATES names)
if(UPDATE)
  list(JOIN names "\n" text)
  file(WRITE ${LIST} "${text}\n")
  return()
endif()
file(STRINGS ${LIST} expected)
set(lost ${expected})
list(REMOVE_ITEM lost ${names})
list(REMOVE_ITEM names ${expected})
if(lost OR names)
  list(JOIN lost "\n  - " lost)
  list(JOIN names "\n  + " names)
  message(FATAL_ERROR "the exports differ from ${LIST}:\n  - ${lost}\n  + ${names}")
endif()
