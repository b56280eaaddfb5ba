# Compares what the simulated camera library LIBRARY exports with what its users need: GetSystem, the steering
# functions that HEADER declares, and MinGW's names of what the Windows module hands on to it, listed in FORWARDERS.
# LISTING is nm or objdump.
cmake_minimum_required(VERSION 3.25)

if(WINDOWS)
  execute_process(COMMAND ${LISTING} -p ${LIBRARY} OUTPUT_VARIABLE text RESULT_VARIABLE result)
else()
  execute_process(COMMAND ${LISTING} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE text RESULT_VARIABLE result)
endif()
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${LISTING} cannot read ${LIBRARY}")
endif()
string(REPLACE ";" "," text "${text}")
string(REGEX REPLACE "[][]" "|" text "${text}")
string(REPLACE "\n" ";" lines "${text}")

set(found)
set(in_names FALSE)
foreach(line IN LISTS lines)
  if(WINDOWS AND line MATCHES "Ordinal/Name Pointer")
    set(in_names TRUE)
  elseif(in_names AND line MATCHES "^[ \t]*\\|[ 0-9]+\\|.* ([^ ]+)$")
    list(APPEND found ${CMAKE_MATCH_1})
  elseif(NOT WINDOWS AND line MATCHES "^[0-9a-f]+ [A-Za-z] ([^ ]+)$")
    string(REGEX REPLACE "@.*" "" name ${CMAKE_MATCH_1})
    list(APPEND found ${name})
  endif()
endforeach()

function(report_difference what)
  if(ARGN)
    list(JOIN ARGN "\n  " names)
    message(SEND_ERROR "${what}:\n  ${names}")
  endif()
endfunction()

file(STRINGS ${FORWARDERS} forwarded REGEX "^[^#]")

file(READ ${HEADER} header)
string(REGEX MATCHALL "OptivoSim_[A-Za-z0-9]+\\(" steering "${header}")
list(TRANSFORM steering REPLACE "\\(" "")
list(REMOVE_DUPLICATES steering)

set(own GetSystem)
# A resource tells kind and version on Windows.
if(NOT WINDOWS)
  list(APPEND own OptivoLibraryKind OptivoLibraryVersion)
endif()
set(missing ${own} ${steering} ${forwarded})
list(REMOVE_ITEM missing ${found})
report_difference("needed, but not exported" ${missing})

# Every constructor, destructor, assignment, table and type description of what is handed on must be in the list.
set(handed_on ${found})
set(classes "([0-9]+[A-Za-z]+Exception|15gcstring_vector(8|14const_)iterator)")
list(FILTER handed_on INCLUDE REGEX "^_Z(N7GenICam${classes}([CD][012]E|aSE)|T[IV]N7GenICam[0-9]+[A-Za-z]+ExceptionE$)")
list(REMOVE_ITEM handed_on ${forwarded})
report_difference("exported, but not forwarded" ${handed_on})

set(others ${found})
list(REMOVE_ITEM others ${own} ${steering})
list(FILTER others EXCLUDE REGEX "^_Z(N|NK|T[ISV]N)7GenICam")
report_difference("exported, but of no use to anybody" ${others})

list(LENGTH forwarded num_forwarded)
list(LENGTH steering num_steering)
if(num_forwarded LESS 100 OR num_steering LESS 20)
  message(SEND_ERROR "only ${num_forwarded} forwarders and ${num_steering} steering functions are known")
endif()
message(STATUS "${LIBRARY}: ${num_steering} steering functions and ${num_forwarded} names to forward were looked up")
