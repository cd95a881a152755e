# Programs of another processor. CMake starts its targets by the emulator; scripts and tests that
# start programs by name find, where they stand in other builds, scripts that do the same. The
# programs themselves lie in a folder of their own, with the plug-in that the command looks for
# beside itself.
# Of those for Windows none starts others by name.
if(NOT CMAKE_CROSSCOMPILING OR NOT CMAKE_CROSSCOMPILING_EMULATOR OR WIN32)
  return()
endif()
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/programs)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/programs)
file(CREATE_LINK ../quellard.so ${PROJECT_BINARY_DIR}/programs/quellard.so SYMBOLIC)

function(quellard_start_by_emulator)
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "' '" emulator)
  foreach(program IN LISTS ARGN)
    if(TARGET ${program})
      file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/$<TARGET_FILE_NAME:${program}>
        CONTENT "#!/bin/sh\nexec '${emulator}' '$<TARGET_FILE:${program}>' \"$@\"\n"
        FILE_PERMISSIONS
          OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endif()
  endforeach()
endfunction()
cmake_language(DEFER CALL quellard_start_by_emulator
  quellard_command quellard_jack jack_take close_window clap_tests lv2_tests vst2_tests vst3_tests)
