# Manual pages and shell completion; programs are installed where they are built.
file(GLOB man_pages CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/man/*.[1-8])
foreach(page IN LISTS man_pages)
  get_filename_component(section ${page} LAST_EXT)
  string(SUBSTRING ${section} 1 1 section)
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()

file(GLOB completions CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tools/completion/*)
install(FILES ${completions} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
