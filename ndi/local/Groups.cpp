#include "ndi/local/Groups.h"

#include <algorithm>
#include <vector>

namespace localndi
{
namespace
{

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t";
    const auto begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

std::vector<std::string_view> split(std::string_view list)
{
    std::vector<std::string_view> groups;
    for (;;) {
        const auto comma = list.find(',');
        const auto group = trimmed(list.substr(0, comma));
        if (!group.empty())
            groups.push_back(group);
        if (comma == std::string_view::npos)
            break;
        list.remove_prefix(comma + 1);
    }
    if (groups.empty())
        groups.push_back("public");
    return groups;
}

} // namespace

bool groupsIntersect(std::string_view a, std::string_view b)
{
    const auto ours = split(a);
    const auto theirs = split(b);
    return std::find_first_of(ours.begin(), ours.end(), theirs.begin(), theirs.end()) != ours.end();
}

} // namespace localndi
