# Compiler settings shared by every target, as the interface library norvel_options.
add_library(norvel_options INTERFACE)
target_compile_features(norvel_options INTERFACE cxx_std_20)

if(MSVC)
  # The camera library's exported classes derive from the standard library's, which is not exported.
  target_compile_options(norvel_options INTERFACE /W4 /WX /wd4251 /wd4275 /permissive- /utf-8)
else()
  target_compile_options(
    norvel_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror
                             $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor> $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
endif()

# A module with unique symbols can never be unloaded by the process that loaded it.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT WIN32)
  target_compile_options(norvel_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()

if(WIN32)
  target_compile_definitions(norvel_options INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
  if(MINGW)
    # The products import only system DLLs and the camera library.
    target_link_options(norvel_options INTERFACE -static -static-libgcc -static-libstdc++)
  endif()
elseif(NOT NORVELTL_SANITIZE)
  # Sanitized libraries find the runtime in the program that loads them.
  target_link_options(norvel_options INTERFACE -Wl,--no-undefined)
endif()

if(NORVELTL_SANITIZE)
  target_compile_options(norvel_options INTERFACE -fsanitize=${NORVELTL_SANITIZE} -fno-sanitize-recover=all
                                                  -fno-omit-frame-pointer)
  target_link_options(norvel_options INTERFACE -fsanitize=${NORVELTL_SANITIZE})
endif()

# norvel_file_by_file(TARGET...): these are measured by the nanosecond, and compiled several files at a time gcc puts less
# of them in line: DSGetInfo takes 35 ns instead of 26. Sanitized ones need not be fast.
function(norvel_file_by_file)
  if(NOT NORVELTL_SANITIZE)
    set_target_properties(${ARGN} PROPERTIES UNITY_BUILD OFF)
  endif()
endfunction()

# norvel_reproducible(TARGET...): the bytes of these targets depend neither on the folders of the build nor on its time.
function(norvel_reproducible)
  foreach(target IN LISTS ARGN)
    get_target_property(type ${target} TYPE)
    if(NOT MSVC)
      # The last map that fits counts.
      target_compile_options(${target} PRIVATE $<$<NOT:$<COMPILE_LANGUAGE:RC>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>
                                               $<$<NOT:$<COMPILE_LANGUAGE:RC>>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>)
    endif()
    if(MINGW AND NOT type STREQUAL "OBJECT_LIBRARY")
      target_link_options(${target} PRIVATE -Wl,--no-insert-timestamp)
    endif()
  endforeach()
endfunction()

# norvel_split_debug(TARGET...): users get these without their debug information, which stays beside for debuggers.
# Without -p the time goes into both.
function(norvel_split_debug)
  if(MINGW)
    foreach(target IN LISTS ARGN)
      set(debug_file $<TARGET_FILE:${target}>.debug)
      add_custom_command(TARGET ${target} POST_BUILD VERBATIM
        COMMAND ${CMAKE_OBJCOPY} -p --only-keep-debug $<TARGET_FILE:${target}> ${debug_file}
        COMMAND ${CMAKE_OBJCOPY} -p --strip-debug --add-gnu-debuglink=${debug_file} $<TARGET_FILE:${target}>)
    endforeach()
  endif()
endfunction()
