// Blocks of a G-code program, as words.
#ifndef SCAPI_CHECK_GCODE_BLOCK_H
#define SCAPI_CHECK_GCODE_BLOCK_H

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace check
{

struct Block {
    bool deletable = false;                       ///< begins with /
    bool programMark = false;                     ///< begins with %: start or end of the tape
    std::vector<int> g, m;                        ///< numbers times ten: G43.4 is 434
    std::array<std::optional<double>, 26> word{}; ///< of the other letters, by letter - 'A'

    std::optional<double> Word(char letter) const
    {
        return word[static_cast<std::size_t>(letter - 'A')];
    }
    bool IsEmpty() const;
};

/// Comments in parentheses, or from a semicolon on, are left out; letters are of either case;
/// blanks may stand anywhere.
/// @return what is wrong with the line; empty when all of it was understood
std::string ReadBlock(std::string_view line, Block& block);

/// As people write it: no more digits than needed, 6 behind the point at the most.
std::string FormatNumber(double number);

} // namespace check

#endif
