#include "json_file.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>

#include "read_file.h"

namespace check
{
namespace
{

/// Pointers grow with each level.
constexpr std::size_t kMostLevels = 100;

/// As a JSON pointer has it.
std::string Escaped(const std::string& key)
{
    std::string out;
    for (const char c : key) out += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    return out;
}

/// Walks over text that is known to be JSON and notes the line of each value. The parser keeps no
/// places, and takes the last of two equal keys without a word.
struct LineScan {
    struct Level {
        std::string pointer;
        bool array;
        std::size_t index = 0;
    };
    JsonFile& file;
    Problems& problems;
    std::size_t at = 0;
    int line = 1;
    std::vector<Level> levels{};
    std::string key{};

    std::string Pointer() const
    {
        if (levels.empty()) return "";
        const Level& top = levels.back();
        return top.pointer + "/" + (top.array ? std::to_string(top.index) : Escaped(key));
    }

    void Note()
    {
        const std::string pointer = Pointer();
        if (!file.lines.emplace(pointer, line).second)
            problems.push_back({file.path, line, pointer, "stands twice in the same object"});
    }

    std::string TakeText()
    {
        const std::size_t start = at++;
        while (file.text[at] != '"') at += file.text[at] == '\\' ? 2 : 1;
        ++at;
        return nlohmann::json::parse(file.text.substr(start, at - start)).get<std::string>();
    }

    void TakeValue(char c)
    {
        Note();
        if (c == '{' || c == '[') {
            if (levels.size() == kMostLevels) {
                problems.push_back({file.path, line, "", "is nested too deep"});
                at = file.text.size();
                return;
            }
            levels.push_back({Pointer(), c == '['});
            ++at;
        } else if (c == '"') {
            TakeText();
        } else {
            while (at < file.text.size() && !std::strchr(",]} \t\r\n", file.text[at])) ++at;
        }
    }

    void Run()
    {
        bool wantsKey = false;
        if (file.text.starts_with("\xef\xbb\xbf")) at = 3; // a byte order mark
        while (at < file.text.size()) {
            const char c = file.text[at];
            if (c == '\n') ++line;
            if (std::strchr(" \t\r\n:", c)) {
                ++at;
            } else if (c == '}' || c == ']') {
                levels.pop_back();
                wantsKey = false;
                ++at;
            } else if (c == ',') {
                ++levels.back().index;
                wantsKey = !levels.back().array;
                ++at;
            } else if (wantsKey) {
                key = TakeText();
                wantsKey = false;
            } else {
                TakeValue(c);
                wantsKey = c == '{';
            }
        }
    }
};

int LineOfByte(const std::string& text, std::size_t byte)
{
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(byte, text.size()));
    return 1 + static_cast<int>(std::count(text.begin(), end, '\n'));
}

/// What the parser says, from its "syntax error" on, without its number and place.
std::string Reason(const std::string& what)
{
    const std::size_t colon = what.find(": ");
    return colon == std::string::npos ? what : what.substr(colon + 2);
}

} // namespace

bool ParseJson(const std::string& path, JsonFile& file, Problems& problems)
{
    file.path = path;
    if (!ReadFile(path, file.text, problems)) return false;
    try {
        file.root = std::make_shared<const nlohmann::json>(nlohmann::json::parse(file.text));
    } catch (const nlohmann::json::parse_error& error) {
        const std::size_t byte = error.byte > 0 ? error.byte - 1 : 0;
        problems.push_back({path, LineOfByte(file.text, byte), "", Reason(error.what())});
        return false;
    } catch (const nlohmann::json::exception& error) {
        problems.push_back({path, 0, "", Reason(error.what())});
        return false;
    }
    return true;
}

bool ReadJson(const std::string& path, JsonFile& file, Problems& problems)
{
    if (!ParseJson(path, file, problems)) return false;
    const std::size_t before = problems.size();
    LineScan{file, problems}.Run();
    return problems.size() == before;
}

