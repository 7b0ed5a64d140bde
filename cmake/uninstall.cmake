# Removes the files that the last `cmake --install` from a build folder listed in `manifest`, and the folder of
# documents. Other folders may be somebody else's, too.
if(NOT EXISTS "${manifest}")
  message(FATAL_ERROR "There is no ${manifest}: nothing was installed from this build folder.")
endif()
file(STRINGS "${manifest}" files)
foreach(file IN LISTS files)
  set(file "$ENV{DESTDIR}${file}")
  message(STATUS "Removing: ${file}")
  file(REMOVE "${file}")
  cmake_path(GET file PARENT_PATH folder)
  list(APPEND folders "${folder}")
endforeach()
list(REMOVE_DUPLICATES folders)
list(FILTER folders INCLUDE REGEX "/doc/itunes-import(/|$)")
list(SORT folders ORDER DESCENDING) # what lies deeper comes first
foreach(folder IN LISTS folders)
  execute_process(COMMAND rmdir "${folder}" OUTPUT_QUIET ERROR_QUIET) # stays while anything of the user's is in it
endforeach()
