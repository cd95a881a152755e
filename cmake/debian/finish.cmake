# Run by cpack on what it is about to pack, with a folder for each package: what Debian expects of
# packages and `cmake --install` has no need for.
file(GLOB packages ${CPACK_TEMPORARY_DIRECTORY}/*)
foreach(package IN LISTS packages)
  # The changelog, and the answers to what lintian asks.
  file(GLOB documents ${package}/usr/share/doc/*)
  cmake_path(GET documents FILENAME name)
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/changelog DESTINATION ${documents})
  if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/${name}.overrides)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/${name}.overrides
                   ${package}/usr/share/lintian/overrides/${name} COPYONLY)
  endif()

  file(GLOB_RECURSE papers ${package}/*.1)
  execute_process(COMMAND gzip -9nf ${papers} ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)

  # No symbols but those that are linked to, and no notes of the compiler.
  file(GLOB_RECURSE linked ${package}/usr/bin/* ${package}/*.so ${package}/*.clap)
  file(GLOB_RECURSE archives ${package}/*.a)
  foreach(file IN LISTS linked)
    execute_process(COMMAND ${CPACK_QUELLARD_STRIP} --strip-unneeded -R .comment -R .note ${file}
                    COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  foreach(file IN LISTS archives)
    execute_process(COMMAND ${CPACK_QUELLARD_STRIP} --strip-debug -R .comment -R .note ${file}
                    COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endforeach()
