# Puts the parts of the page and three.js into one viewer.html, and that into a C++ file.
# cmake -D SOURCE=... -D THREE=... -D CONTROLS=... -D LICENCE=... -D PAGE=... -D EMBEDDED=... -P assemble.cmake
file(READ ${SOURCE}/page.html page)

# Each part replaces its placeholder.
function(insert placeholder file escape)
  file(READ ${file} part)
  if(escape)
    string(REPLACE "&" "&amp;" part "${part}")
    string(REPLACE "<" "&lt;" part "${part}")
  elseif(part MATCHES "</(script|style)")
    message(FATAL_ERROR "${file} would end its element of the page")
  endif()
  string(FIND "${page}" "@${placeholder}@" place)
  if(place EQUAL -1)
    message(FATAL_ERROR "page.html has no place for ${placeholder}")
  endif()
  string(REPLACE "@${placeholder}@" "${part}" page "${page}")
  set(page "${page}" PARENT_SCOPE)
endfunction()

insert(PAGE_CSS ${SOURCE}/page.css OFF)
insert(PAGE_JS ${SOURCE}/page.js OFF)
insert(THREE_LICENCE ${LICENCE} ON)
insert(ORBIT_CONTROLS_JS ${CONTROLS} OFF)
insert(THREE_JS ${THREE} OFF)

string(REGEX MATCHALL "@SCAPI_SCENE@" places "${page}")
list(LENGTH places count)
if(NOT count EQUAL 1)
  message(FATAL_ERROR "viewer.html has ${count} places for the scene instead of one")
endif()
file(WRITE ${PAGE} "${page}")

file(READ ${PAGE} bytes HEX)
string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
file(SIZE ${PAGE} size)
file(WRITE ${EMBEDDED} "#include \"template.h\"

namespace view
{

const unsigned char kTemplate[] = {
${bytes}};
const std::size_t kTemplateSize = ${size};

} // namespace view
")
