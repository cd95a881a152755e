include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME Runtime)
set(QUELLARD_PLUGIN_DIR ${CMAKE_INSTALL_LIBDIR}/quellard)  # where the command looks for the module

# quellard_install(...): install(...), if what is built here is to be installed.
function(quellard_install)
  if(QUELLARD_INSTALL)
    install(${ARGN})
  endif()
endfunction()

# quellard_core_library(FOLDER): its library for other programs, as Quellard::FOLDER, whether
# they find it installed or take it by add_subdirectory. Its headers go with it.
function(quellard_core_library folder)
  add_library(Quellard::${folder} ALIAS quellard_${folder})
  set_target_properties(quellard_${folder} PROPERTIES EXPORT_NAME ${folder})
  target_include_directories(quellard_${folder} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/quellard>)
  quellard_install(TARGETS quellard_${folder} EXPORT Quellard
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
  quellard_install(DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quellard/${folder} COMPONENT Development
    FILES_MATCHING PATTERN *.h PATTERN fast EXCLUDE)
endfunction()

# find_package(Quellard): the engine and what it is made of.
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/Quellard)
set_target_properties(quellard_arithmetic PROPERTIES EXPORT_NAME arithmetic)
quellard_install(TARGETS quellard_arithmetic EXPORT Quellard)
quellard_install(EXPORT Quellard NAMESPACE Quellard:: FILE QuellardTargets.cmake
  DESTINATION ${package} COMPONENT Development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QuellardConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QuellardConfig.cmake INSTALL_DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuellardConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
quellard_install(
  FILES ${PROJECT_BINARY_DIR}/QuellardConfig.cmake ${PROJECT_BINARY_DIR}/QuellardConfigVersion.cmake
  DESTINATION ${package} COMPONENT Development)
