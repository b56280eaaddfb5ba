# norvel_embed(TARGET INPUT HEADER NAMESPACE NAME): compiles the bytes of a file into a target; see EmbedFile.cmake.
function(norvel_embed target input header namespace name)
  get_filename_component(input ${input} ABSOLUTE)
  set(output ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  set(script ${PROJECT_SOURCE_DIR}/cmake/EmbedFile.cmake)
  add_custom_command(
    OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -DINPUT=${input} -DOUTPUT=${output} -DHEADER=${header} -DNAMESPACE=${namespace}
            -DNAME=${name} -P ${script}
    DEPENDS ${input} ${script}
    VERBATIM)
  set_source_files_properties(${output} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
  target_sources(${target} PRIVATE ${output})
endfunction()
