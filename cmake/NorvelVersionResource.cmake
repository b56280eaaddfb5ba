# norvel_version_resource(TARGET NAME DESCRIPTION [RESOURCE FILE]): what Windows shows of the module NAME.cti, and the
# resource that goes with it, as in "TLREGS 103", of this file.
function(norvel_version_resource target name description)
  enable_language(RC)
  set(output ${CMAKE_CURRENT_BINARY_DIR}/module.rc)
  set(resources)
  if(ARGC GREATER 3)
    set(resources "${ARGV3} \"${ARGV4}\"")
    set_source_files_properties(${output} PROPERTIES OBJECT_DEPENDS ${ARGV4})
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${output} @ONLY)
  target_sources(${target} PRIVATE ${output})
endfunction()
