# Installation and the Debian package (cpack -G DEB, or the "package" target).
include(GNUInstallDirs)

if(TARGET brovant)
  install(TARGETS brovant RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES packaging/brovant.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES src/app/icons/app_icon.svg
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps RENAME brovant.svg)
endif()
install(TARGETS brovant-tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The demo master data, so a fresh installation can be tried without an office.
install(FILES demo/passive.dtr DESTINATION ${CMAKE_INSTALL_DATADIR}/brovant/demo)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/brovant)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME brovant)
set(CPACK_PACKAGE_VENDOR "Brovant")
set(CPACK_PACKAGE_CONTACT "Brovant <brovant@example.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Tally of standing timber for foresters (Brovanterfassung)")
set(CPACK_PACKAGE_DESCRIPTION "Tally lists of standing timber on a 240 x 320 touch screen: species, \
diameters from the keypad or an electronic caliper, volumes from the office's tariffs, totals, \
printed reports, and list files to and from the office over ActiveSync, cable, modem or FTP. \
Includes brovant-tool, the admin tool, and demo master data.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
# The shared libraries' packages are found by dpkg-shlibdeps; the rest is used at run time.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Qt's platform plugins (the window system, and "offscreen" for the admin tool's reports) are
# loaded at run time, out of dpkg-shlibdeps' sight.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-dejavu-core, alsa-utils")
set(CPACK_STRIP_FILES ON)
include(CPack)
