# What is installed besides the program, and the Debian package.
include(GNUInstallDirs)

set(resources ${CMAKE_SOURCE_DIR}/resources)

install(TARGETS kasto)
install(FILES ${resources}/app.tolvane.kasto.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${resources}/app.tolvane.kasto.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${resources}/app.tolvane.kasto.service DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/services)
install(FILES ${resources}/search/app.tolvane.kasto.search-provider.ini
    DESTINATION ${CMAKE_INSTALL_DATADIR}/gnome-shell/search-providers)
install(FILES ${resources}/search/app.tolvane.kasto.krunner.desktop
    DESTINATION ${CMAKE_INSTALL_DATADIR}/krunner/dbusplugins RENAME app.tolvane.kasto.desktop)
install(FILES ${resources}/60-kasto-touchpad.rules DESTINATION lib/udev/rules.d)
install(FILES ${resources}/kasto.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(DIRECTORY ${resources}/icons/ DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
# The typefaces are in the program, their licences go along with it.
file(GLOB typefaceLicences ${resources}/fonts/*-OFL.txt)
install(FILES ${typefaceLicences} DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME copyright)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kasto)
set(CPACK_PACKAGE_CONTACT "The kasto developers <kasto@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "screen recorder that zooms while it records")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "kasto lives in the status area and composes every frame of its movie itself: live zoom and pan, presses\ndrawn as pulses, a webcam tile, system sound and microphone in tracks of their own.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${resources}/debian/postinst)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pipewire, wireplumber, dbus-user-session")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
include(CPack)
