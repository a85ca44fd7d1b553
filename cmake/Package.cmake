# cpack makes tavrin-ndi-VERSION-win64.zip, which runs where it is unzipped.
set(programs tavrin_host ndi_send ndi_recv ndi_probe)
install(TARGETS ${programs} multimedia RUNTIME DESTINATION bin)
install(TARGETS tavrin_plugin LIBRARY DESTINATION qml/Multimedia/Tavrin)
install(FILES plugin/qmldir plugin/plugins.qmltypes DESTINATION qml/Multimedia/Tavrin)
# In a folder of its own: whoever wants it in place of the vendor's names the folder.
install(TARGETS ndi_local RUNTIME DESTINATION ndi-local)
if(TAVRIN_RUNTIME_LIBRARIES)
  install(FILES ${TAVRIN_RUNTIME_LIBRARIES} DESTINATION bin)
  # Beside the example host, since another host has Qt's modules of its own.
  install(DIRECTORY ${TAVRIN_WINDOWS_PREFIX}/qml DESTINATION bin)
endif()
install(DIRECTORY examples DESTINATION .)
install(FILES docs/qml-api.md DESTINATION docs)
configure_file(cmake/package/README.txt.in ${CMAKE_BINARY_DIR}/package/README.txt @ONLY NEWLINE_STYLE CRLF)
install(FILES ${CMAKE_BINARY_DIR}/package/README.txt DESTINATION .)

set(CPACK_GENERATOR ZIP)
set(CPACK_SYSTEM_NAME win64)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_VENDOR "Tavrin")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "NDI in the media graph of a QML host")
set(CPACK_THREADS 0)
include(CPack)
