# norvel_foreign_call: what keeps the exceptions of Visual C++ out of the module. g++ has no structured exception
# handling, so clang compiles it, for the same target.
find_program(NORVELTL_CLANG NAMES clang-14 clang REQUIRED)
cmake_path(SET foreign_call_source NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../src/platform/windows/ForeignCall.c)
set(foreign_call_object ${CMAKE_CURRENT_BINARY_DIR}/ForeignCall.obj)
cmake_path(RELATIVE_PATH foreign_call_object BASE_DIRECTORY ${CMAKE_BINARY_DIR} OUTPUT_VARIABLE foreign_call_output)
set(foreign_call_command
    ${NORVELTL_CLANG} --target=x86_64-w64-windows-gnu -std=c99 -fms-extensions -fasync-exceptions -O2 -g -Wall -Wextra
    -Wconversion -Werror -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -DWIN32_LEAN_AND_MEAN -c ${foreign_call_source} -o
    ${foreign_call_output})
add_custom_command(
  OUTPUT ${foreign_call_object}
  COMMAND ${foreign_call_command} -MD -MF ${foreign_call_output}.d
  WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
  DEPENDS ${foreign_call_source}
  DEPFILE ${foreign_call_object}.d
  VERBATIM)
add_library(norvel_foreign_call STATIC ${foreign_call_object})
set_target_properties(norvel_foreign_call PROPERTIES LINKER_LANGUAGE C)

# For tools that analyse sources: CMake lists custom commands nowhere.
list(JOIN foreign_call_command " " foreign_call_command)
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/foreign_call_commands.json CONTENT [[
[{"directory": "${CMAKE_BINARY_DIR}", "command": "${foreign_call_command}", "file": "${foreign_call_source}"}]
]])
