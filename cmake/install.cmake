# What gets installed, and the packages: `cmake --install` and `cpack`.
include(GNUInstallDirs)

install(TARGETS itunes-import itunes-items RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES docs/itunes-import.1 docs/itunes-items.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES docs/itunes.import.items.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
foreach(program itunes-import itunes-items)
  install(FILES completions/${program}.bash RENAME ${program}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endforeach()
install(FILES CHANGELOG.md docs/why-is-it-missing.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "itunes-import maintainers")
set(CPACK_PACKAGE_CONTACT "itunes-import maintainers <maintainers@users.noreply.c-seed-e8ca5ac9.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_SYSTEM_NAME linux-${CMAKE_SYSTEM_PROCESSOR}) # in the tarball's name
set(CPACK_STRIP_FILES ON)

# The host's dpkg tells architecture and dependencies, so another target gets the tarball only.
if(NOT CMAKE_CROSSCOMPILING)
  list(APPEND CPACK_GENERATOR DEB)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
