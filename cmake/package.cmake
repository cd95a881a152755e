# A Debian package: cpack -G DEB. Its dependencies are those of the libraries that the files load.
set(CPACK_PACKAGE_NAME quellard)
set(CPACK_PACKAGE_CONTACT "Quellard maintainers <maintainers@quellard.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "three-channel guitar amplifier: plug-ins, command, JACK program")
set(CPACK_PACKAGE_DESCRIPTION
    "CLEAN, VINTAGE and MODERN, as CLAP, LV2, VST3 and VST 2.4 plug-ins, as a program to plug into,
and as a command that plays recordings through them.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/compress_manuals.cmake)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
install(FILES LICENSE DESTINATION share/doc/quellard RENAME copyright)
include(CPack)
