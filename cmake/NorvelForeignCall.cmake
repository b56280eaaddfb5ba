# norvel_foreign_call: what keeps the exceptions of Visual C++ out of the module. g++ has no structured exception
# handling, so clang compiles it, for the same target.
find_program(NORVELTL_CLANG NAMES clang-14 clang REQUIRED)
set(foreign_call_folder ${CMAKE_CURRENT_LIST_DIR}/../src/platform/windows)
set(foreign_call_object ${CMAKE_CURRENT_BINARY_DIR}/ForeignCall.obj)
add_custom_command(
  OUTPUT ${foreign_call_object}
  COMMAND
    ${NORVELTL_CLANG} --target=x86_64-w64-windows-gnu -std=c99 -fms-extensions -fasync-exceptions -O2 -g -Wall -Wextra
    -Wconversion -Werror -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -DWIN32_LEAN_AND_MEAN -c
    ${foreign_call_folder}/ForeignCall.c -o ${foreign_call_object}
  DEPENDS ${foreign_call_folder}/ForeignCall.c ${foreign_call_folder}/ForeignCall.h
  VERBATIM)
add_library(norvel_foreign_call STATIC ${foreign_call_object})
set_target_properties(norvel_foreign_call PROPERTIES LINKER_LANGUAGE C)
