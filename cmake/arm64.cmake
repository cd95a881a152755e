# The toolchain of the preset arm64: Debian's cross-compiler, with the libraries and the emulated
# system's root that scripts/arm unpacks.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++-12)

cmake_path(SET arm64_root NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-root)
set(CMAKE_SYSROOT ${arm64_root})
# By its whole name, as tests start programs with other paths to search.
find_program(QEMU_AARCH64 qemu-aarch64 REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${QEMU_AARCH64} -L ${arm64_root})

# The interpreter tells what its modules are called; where its headers are CMake asks no emulated one.
set(Python_EXECUTABLE ${arm64_root}/programs/python3)
file(GLOB Python_INCLUDE_DIR ${arm64_root}/usr/include/python3.*)

# For cpack.
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${arm64_root}/lib/aarch64-linux-gnu ${arm64_root}/usr/lib/aarch64-linux-gnu)

# Programs are this machine's; everything else is the root's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${arm64_root})
set(ENV{PKG_CONFIG_LIBDIR}
    ${arm64_root}/usr/lib/aarch64-linux-gnu/pkgconfig:${arm64_root}/usr/share/pkgconfig)
