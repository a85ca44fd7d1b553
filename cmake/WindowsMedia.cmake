# tavrin_windows on Windows: the system's own COM, Media Foundation and Direct3D 11.
add_library(tavrin_windows INTERFACE)
target_link_libraries(tavrin_windows INTERFACE
  mfplat mf mfuuid evr strmiids d3d11 dxgi dxguid propsys ole32 oleaut32 uuid)
target_compile_definitions(tavrin_windows INTERFACE
  WINVER=0x0A00 _WIN32_WINNT=0x0A00 UNICODE _UNICODE)
if(MINGW)
  target_include_directories(tavrin_windows SYSTEM INTERFACE ${CMAKE_CURRENT_LIST_DIR}/mingw)
endif()
