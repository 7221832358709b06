# Installation, and the Debian package: cpack --config build/release/CPackConfig.cmake (or build/arm64/...).
#
# Only the process is packaged; the bench stays with the developers. The log configuration goes where the process looks
# for it.
include(GNUInstallDirs)

configure_file(packaging/halyard.8 ${CMAKE_BINARY_DIR}/halyard.8 @ONLY)
add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/halyard.8.gz
  COMMAND gzip -9 -n -c ${CMAKE_BINARY_DIR}/halyard.8 > ${CMAKE_BINARY_DIR}/halyard.8.gz
  DEPENDS ${CMAKE_BINARY_DIR}/halyard.8 VERBATIM)
add_custom_target(halyard_man ALL DEPENDS ${CMAKE_BINARY_DIR}/halyard.8.gz)

install(TARGETS halyard RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${CMAKE_BINARY_DIR}/halyard.8.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES packaging/halyard.service DESTINATION /lib/systemd/system)
install(FILES packaging/halyard.default DESTINATION /etc/default RENAME halyard)
install(FILES packaging/halyard.conf DESTINATION /config/logconf)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME halyard)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "halyard maintainers <maintainers@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "control of a BlueRiver AV processor on an AV-over-IP endpoint")
set(CPACK_PACKAGE_DESCRIPTION
  "Turns the commands of the endpoint's command core into requests to the API\nserver of its AV processor, and reports status back.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Written out, so that a cross-built package says the same.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
  "libc6 (>= 2.36), libstdc++6 (>= 12), libgcc-s1, libjsoncpp25, liblog4cpp5v5, libcurl4, libavahi-client3, libavahi-common3")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "avahi-daemon, unzip")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  "${CMAKE_SOURCE_DIR}/packaging/postinst;${CMAKE_SOURCE_DIR}/packaging/prerm;${CMAKE_SOURCE_DIR}/packaging/conffiles")
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
endif()
include(CPack)
