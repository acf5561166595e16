// viewer.html as bytes; defined in a file that the build generates.
#ifndef SCAPI_PROGRAMS_VIEW_TEMPLATE_H
#define SCAPI_PROGRAMS_VIEW_TEMPLATE_H

#include <cstddef>

namespace view
{

extern const unsigned char kTemplate[];
extern const std::size_t kTemplateSize;

} // namespace view

#endif
