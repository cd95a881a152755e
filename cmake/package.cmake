# Debian packages: cpack -G DEB. What musicians install, and the engine for those who build programs
# with it. Dependencies are those of the libraries that the files load.
quellard_install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quellard RENAME copyright)
quellard_install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libquellard-dev
  RENAME copyright COMPONENT Development)
set(CPACK_COMPONENTS_ALL Runtime Development)
if(TARGET quellard_python)
  list(APPEND CPACK_COMPONENTS_ALL Python)
  quellard_install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/python3-quellard
    RENAME copyright COMPONENT Python)
endif()

# The font that the face carries wants its notice to go with it; stb_truetype wants nothing.
find_file(QUELLARD_FONT_NOTICE copyright PATHS /usr/share/doc/fonts-dejavu-core NO_DEFAULT_PATH)
if(TARGET quellard_face AND QUELLARD_FONT_NOTICE)
  quellard_install(FILES ${QUELLARD_FONT_NOTICE} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quellard
    RENAME dejavu-fonts.copyright)
endif()

set(CPACK_PACKAGE_CONTACT "Quellard maintainers <maintainers@quellard.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has one of its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_QUELLARD_STRIP ${CMAKE_STRIP})  # that of the processor built for, for finish.cmake
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/finish.cmake)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME quellard)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS libxcb1)  # for the window, loaded when one opens
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "gnuplot-nox, jackd")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "three-channel guitar amplifier: plug-ins, command, JACK program
CLEAN, VINTAGE and MODERN, as CLAP, LV2, VST3 and VST 2.4 plug-ins, as a
program to plug into, and as a command that plays recordings through them.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquellard-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "three-channel guitar amplifier: its engine for other programs
The static libraries and headers of the guitar amplifier Quellard, to play
buffers of samples through it. CMake finds them by find_package(Quellard).")

# The module is made for one version of the interpreter.
if(TARGET quellard_python)
  math(EXPR next "${Python_VERSION_MINOR} + 1" OUTPUT_FORMAT DECIMAL)
  set(python3 "python3 (>= 3.${Python_VERSION_MINOR}~), python3 (<< 3.${next})")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${python3}, python3-numpy")
endif()
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-quellard)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS python3-distributed)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
    "three-channel guitar amplifier: package for Python
Plays NumPy arrays through the guitar amplifier Quellard, as recordings or
as streams, and sweeps of its settings over many recordings.")
include(CPack)