Node Root(const JsonFile& file, Problems& problems)
{
    return {&file, file.root.get(), "", &problems};
}

void Complain(const Node& node, const std::string& text)
{
    const auto at = node.file->lines.find(node.pointer);
    node.problems->push_back({node.file->path, at == node.file->lines.end() ? 1 : at->second,
                              node.pointer.empty() ? "/" : node.pointer, text});
}

bool IsObject(const Node& node, std::initializer_list<const char*> keys)
{
    if (!node) return false;
    if (!node.value->is_object()) {
        Complain(node, "must be an object");
        return false;
    }
    for (const auto& item : node.value->items()) {
        if (std::find(keys.begin(), keys.end(), item.key()) != keys.end()) continue;
        std::string known;
        for (const char* key : keys) known += (known.empty() ? "" : ", ") + std::string(key);
        Complain(Find(node, item.key()), "is not known here; known are " + known);
    }
    return true;
}

Node Find(const Node& object, const std::string& key)
{
    Node found = object;
    found.pointer += '/' + Escaped(key);
    found.value = nullptr;
    if (!object || !object.value->is_object()) return found;
    const auto at = object.value->find(key);
    if (at != object.value->end()) found.value = &*at;
    return found;
}

Node Need(const Node& object, const std::string& key)
{
    const Node found = Find(object, key);
    if (object && object.value->is_object() && !found) Complain(object, "needs \"" + key + "\"");
    return found;
}

std::vector<Node> Elements(const Node& array, std::size_t least)
{
    std::vector<Node> out;
    if (!array) return out;
    if (!array.value->is_array() || array.value->size() < least) {
        Complain(array, "must be a list of " + std::to_string(least) + " or more");
        return out;
    }
    for (std::size_t i = 0; i < array.value->size(); ++i)
        out.push_back({array.file, &(*array.value)[i], array.pointer + "/" + std::to_string(i),
                       array.problems});
    return out;
}

double Number(const Node& node, double low, double high, double fallback)
{
    if (!node) return fallback;
    const double number = node.value->is_number() ? node.value->get<double>() : NAN;
    if (low <= number && number <= high) return number;
    std::ostringstream text;
    text << "must be a number from " << low << " to " << high;
    Complain(node, text.str());
    return fallback;
}

int Integer(const Node& node, int low, int high, int fallback)
{
    const double number = Number(node, low, high, fallback);
    if (number == std::floor(number)) return static_cast<int>(number);
    Complain(node, "must be a whole number");
    return fallback;
}

std::string Text(const Node& node, const std::string& fallback)
{
    if (!node) return fallback;
    if (node.value->is_string() && !node.value->get_ref<const std::string&>().empty())
        return node.value->get<std::string>();
    Complain(node, "must be a text that is not empty");
    return {};
}

bool Flag(const Node& node, bool fallback)
{
    if (!node) return fallback;
    if (node.value->is_boolean()) return node.value->get<bool>();
    Complain(node, "must be true or false");
    return fallback;
}

int Choice(const Node& node, std::initializer_list<const char*> words, int fallback)
{
    if (!node) return fallback;
    std::string known;
    int index = 0;
    for (const char* word : words) {
        if (node.value->is_string() && node.value->get_ref<const std::string&>() == word)
            return index;
        known += (index++ == 0 ? "\"" : ", \"") + std::string(word) + "\"";
    }
    Complain(node, "must be one of " + known);
    return fallback;
}

Vec Triple(const Node& node, double most, const Vec& fallback)
{
    if (!node) return fallback;
    if (!node.value->is_array() || node.value->size() != 3) {
        Complain(node, "must be a list of three numbers");
        return fallback;
    }
    Vec out{};
    const std::vector<Node> parts = Elements(node, 3);
    for (std::size_t i = 0; i < 3; ++i) out[i] = Number(parts[i], -most, most, fallback[i]);
    return out;
}

} // namespace check
