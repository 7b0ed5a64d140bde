# What `cmake --install` installs, and the target that removes it again. scripts/package makes the packages of it.
include(GNUInstallDirs)

# Folders first, whatever the umask of who installs: others have to get at the programs and pages.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
  WORLD_READ WORLD_EXECUTE)
set(completions_dir ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
set(zsh_dir ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr") # where Debian's zsh looks for what packages bring
  set(zsh_dir ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
endif()
install(CODE "
  set(folders \"${CMAKE_INSTALL_BINDIR}\" \"${CMAKE_INSTALL_MANDIR}/man1\" \"${CMAKE_INSTALL_MANDIR}/man5\"
    \"${completions_dir}\" \"${zsh_dir}\" \"${CMAKE_INSTALL_DOCDIR}/examples/systemd\")
  include(\"${CMAKE_SOURCE_DIR}/cmake/install_folders.cmake\")")

foreach(program itunes-import itunes-items itunes-check itunes-prepare itunes-import-night)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()

# The pages say in their last line which version they tell of.
file(GLOB pages CONFIGURE_DEPENDS docs/*.[15])
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${pages} README.md)
foreach(page ${pages})
  cmake_path(GET page FILENAME name)
  file(READ ${page} text)
  string(REPLACE "\n.Os\n" "\n.Os ${PROJECT_NAME} ${PROJECT_VERSION}\n" text "${text}")
  file(WRITE ${CMAKE_BINARY_DIR}/docs/${name} "${text}")
  string(REGEX MATCH "[15]$" section ${name})
  install(FILES ${CMAKE_BINARY_DIR}/docs/${name} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()
file(GLOB completions CONFIGURE_DEPENDS completions/*.bash)
foreach(completion ${completions})
  cmake_path(GET completion STEM program)
  install(FILES ${completion} RENAME ${program} DESTINATION ${completions_dir})
endforeach()
install(FILES completions/_itunes-import DESTINATION ${zsh_dir})

# Laid out as here, so that the links from one to another lead somewhere. README's links to what is for builders, or
# is a manual page, become words.
file(READ README.md text)
string(REGEX REPLACE "\\[([^]]*)\\]\\((bench/|CONTRIBUTING|docs/[a-z.-]*\\.[15])[^)]*\\)" "\\1" text "${text}")
file(WRITE ${CMAKE_BINARY_DIR}/docs/README.md "${text}")
install(FILES ${CMAKE_BINARY_DIR}/docs/README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN *.md PATTERN *.png)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} PATTERN *.in EXCLUDE)

# The examples name the programs where they are: known at installation, since `--prefix` may choose another place.
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/examples/systemd)
foreach(example systemd/itunes-import.service itunes-import.cron)
  set(filled_in ${CMAKE_BINARY_DIR}/examples/${example})
  install(CODE "
    set(template \"${CMAKE_SOURCE_DIR}/examples/${example}.in\")
    set(filled_in \"${filled_in}\")
    set(bindir \"${CMAKE_INSTALL_BINDIR}\")
    include(\"${CMAKE_SOURCE_DIR}/cmake/install_example.cmake\")")
  cmake_path(GET example PARENT_PATH folder)
  install(FILES ${filled_in} DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/${folder})
endforeach()

add_custom_target(uninstall COMMENT "Removing what was installed last from this folder"
  COMMAND ${CMAKE_COMMAND} -D manifest=${CMAKE_BINARY_DIR}/install_manifest.txt
    -P ${CMAKE_SOURCE_DIR}/cmake/uninstall.cmake)
