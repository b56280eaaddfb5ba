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
set(tool_dir ${module_dir})
if(NORVELTL_VISION)
  # The same module with the library for real cameras, in a folder of its own; the tool that users call is this one.
  set(tool_dir ${module_dir}/vision)
  install(TARGETS norveltl NorvelTL40 optivo_vision
          RUNTIME DESTINATION ${tool_dir} COMPONENT product
          LIBRARY DESTINATION ${tool_dir} COMPONENT product NAMELINK_SKIP)
  install(TARGETS NorvelTL40-standard LIBRARY DESTINATION ${tool_dir}/standard COMPONENT product)
  install(FILES packaging/70-norveltl-usb3-vision.rules DESTINATION lib/udev/rules.d COMPONENT product)
  # Shells read it in /etc alone, which belongs to the prefix /usr.
  install(CODE "
    set(profile \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/etc/profile.d/norveltl.sh\")
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
      set(profile \"\$ENV{DESTDIR}/etc/profile.d/norveltl.sh\")
    endif()
    set(module_dir \"\${CMAKE_INSTALL_PREFIX}/${module_dir}\")
    configure_file(\"${PROJECT_SOURCE_DIR}/packaging/norveltl.sh.in\" \"\${profile}\" @ONLY)
    file(CHMOD \"\${profile}\" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)"
          COMPONENT product)
  add_dependencies(product vision)
endif()
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
  install(FILES tools/norveltl/completions/_norveltl DESTINATION share/zsh/vendor-completions COMPONENT product)
  install(FILES tools/norveltl/completions/norveltl.fish DESTINATION share/fish/vendor_completions.d COMPONENT product)
  # The tool looks for the module beside itself.
  install(CODE "
    file(MAKE_DIRECTORY \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
    file(CREATE_LINK ../${tool_dir}/norveltl \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin/norveltl\" SYMBOLIC)"
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
  set(description
"Programs find the module by its folder in the environment variable
GENICAM_GENTL64_PATH: /usr/lib/norveltl has the simulated cameras.")
  if(NORVELTL_VISION)
    string(APPEND description "
/usr/lib/norveltl/vision has real ones, GigE Vision and USB3 Vision, and
stands in the variable after the next login, by a file in /etc/profile.d.")
    file(WRITE ${CMAKE_BINARY_DIR}/conffiles "/etc/profile.d/norveltl.sh\n")
    set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_BINARY_DIR}/conffiles)
  endif()
  string(APPEND description "
For programs that rely on the answers of the GenICam GenTL standard, name
the folder standard below it instead: its module gives them.")
  set(CPACK_PACKAGE_DESCRIPTION ${description})
  set(CPACK_STRIP_FILES ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION science)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ${CMAKE_BINARY_DIR}/vision)
  include(CPack)
endif()
