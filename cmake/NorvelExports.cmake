# norvel_limit_exports(TARGET): makes the module TARGET export the functions of src/api/exports.txt
# and nothing else, but for the forwarders of src/api/reexports.txt on Windows.
function(norvel_limit_exports target)
  set(list_file ${PROJECT_SOURCE_DIR}/src/api/exports.txt)
  set(forwarder_file ${PROJECT_SOURCE_DIR}/src/api/reexports.txt)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list_file} ${forwarder_file})
  file(STRINGS ${list_file} names)

  if(WIN32)
    # The names of the forwarders are those of the compiler that builds the simulated library;
    # the maker's own library has others.
    if(MINGW AND NOT OPTIVO_SDK_DIR)
      file(STRINGS ${forwarder_file} forwarders REGEX "^[^#]")
    endif()
    list(JOIN names "\n    " lines)
    list(JOIN forwarders "\n    " forwarder_lines)
    set(definition ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
    file(CONFIGURE OUTPUT ${definition}
         CONTENT "LIBRARY \"${target}.cti\"\nEXPORTS\n    ${lines}\n    ${forwarder_lines}\n" @ONLY)
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
