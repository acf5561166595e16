// A JSON file whose values know their lines.
#ifndef SCAPI_CHECK_JSON_FILE_H
#define SCAPI_CHECK_JSON_FILE_H

#include <initializer_list>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "pose.h"
#include "problems.h"

namespace check
{

struct JsonFile {
    std::string path, text;
    std::shared_ptr<const nlohmann::json> root;
    std::map<std::string, int> lines; ///< of each value, by its JSON pointer
};

/// Reads a file without the lines of its values.
/// @return whether it is JSON; else a problem
bool ParseJson(const std::string& path, JsonFile& file, Problems& problems);

/// As ParseJson, with the lines. Keys that stand twice in an object are a problem: one of them
/// would be dropped.
/// @return whether the file was read; else a problem more
bool ReadJson(const std::string& path, JsonFile& file, Problems& problems);

/// A value in a file. What it is asked for and is not becomes a problem that names line and key.
struct Node {
    const JsonFile* file = nullptr;
    const nlohmann::json* value = nullptr; ///< null: missing
    std::string pointer;
    Problems* problems = nullptr;

    explicit operator bool() const { return value != nullptr; }
};

Node Root(const JsonFile& file, Problems& problems);
void Complain(const Node& node, const std::string& text);

/// Is it an object with no keys but these? Complains of each other key.
bool IsObject(const Node& node, std::initializer_list<const char*> keys);

/// A member; one without value where there is none.
Node Find(const Node& object, const std::string& key);
/// As Find, with a complaint where there is none.
Node Need(const Node& object, const std::string& key);

/// The elements of an array; none, with a complaint, where it is no array of `least` or more.
std::vector<Node> Elements(const Node& array, std::size_t least);

/// A finite number from low to high. @return `fallback` where it is missing or wrong
double Number(const Node& node, double low, double high, double fallback);
int Integer(const Node& node, int low, int high, int fallback);
/// @return the fallback where it is missing; empty where it is not a text, or an empty one
std::string Text(const Node& node, const std::string& fallback = {});
bool Flag(const Node& node, bool fallback);
/// One of some words. @return its number, `fallback` where it is missing or none of them
int Choice(const Node& node, std::initializer_list<const char*> words, int fallback);
/// Three numbers of at most `most` in size.
Vec Triple(const Node& node, double most, const Vec& fallback);

} // namespace check

#endif
