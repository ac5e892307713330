# cpack -G DEB: the programs, the menu entry and its icon, the help page and
# the sample piece, a udev rule for the serial ports and a note on the group
# dialout. Dependencies are found by dpkg-shlibdeps.
install(FILES ${PROJECT_SOURCE_DIR}/data/debian/60-brivel.rules DESTINATION lib/udev/rules.d)
install(FILES ${PROJECT_SOURCE_DIR}/data/debian/README.Debian DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/brivel)
set(CPACK_PACKAGE_NAME brivel)
set(CPACK_PACKAGE_VENDOR "Brivel")
set(CPACK_PACKAGE_CONTACT "Brivel <brivel@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Barrel-organ card punching: MIDI files to punched cardboard books")
set(CPACK_PACKAGE_DESCRIPTION
    "Brivel turns a Standard MIDI File into the holes of a barrel-organ cardboard book and drives a three-axis punch through an Arduino board on a serial line. French console.")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The synthesiser comes with the libraries; its General MIDI sounds beside.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "timgm6mb-soundfont")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "avrdude, qt6-translations-l10n")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
include(CPack)
