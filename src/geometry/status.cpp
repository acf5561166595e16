#include "geometry/status.h"

std::array<std::uint32_t, 8> StatusFlags{};

namespace
{

constexpr int kLastAddressable = 6;

bool IsAddressable(int word) { return 1 <= word && word <= kLastAddressable; }

} // namespace

void SetStatus(int command, std::uint32_t bits)
{
    if (command == 0) StatusFlags.fill(0);
    if (IsAddressable(command)) StatusFlags[static_cast<std::size_t>(command - 1)] |= bits;
}

int TestStatus(int word, std::uint32_t bits)
{
    return IsAddressable(word) && (StatusFlags[static_cast<std::size_t>(word - 1)] & bits) != 0;
}

void MergeStatus(const std::uint32_t* words)
{
    for (std::size_t i = 0; i < StatusFlags.size(); ++i) StatusFlags[i] |= words[i];
}
