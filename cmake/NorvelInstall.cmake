# What cmake --install, the installer, the archive and the .deb consist of. On Windows one folder holds the programs and
# the module; elsewhere the usual folders of the prefix do, and the module has one of its own.
#
# Components: product (what users need), simulator, development (for those who write consumers).
if(OPTIVO_SDK_DIR)
  set(camera_library "")
else()
  set(camera_library Optivo40)
endif()

if(WIN32)
  set(module_dir bin)
  set(document_dir .)
else()
  set(module_dir lib/norveltl)
  set(document_dir share/doc/norveltl)
endif()

install(TARGETS norveltl NorvelTL40
        RUNTIME DESTINATION ${module_dir} COMPONENT product
        LIBRARY DESTINATION ${module_dir} COMPONENT product)
install(TARGETS NorvelTL40-standard LIBRARY DESTINATION ${module_dir}/standard COMPONENT product)
if(camera_library)
  install(TARGETS Optivo40
          RUNTIME DESTINATION ${module_dir} COMPONENT simulator
          LIBRARY DESTINATION ${module_dir} COMPONENT simulator NAMELINK_SKIP
          ARCHIVE DESTINATION ${module_dir} COMPONENT left_out EXCLUDE_FROM_ALL)
endif()

add_custom_target(product DEPENDS norveltl NorvelTL40 NorvelTL40-standard ${camera_library})
if(WIN32)
  add_dependencies(product norveltl-environment)
endif()

# The programs' own licence, the texts of what they contain, and all that is written for users.
install(FILES LICENSE README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION ${document_dir} COMPONENT product)
install(DIRECTORY licences DESTINATION ${document_dir} COMPONENT product)
foreach(folder docs examples)
  if(EXISTS ${PROJECT_SOURCE_DIR}/${folder})
    install(DIRECTORY ${folder} DESTINATION ${document_dir} COMPONENT product
            PATTERN "__pycache__" EXCLUDE PATTERN "*.pyc" EXCLUDE)
  endif()
endforeach()

if(WIN32)
  install(FILES tools/norveltl/completions/norveltl.ps1 DESTINATION completions COMPONENT product)
else()
  # Debian looks for licences under this name.
  install(FILES LICENSE DESTINATION ${document_dir} RENAME copyright COMPONENT product)
  install(FILES tools/norveltl/norveltl.1 DESTINATION share/man/man1 COMPONENT product)
  install(FILES tools/norveltl/completions/norveltl.bash DESTINATION share/bash-completion/completions RENAME norveltl
          COMPONENT product)
  # The tool looks for the module beside itself.
  install(CODE "
    file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
    file(CREATE_LINK ../${module_dir}/norveltl \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/norveltl\" SYMBOLIC)"
          COMPONENT product)
endif()

# For programs that load producers: the header, and where this producer lies.
include(CMakePackageConfigHelpers)
set(package_dir lib/cmake/NorvelTL)
add_library(GenTL INTERFACE)
target_include_directories(GenTL INTERFACE $<INSTALL_INTERFACE:include>)
install(TARGETS GenTL EXPORT NorvelTLTargets COMPONENT development)
install(EXPORT NorvelTLTargets NAMESPACE NorvelTL:: DESTINATION ${package_dir} COMPONENT development)
install(DIRECTORY include/GenTL DESTINATION include COMPONENT development)
configure_package_config_file(packaging/NorvelTLConfig.cmake.in NorvelTLConfig.cmake
                              INSTALL_DESTINATION ${package_dir} PATH_VARS module_dir)
write_basic_package_version_file(NorvelTLConfigVersion.cmake COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/NorvelTLConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/NorvelTLConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)
configure_file(packaging/norveltl.pc.in norveltl.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/norveltl.pc DESTINATION lib/pkgconfig COMPONENT development)

if(NOT WIN32)
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGE_NAME norveltl)
  set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
  set(CPACK_PACKAGE_VENDOR "The NorvelTL authors")
  set(CPACK_PACKAGE_CONTACT "The NorvelTL authors <norveltl@norvel.example>")
  set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/package)
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}, as a development build")
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_PACKAGE_DESCRIPTION
"Programs find the module by its folder /usr/lib/norveltl in the environment
variable GENICAM_GENTL64_PATH, which this package leaves to its users. For
programs that rely on the answers of the GenICam GenTL standard, name the
folder /usr/lib/norveltl/standard instead: its module gives them.")
  set(CPACK_STRIP_FILES ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION science)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  include(CPack)
endif()
