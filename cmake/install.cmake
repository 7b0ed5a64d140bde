# What `cmake --install` installs. scripts/package makes the packages of it.
include(GNUInstallDirs)

# Whatever the umask of who installs: others have to get at the programs and pages.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)

foreach(program itunes-import itunes-items itunes-check)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()
foreach(script itunes-prepare itunes-import-night)
  if(EXISTS ${CMAKE_SOURCE_DIR}/tools/${script}/${script})
    install(PROGRAMS tools/${script}/${script} DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()

file(GLOB pages_1 CONFIGURE_DEPENDS docs/*.1)
file(GLOB pages_5 CONFIGURE_DEPENDS docs/*.5)
install(FILES ${pages_1} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${pages_5} DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
file(GLOB completions CONFIGURE_DEPENDS completions/*.bash)
foreach(completion ${completions})
  cmake_path(GET completion STEM program)
  install(FILES ${completion} RENAME ${program} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endforeach()

# Laid out as here, so that the links from one to another lead somewhere.
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN *.md)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} PATTERN *.in EXCLUDE)

# The examples name the programs where they are: known at installation, since `--prefix` may choose another place.
foreach(example systemd/itunes-import.service itunes-import.cron)
  set(filled_in ${CMAKE_BINARY_DIR}/examples/${example})
  install(CODE "
    cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_PREFIX OUTPUT_VARIABLE prefix)
    cmake_path(APPEND prefix \"${CMAKE_INSTALL_BINDIR}\" OUTPUT_VARIABLE bindir)
    configure_file(\"${CMAKE_SOURCE_DIR}/examples/${example}.in\" \"${filled_in}\" @ONLY)")
  cmake_path(GET example PARENT_PATH folder)
  install(FILES ${filled_in} DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/${folder})
endforeach()
