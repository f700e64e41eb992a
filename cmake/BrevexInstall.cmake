# What `cmake --install` gives: header, library, program with man page and completions, brevex.pc, CMake package.

include(CMakePackageConfigHelpers)

install(TARGETS brevex EXPORT BrevexTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/brevex/brevex.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/brevex)

if(TARGET brevex_program)
  file(RELATIVE_PATH to_library /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(brevex_program PROPERTIES INSTALL_RPATH $ORIGIN/${to_library})
  install(TARGETS brevex_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES tools/brevex/brevex.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES tools/brevex/completions/brevex.bash RENAME brevex
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES tools/brevex/completions/_brevex DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
  install(FILES tools/brevex/completions/brevex.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Brevex)
install(EXPORT BrevexTargets NAMESPACE Brevex:: DESTINATION ${package_dir})
write_basic_package_version_file(BrevexConfigVersion.cmake COMPATIBILITY SameMajorVersion)
configure_package_config_file(cmake/BrevexConfig.cmake.in BrevexConfig.cmake INSTALL_DESTINATION ${package_dir})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/BrevexConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/BrevexConfigVersion.cmake
  DESTINATION ${package_dir})

# The prefix is found from where brevex.pc stands, so an installed tree can be moved.
file(RELATIVE_PATH BREVEX_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/brevex.pc.in brevex.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/brevex.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
