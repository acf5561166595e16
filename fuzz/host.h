// What the targets share: bytes as choices, a file of the input, and what must hold of a slot
// whatever a host has done to it.
#ifndef SCAPI_FUZZ_HOST_H
#define SCAPI_FUZZ_HOST_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <string>

#include "scapi/scapi.h"

/// Ends the run with a message if something that must hold does not.
void Require(bool holds, const char* what);

/// The input, taken from the front; zeros behind its end.
struct Choices {
    const std::uint8_t* at;
    std::size_t left;

    template <class Value>
    Value Take()
    {
        Value value{};
        const std::size_t size = left < sizeof value ? left : sizeof value;
        if (size) std::memcpy(&value, at, size);
        at += size, left -= size;
        return value;
    }
    int Of(int count) { return Take<std::uint8_t>() % count; }
};

/// The path of a file in a folder of this process, without other files of its name.
std::string FreshFile(const std::string& name, const void* data, std::size_t size);

/// Any float, or a likely coordinate.
float TakeFloat(Choices& choices);
/// Mostly steps, sometimes any numbers.
void TakeMotion(Choices& choices, float (*start)[4], float (*end)[4]);

/// A result is one of those that the call can give.
void RequireResult(int result, std::initializer_list<int> possible);

/// Indices in range, use counts that sum up on a closed mesh, sane counts.
void RequireSound(int slot);

/// Moves, asks both ways round, walks, saves and reads boxes of two slots, then empties all.
void UseAsHost(Choices& choices);

#endif
