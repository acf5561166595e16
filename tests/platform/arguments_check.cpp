// Exits with 0 when the program's arguments, in UTF-8, are those that CMakeLists.txt gives it.
#include <algorithm>

#include "support/arguments_utf8.h"

int main(int count, char** arguments)
{
    const std::vector<std::string> given = Utf8Arguments(count, arguments);
    const std::vector<std::string> expected = {"夹具 1/ä.stl", "a \"b", "", "\\"};
    return !(given.size() == 5 && std::equal(expected.begin(), expected.end(), given.begin() + 1));
}
