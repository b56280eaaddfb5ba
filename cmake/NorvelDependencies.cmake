# Where Boost, GoogleTest and the header-only libraries come from on each target:
# Debian's packages natively, .cache/windows (made by scripts/setup.sh) for the cross build.
set(BOOST_VERSION_WANTED 1.81)

if(CMAKE_CROSSCOMPILING)
  set(NORVELTL_CROSS_PREFIX ${CMAKE_SOURCE_DIR}/.cache/windows CACHE PATH "Libraries built for the cross target")
  if(NOT EXISTS ${NORVELTL_CROSS_PREFIX}/lib/libboost_thread.a)
    message(FATAL_ERROR "No Boost.Thread in ${NORVELTL_CROSS_PREFIX}: run scripts/setup.sh first")
  endif()
  add_library(norvel_boost INTERFACE)
  target_include_directories(norvel_boost SYSTEM INTERFACE ${NORVELTL_CROSS_PREFIX}/include)
  target_link_libraries(norvel_boost INTERFACE ${NORVELTL_CROSS_PREFIX}/lib/libboost_thread.a)
  target_compile_definitions(norvel_boost INTERFACE BOOST_THREAD_USE_LIB BOOST_ALL_NO_LIB)
  add_library(norvel_headers INTERFACE)
  target_include_directories(norvel_headers SYSTEM INTERFACE ${NORVELTL_CROSS_PREFIX}/include)
else()
  find_package(Boost ${BOOST_VERSION_WANTED} REQUIRED COMPONENTS thread)
  add_library(norvel_boost INTERFACE)
  target_link_libraries(norvel_boost INTERFACE Boost::thread)
  add_library(norvel_headers INTERFACE)
endif()

find_package(Threads REQUIRED)
target_link_libraries(norvel_boost INTERFACE Threads::Threads)

if(NORVELTL_BUILD_TESTS)
  # Debian ships GoogleTest's sources; building them serves every target and sanitizer alike.
  set(gtest_force_shared_crt ON CACHE INTERNAL "")
  set(INSTALL_GTEST OFF CACHE INTERNAL "")
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  if(NORVELTL_SANITIZE)
    target_compile_options(gtest PRIVATE -fsanitize=${NORVELTL_SANITIZE})
  endif()
endif()
