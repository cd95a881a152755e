# The Python package, for the interpreter of the system: its packages bring NumPy and pybind11. Another
# one is chosen by Python_EXECUTABLE.
if(NOT Python_EXECUTABLE AND EXISTS /usr/bin/python3)
  set(Python_EXECUTABLE /usr/bin/python3)
endif()
find_package(Python COMPONENTS Interpreter Development.Module)  # python3-dev
find_package(pybind11 CONFIG)                                   # pybind11-dev
if(NOT Python_FOUND OR NOT pybind11_FOUND)
  message(STATUS "Without the Python package: python3-dev and pybind11-dev are needed")
  return()
endif()

# Where the interpreter looks, which is Debian's way below /usr and /usr/local, and the language's own
# elsewhere, as in the home folder.
set(version python${Python_VERSION_MAJOR}.${Python_VERSION_MINOR})
quellard_install(CODE "
  if(CMAKE_INSTALL_PREFIX STREQUAL /usr)
    set(python_packages lib/python3/dist-packages)
  elseif(CMAKE_INSTALL_PREFIX STREQUAL /usr/local)
    set(python_packages lib/${version}/dist-packages)
  else()
    set(python_packages lib/${version}/site-packages)
  endif()" COMPONENT Python)
set(QUELLARD_PYTHON_DIR "\${python_packages}")
add_subdirectory(python)
