# libbrevex.so.6: the objects of the api layer and what they need of the layers below, exporting the public functions
# and nothing else. Included by the api layer.

add_library(brevex SHARED $<TARGET_OBJECTS:brevex_api>)
set_target_properties(brevex PROPERTIES
  LINKER_LANGUAGE CXX
  LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/brevex.map
)
target_include_directories(brevex INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
)
target_link_libraries(brevex PRIVATE brevex_api)
target_link_options(brevex PRIVATE -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/brevex.map -Wl,--as-needed)
if(NOT BREVEX_SANITIZE AND NOT BREVEX_FUZZ)
  target_link_options(brevex PRIVATE -Wl,--no-undefined)
endif()
add_library(Brevex::brevex ALIAS brevex)
