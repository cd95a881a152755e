# The toolchain file of the page: WebAssembly with Debian's clang, libc++ and wasi-libc.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_CXX_COMPILER clang++-22)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_AR llvm-ar)
set(CMAKE_RANLIB llvm-ranlib)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# Debian's libraries are in the folder of the target's older name, at which clang grumbles. They are made
# without exceptions: where memory ends, the module stops. Vectors of two doubles are in every browser
# since 2023.
string(JOIN " " CMAKE_CXX_FLAGS_INIT
  -stdlib=libc++ -Wno-deprecated -fignore-exceptions -msimd128
  "-include ${CMAKE_CURRENT_LIST_DIR}/../page/wasm/one_thread.h")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-mexec-model=reactor")

# One thread, so that whoever looks for the library of threads finds it in what is there.
set(THREADS_PREFER_PTHREAD_FLAG OFF)
set(CMAKE_HAVE_PTHREAD_H ON CACHE INTERNAL "")
set(CMAKE_HAVE_LIBC_PTHREAD ON CACHE INTERNAL "")

# A folder with nothing else in it: /usr/include has the headers of this machine's C library.
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/include)
file(CREATE_LINK /usr/include/stb ${CMAKE_BINARY_DIR}/include/stb SYMBOLIC)
set(STB_INCLUDE_DIR ${CMAKE_BINARY_DIR}/include)
