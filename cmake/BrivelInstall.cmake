# cmake --install: the programs in bin/, the help page and the sample piece
# in share/brivel/, a menu entry and its icon. The build folder gets the same
# share/brivel/, so that a program run from the build finds the help page as
# an installed one does (platform/qt/data_files.h).
include(GNUInstallDirs)
set(BRIVEL_DATA_FILES ${PROJECT_SOURCE_DIR}/data/Brivel.htm ${PROJECT_SOURCE_DIR}/data/sample.mid)
foreach(f IN LISTS BRIVEL_DATA_FILES)
  get_filename_component(name ${f} NAME)
  configure_file(${f} ${CMAKE_BINARY_DIR}/share/brivel/${name} COPYONLY)
endforeach()
install(FILES ${BRIVEL_DATA_FILES} DESTINATION ${CMAKE_INSTALL_DATADIR}/brivel)
foreach(p brivel brivel-card brivel-script brivel-board-sim)
  if(TARGET ${p})
    install(TARGETS ${p} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/data/brivel.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${PROJECT_SOURCE_DIR}/data/brivel.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
