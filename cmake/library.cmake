# What the two shared libraries have in common: headers, exported names, version.
# Usage: scapi_shared_library(TARGET FOLDER DESCRIPTION), with exports.map or exports.def in FOLDER
function(scapi_shared_library target folder description)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    SCAPI_DESCRIPTION "${description}")
  string(REPLACE "scapi_" "" name ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  add_library(scapi::${name} ALIAS ${target})
  if(WIN32)
    # Hosts look for NAME.dll.
    set_target_properties(${target} PROPERTIES PREFIX "")
    enable_language(RC)
    set(SCAPI_RC_NAME ${target})
    set(SCAPI_RC_DESCRIPTION "${description}")
    configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${target}.rc @ONLY)
    target_sources(${target} PRIVATE
      ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc ${PROJECT_SOURCE_DIR}/${folder}/exports.def)
  else()
    set(exports ${PROJECT_SOURCE_DIR}/${folder}/exports.map)
    target_link_options(${target} PRIVATE LINKER:--version-script=${exports})
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exports})
  endif()
endfunction()
