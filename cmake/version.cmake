# Takes the version from the header that hosts include, the one place where it is written.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/../include/scapi/version.h SCAPI_VERSION_LINES
     REGEX "define SCAPI_VERSION_M|define SCAPI_VERSION_PATCH")
string(REGEX REPLACE "[^0-9]+([0-9]+)[^0-9]+([0-9]+)[^0-9]+([0-9]+)" "\\1.\\2.\\3"
       SCAPI_VERSION "${SCAPI_VERSION_LINES}")
