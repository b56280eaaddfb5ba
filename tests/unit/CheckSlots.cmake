# Checks that the operations of the camera library's objects stand at their positions, whichever compiler lays the
# tables out: compiles calls of them for Windows with Visual C++'s layout and for Linux, and reads from the compiler's
# output which entry of the table each call takes. HEADER declares the objects; WORK is a folder for what is made.
cmake_minimum_required(VERSION 3.25)

# Class, position, operation, number of arguments.
set(operations
    "ICamSystem 1 Unused1 0"
    "ICamSystem 2 UpdateInterfaceList 2"
    "ICamSystem 3 GetInterfaceName 3"
    "ICamSystem 4 GetInterface 2"
    "ICamSystem 5 OpenInterface 2"
    "ICamSystem 6 Unused6 0"
    "ICamSystem 7 Unused7 0"
    "ICamSystem 8 Close 0"
    "ICamInterface 1 Unused1 0"
    "ICamInterface 2 UpdateDeviceList 2"
    "ICamInterface 3 GetDeviceName 3"
    "ICamInterface 4 GetDevice 2"
    "ICamInterface 5 OpenDevice 2"
    "ICamInterface 6 WritePort 3"
    "ICamInterface 7 ReadPort 3"
    "ICamInterface 8 Unused8 0"
    "ICamInterface 9 Unused9 0"
    "ICamInterface 10 Close 0"
    "ICamDevice 1 Unused1 0"
    "ICamDevice 2 GetNumDataStreams 1"
    "ICamDevice 3 Unused3 0"
    "ICamDevice 4 Unused4 0"
    "ICamDevice 5 OpenDataStream 2"
    "ICamDevice 6 WritePort 3"
    "ICamDevice 7 ReadPort 3"
    "ICamDevice 8 Unused8 0"
    "ICamDevice 9 Unused9 0"
    "ICamDevice 10 GetInfo 3"
    "ICamDevice 11 RegisterEventCallback 2"
    "ICamDevice 12 Close 0"
    "ICamStream 1 Unused1 0"
    "ICamStream 2 StartAcquisition 2"
    "ICamStream 3 StopAcquisition 1"
    "ICamStream 4 GrabImage 2"
    "ICamStream 5 SetStreamParameter 3"
    "ICamStream 6 GetStreamInfo 3"
    "ICamStream 7 Close 0")
set(arguments_0 "")
set(arguments_1 "{}")
set(arguments_2 "{}, {}")
set(arguments_3 "{}, {}, {}")

find_program(CLANG NAMES clang++ clang++-14 clang++-15 clang++-16 clang++-19)
if(NOT CLANG)
  message(FATAL_ERROR "clang++ is needed, the only compiler here that knows Visual C++'s layout")
endif()

# find_differences(HEADER TARGET RESULT): the operations whose calls take another entry than their position's.
function(find_differences header target result)
  set(source "#include \"${header}\"\n")
  foreach(operation IN LISTS operations)
    string(REPLACE " " ";" fields "${operation}")
    list(GET fields 0 class)
    list(GET fields 2 name)
    list(GET fields 3 num_arguments)
    string(APPEND source "extern \"C\" void Call_${class}_${name}(Optivo::${class}& object) "
                         "{ object.${name}(${arguments_${num_arguments}}); }\n")
  endforeach()
  set(base ${WORK}/Calls-${target})
  file(WRITE ${base}.cpp "${source}")
  execute_process(
    COMMAND ${CLANG} --target=${target} -std=c++20 -O0 -fno-discard-value-names -S -emit-llvm -o ${base}.ll ${base}.cpp
    RESULT_VARIABLE failed ERROR_VARIABLE errors)
  if(failed)
    message(FATAL_ERROR "${CLANG} cannot compile for ${target}:\n${errors}")
  endif()

  file(STRINGS ${base}.ll lines REGEX "^define |%vtable, i64 ")
  set(function "")
  foreach(line IN LISTS lines)
    if(line MATCHES "^define .*@Call_([A-Za-z0-9_]+)\\(")
      set(function ${CMAKE_MATCH_1})
    elseif(line MATCHES "getelementptr .*%vtable, i64 ([0-9]+)$")
      set(entry_${function} ${CMAKE_MATCH_1})
    endif()
  endforeach()

  set(differences)
  foreach(operation IN LISTS operations)
    string(REPLACE " " ";" fields "${operation}")
    list(GET fields 0 class)
    list(GET fields 1 position)
    list(GET fields 2 name)
    math(EXPR wanted "${position} - 1")
    if(NOT "${entry_${class}_${name}}" STREQUAL "${wanted}")
      list(APPEND differences "${class}::${name}: entry '${entry_${class}_${name}}' instead of ${wanted} (${target})")
    endif()
  endforeach()
  set(${result} "${differences}" PARENT_SCOPE)
endfunction()

# make_copy(NAME FROM TO COPY): a copy of the header in which a text is replaced by another.
function(make_copy name from to copy)
  file(READ ${HEADER} original)
  string(REPLACE "${from}" "${to}" changed "${original}")
  if(changed STREQUAL original)
    message(FATAL_ERROR "${HEADER} has no text '${from}'")
  endif()
  file(WRITE ${WORK}/${name}.h "${changed}")
  set(${copy} ${WORK}/${name}.h PARENT_SCOPE)
endfunction()

function(expect_difference header target)
  find_differences(${header} ${target} differences)
  if(NOT differences)
    message(SEND_ERROR "the changed order in ${header} is not noticed for ${target}")
  endif()
endfunction()

set(msvc x86_64-pc-windows-msvc)
set(mingw x86_64-w64-windows-gnu)
set(linux x86_64-pc-linux-gnu)
foreach(target ${msvc} ${mingw} ${linux})
  find_differences(${HEADER} ${target} differences)
  if(differences)
    list(JOIN differences "\n  " text)
    message(SEND_ERROR "operations stand at other positions:\n  ${text}")
  endif()
endforeach()

# Two operations that have changed places are noticed, and so is a second operation of one name, which Visual C++
# alone moves to the first.
make_copy(Swapped "virtual void Unused3() = 0;\n    virtual void Unused4() = 0;"
          "virtual void Unused4() = 0;\n    virtual void Unused3() = 0;" swapped)
make_copy(Overloaded "virtual void Unused3() = 0;" "virtual void Unused3() = 0;\n    virtual Int32 OpenDataStream() = 0;"
          overloaded)
foreach(target ${msvc} ${linux})
  expect_difference(${swapped} ${target})
endforeach()
expect_difference(${overloaded} ${msvc})
list(LENGTH operations num_operations)
message(STATUS "${num_operations} operations were looked up for ${msvc}, ${mingw} and ${linux}")
