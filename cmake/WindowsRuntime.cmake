# What programs cross-built for Windows load besides the system's libraries, put beside them, as an installation has it.
set(TAVRIN_RUNTIME_LIBRARIES)
foreach(library IN ITEMS Core Gui Concurrent Qml QmlModels QmlWorkerScript)
  find_file(runtime_${library} Qt5${library}.dll PATHS ${TAVRIN_WINDOWS_PREFIX}/bin REQUIRED
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  list(APPEND TAVRIN_RUNTIME_LIBRARIES ${runtime_${library}})
endforeach()
foreach(library IN ITEMS libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${path}")
    message(FATAL_ERROR "${CMAKE_CXX_COMPILER} does not know where ${library} is")
  endif()
  list(APPEND TAVRIN_RUNTIME_LIBRARIES ${path})
endforeach()
file(COPY ${TAVRIN_RUNTIME_LIBRARIES} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
# The QML module that scenes import, where Qt looks for it by itself.
file(COPY ${TAVRIN_WINDOWS_PREFIX}/qml DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
