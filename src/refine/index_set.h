// A set of indices that is read in ascending order while it changes: one bit for each index, and
// above each word of 64 bits one bit that says whether any of them is set, up to a single word.
#ifndef SCAPI_REFINE_INDEX_SET_H
#define SCAPI_REFINE_INDEX_SET_H

#include <array>
#include <bit>
#include <climits>
#include <cstdint>
#include <vector>

class IndexSet {
public:
    static constexpr int kNone = INT_MAX;

    /// Makes room for the indices below `count`; members stay.
    void Cover(int count)
    {
        auto words = static_cast<std::size_t>(count);
        for (auto& level : levels) {
            words = words / 64 + 1;
            if (level.size() < words) level.resize(words);
        }
    }

    /// @param index  covered, and so for Erase
    void Insert(int index)
    {
        auto i = static_cast<std::size_t>(index);
        for (auto& level : levels) {
            std::uint64_t& word = level[i / 64];
            const bool wasEmpty = word == 0;
            word |= Bit(i);
            if (!wasEmpty) return;
            i /= 64;
        }
    }

    void Erase(int index)
    {
        auto i = static_cast<std::size_t>(index);
        for (auto& level : levels) {
            if ((level[i / 64] &= ~Bit(i)) != 0) return;
            i /= 64;
        }
    }

    /// The least member from `from` on, or kNone.
    int Next(int from) const
    {
        auto i = static_cast<std::size_t>(from);
        for (std::size_t height = 0; height < levels.size(); ++height) {
            const auto& level = levels[height];
            if (i / 64 >= level.size()) return kNone;
            if (const std::uint64_t ahead = level[i / 64] >> i % 64) {
                i += FirstBit(ahead);
                while (height-- > 0) i = i * 64 + FirstBit(levels[height][i]);
                return static_cast<int>(i);
            }
            i = i / 64 + 1;
        }
        return kNone;
    }

private:
    static std::uint64_t Bit(std::size_t i) { return std::uint64_t{1} << i % 64; }
    static std::size_t FirstBit(std::uint64_t word)
    {
        return static_cast<std::size_t>(std::countr_zero(word));
    }

    /// Six times six bits: more than any index has.
    std::array<std::vector<std::uint64_t>, 6> levels;
};

#endif
