# norvel_limit_exports(TARGET [FORWARDING]): makes the module TARGET export the functions of src/api/exports.txt and
# nothing else, but for what it hands on to the camera library on Windows when it is forwarding: the names of
# src/api/reexports-*.txt, as forwarders.
set(NORVEL_EXPORT_LISTS ${CMAKE_CURRENT_LIST_DIR}/../src/api)

function(norvel_limit_exports target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "FORWARDING" "" "")
  set(list_file ${NORVEL_EXPORT_LISTS}/exports.txt)
  # Windows looks a forwarder up when somebody asks for it, so names that a camera library lacks do no harm. What Visual
  # Studio builds has no use for MinGW's.
  set(forwarder_files)
  if(arg_FORWARDING)
    list(APPEND forwarder_files ${NORVEL_EXPORT_LISTS}/reexports-msvc.txt)
    if(NOT MSVC)
      list(APPEND forwarder_files ${NORVEL_EXPORT_LISTS}/reexports-mingw.txt)
    endif()
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list_file} ${forwarder_files})
  file(STRINGS ${list_file} names)

  if(WIN32)
    foreach(file IN LISTS forwarder_files)
      file(STRINGS ${file} forwarded REGEX "^[^#]")
      list(TRANSFORM forwarded REPLACE "^.+$" "\\0=Optivo40.\\0")
      list(APPEND names ${forwarded})
    endforeach()
    list(JOIN names "\n    " lines)
    set(definition ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
    # Not file(CONFIGURE), which would take what stands between two @ for a variable.
    file(GENERATE OUTPUT ${definition} CONTENT "LIBRARY \"${target}.cti\"\nEXPORTS\n    ${lines}\n")
    target_sources(${target} PRIVATE ${definition})
  else()
    list(JOIN names ";\n        " lines)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
    file(CONFIGURE OUTPUT ${script}
         CONTENT "{\n    global:\n        ${lines};\n    local:\n        *;\n};\n" @ONLY)
    # The second option refuses a listed function that nobody defines.
    target_link_options(${target} PRIVATE -Wl,--version-script=${script} -Wl,--no-undefined-version)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
  endif()
endfunction()
