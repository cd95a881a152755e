# quellard_program_pages(TARGET): the completion for bash and the manual page of a program, which it
# writes itself while it is built, and which are installed with it.
function(quellard_program_pages target)
  get_target_property(name ${target} OUTPUT_NAME)
  set(completions ${PROJECT_BINARY_DIR}/share/bash-completion/completions)
  set(manuals ${PROJECT_BINARY_DIR}/share/man/man1)
  file(MAKE_DIRECTORY ${completions} ${manuals})
  add_custom_command(OUTPUT ${completions}/${name} ${manuals}/${name}.1
    COMMAND ${target} --completion bash > ${completions}/${name}
    COMMAND ${target} --manual > ${manuals}/${name}.1
    DEPENDS ${target})
  add_custom_target(${target}_pages ALL DEPENDS ${completions}/${name} ${manuals}/${name}.1)
  quellard_install(FILES ${completions}/${name}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  quellard_install(FILES ${manuals}/${name}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endfunction()
