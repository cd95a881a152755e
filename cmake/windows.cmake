# Toolchain: 64-bit Windows, by Debian's MinGW-w64. What it builds carries every library but the
# system's own, so that it can be copied to any machine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)  # for GoogleTest
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_CXX_FLAGS_INIT "-DWIN32_LEAN_AND_MEAN -DNOMINMAX -DUNICODE -D_UNICODE -D_WIN32_WINNT=0x0A00")
# Without symbols, which are of no use without their sources: what is tested is what is packed.
foreach(kind IN ITEMS EXE MODULE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static -s")
endforeach()
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-wine)

# Of this system's own files only those that hold no machine code: fonts, and libraries that are
# headers alone. Each by a link, since beside them in /usr/include are the headers of Linux.
set(found_here ${CMAKE_BINARY_DIR}/from-this-system)
file(MAKE_DIRECTORY ${found_here}/include ${found_here}/usr/share)
foreach(headers IN ITEMS CLI fmt kissfft lv2 nlohmann stb)
  file(CREATE_LINK /usr/include/${headers} ${found_here}/include/${headers} SYMBOLIC)
endforeach()
foreach(folder IN ITEMS dpf fonts)
  file(CREATE_LINK /usr/share/${folder} ${found_here}/usr/share/${folder} SYMBOLIC)
endforeach()
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${found_here})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(mode IN ITEMS LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${mode} ONLY)
endforeach()
set(ENV{PKG_CONFIG_LIBDIR} /usr/x86_64-w64-mingw32/lib/pkgconfig)
set(fmt_DIR ${CMAKE_CURRENT_LIST_DIR}/windows)
set(nlohmann_json_DIR ${CMAKE_CURRENT_LIST_DIR}/windows)
