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
