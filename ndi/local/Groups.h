#pragma once

#include <string_view>

namespace localndi
{

// Whether two comma-separated lists of groups have one in common; an empty list is the group `public`.
bool groupsIntersect(std::string_view a, std::string_view b);

} // namespace localndi
