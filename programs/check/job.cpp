#include "job.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "gcode.h"
#include "gcode_block.h"
#include "position_table.h"
#include "support/paths.h"

namespace check
{
namespace
{

constexpr double kMostRange = 1e4; ///< mm, of tolerances and clearances

struct Reader {
    Job& job;
    Problems& problems;
    double unit = 1;

    double LengthOf(const Node& node, double low, double high, double fallback) const
    {
        return node ? unit * Number(node, low / unit, high / unit, fallback / unit) : fallback;
    }

    Pose ReadPose(const Node& node) const
    {
        if (!node || !IsObject(node, {"at", "turn"})) return kRest;
        const Vec at = unit * Triple(Find(node, "at"), kMostLength / unit, {});
        const Vec turn = Triple(Find(node, "turn"), 360, {});
        Pose pose = kRest;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            Vec direction{};
            direction[axis] = 1;
            pose = Composed(TurnAbout({}, direction, turn[axis] * kRadians), pose);
        }
        return Composed(Shift(at), pose);
    }

    /// Positions of some axes by their letters; the others stay.
    void ReadPosition(const Node& node, Position& position) const
    {
        if (!node) return;
        for (const char* letter = kAxisLetters; *letter; ++letter) {
            const Node value = Find(node, std::string(1, *letter));
            if (!value) continue;
            const int axis = AxisOf(job.machine, *letter);
            if (axis < 0) {
                Complain(value, std::string("the machine has no axis ") + *letter);
                continue;
            }
            const double scale = *letter <= 'C' ? 1 : unit;
            position[static_cast<std::size_t>(axis)] =
                scale * Number(value, -kMostLength / scale, kMostLength / scale, 0);
        }
    }

    /// "base", "table", "spindle", or the letter of the axis that carries it.
    void ReadMount(const Node& node, Body& body) const
    {
        const std::string on = Text(node, "table");
        const std::size_t axis =
            on.size() == 1 ? std::size_t(AxisOf(job.machine, on[0])) : kMaxAxes;
        if (on == "base") {
            body.side = Side::kBase;
        } else if (on == "table") {
            body.side = Side::kTable, body.frame.link = job.machine.TableLink();
        } else if (on == "spindle") {
            body.side = Side::kHead, body.frame.link = job.machine.HeadLink();
            body.frame.mount = Composed(job.machine.gauge, body.frame.mount);
        } else if (axis < job.machine.axes.size()) {
            body.side = axis < job.machine.tableAxes ? Side::kTable : Side::kHead;
            body.frame.link = axis + 1;
        } else {
            Complain(node, "must be \"base\", \"table\", \"spindle\" or an axis of the machine");
        }
    }

    void DigestMesh(const Body& body, std::int64_t triangles)
    {
        constexpr std::int64_t kAtATime = 1024;
        std::vector<float> corners(9 * kAtATime);
        for (std::int64_t first = 0; first < triangles; first += kAtATime) {
            const std::int64_t count =
                scapi_mesh_triangles(body.mesh.get(), first, kAtATime, corners.data());
            if (count > 0)
                Digest(job.digest, corners.data(), std::size_t(count) * 9 * sizeof(float));
        }
    }

    void AddBody(Body body, const Node& node)
    {
        if (!body.mesh) return;
        for (const Body& other : job.bodies)
            if (other.name == body.name) Complain(node, "a second body \"" + body.name + "\"");
        for (const char* group : kGroupNames)
            if (body.name == group && body.name != NameOf(body.group))
                Complain(node, "a body cannot have the name of another group");
        scapi_mesh_info info{};
        if (const int code = scapi_mesh_get_info(body.mesh.get(), &info); code != SCAPI_OK)
            Complain(node, scapi_error_text(code));
        for (std::size_t i = 0; i < 3; ++i)
            body.frame.low[i] = info.low[i], body.frame.high[i] = info.high[i];
        body.closed = info.closed != 0;
        DigestMesh(body, info.triangles);
        body.radius = Length(body.frame.high - body.frame.low) / 2;
        job.bodies.push_back(std::move(body));
    }

    void ReadBody(const Node& node)
    {
        if (!IsObject(node, {"name", "group", "on", "stl", "box", "cylinder", "profile", "units",
                             "pose", "surface"}))
            return;
        Body body;
        body.name = Text(Need(node, "name"), "?");
        const int group = Choice(Need(node, "group"), {"part", "fixture", "machine", "spindle"}, 0);
        constexpr Group kGroups[] = {Group::kPart, Group::kFixture, Group::kMachine,
                                     Group::kSpindle};
        body.group = kGroups[group];
        body.frame.mount = ReadPose(Find(node, "pose"));
        ReadMount(Find(node, "on"), body);
        body.surface = Flag(Find(node, "surface"), false);
        body.mesh = ReadShape(node, unit, job.settings.chord);
        AddBody(std::move(body), node);
    }

    void AddToolBody(const Node& node, const Tool& tool, Group group, const Profile& profile,
                     double shift)
    {
        if (profile.empty()) return;
        Body body;
        body.name = 'T' + std::to_string(tool.number) + " " + NameOf(group);
        body.group = group, body.side = Side::kHead;
        body.tool = static_cast<std::int32_t>(job.tools.size());
        body.frame.link = job.machine.HeadLink();
        body.frame.mount = Composed(job.machine.gauge, Shift({0, 0, shift}));
        body.mesh = Revolved(profile, job.settings.chord);
        if (!body.mesh) Complain(node, "makes no solid");
        AddBody(std::move(body), node);
    }

    void ReadTool(const Node& node)
    {
        if (!IsObject(node, {"number", "name", "length", "cylinder", "profile", "cutting_length",
                             "holder"}))
            return;
        Tool tool;
        tool.number = Integer(Need(node, "number"), 1, 99999, 1);
        tool.name = Text(Find(node, "name"), 'T' + std::to_string(tool.number));
        tool.length = LengthOf(Need(node, "length"), 0, kMostLength, 0);
        for (const Tool& other : job.tools)
            if (other.number == tool.number) Complain(node, "a second tool of this number");
        const double cutting = LengthOf(Need(node, "cutting_length"), 1e-4, kMostLength, 1);
        if (const Profile outline = ReadProfile(node, unit); !outline.empty()) {
            const double foot = outline.front()[1], end = outline.back()[1];
            if (foot != 0) Complain(node, "the tool must begin at z = 0, its tip");
            AddToolBody(node, tool, Group::kCutter, Cut(outline, foot, cutting), -tool.length);
            AddToolBody(node, tool, Group::kShank, Cut(outline, cutting, end), -tool.length);
        }
        if (const Node holder = Find(node, "holder");
            holder && IsObject(holder, {"profile", "cylinder"}))
            AddToolBody(holder, tool, Group::kHolder, ReadProfile(holder, unit), 0);
        job.tools.push_back(tool);
    }

    void ReadLengths(const Node& node)
    {
        for (const Tool& tool : job.tools)
            SetLength(static_cast<std::size_t>(tool.number), tool.length);
        if (!node) return;
        if (!node.value->is_object()) return Complain(node, "must be an object");
        for (const auto& item : node.value->items()) {
            const Node value = Find(node, item.key());
            const bool digits = item.key().find_first_not_of("0123456789") == std::string::npos;
            if (item.key().empty() || item.key().size() > 5 || !digits)
                Complain(value, "must have an H number as its key, 0 to 99999");
            else
                SetLength(std::stoul(item.key()), LengthOf(value, -kMostLength, kMostLength, 0));
        }
    }

    void SetLength(std::size_t number, double length)
    {
        if (job.lengths.size() <= number) job.lengths.resize(number + 1, NAN);
        job.lengths[number] = length;
    }

    void ReadOffsets(const Node& node)
    {
        if (!node || !IsObject(node, {"G54", "G55", "G56", "G57", "G58", "G59"})) return;
        for (std::size_t i = 0; i < job.offsets.size(); ++i) {
            const Node offset = Find(node, 'G' + std::to_string(54 + i));
            if (offset && IsObject(offset, {"X", "Y", "Z", "A", "B", "C"}))
                ReadPosition(offset, job.offsets[i]);
        }
    }

    void ReadSettings(const Node& node)
    {
        Settings& s = job.settings;
        s.dogLeg = Choice(Find(node, "rapids"), {"dog-leg", "straight"}, 0) == 0;
        s.blockDelete = Flag(Find(node, "block_delete"), false);
        s.tolerance = LengthOf(Find(node, "tolerance"), 0, kMostRange, s.tolerance);
        s.precision = LengthOf(Find(node, "precision"), 1e-5, 10, s.precision);
        s.chord = LengthOf(Find(node, "chord"), 1e-5, 10, s.chord);
        const Node clearance = Find(node, "clearance");
        if (clearance && IsObject(clearance, {"limit", "range"})) {
            s.limit = LengthOf(Find(clearance, "limit"), 0, kMostRange, s.limit);
            s.range = LengthOf(Find(clearance, "range"), 0, kMostRange, 2 * s.limit);
        }
        s.range = std::max({s.range, s.limit, s.tolerance});
    }

    /// Does the text name a file that can be there to read? With a complaint where it does not.
    bool IsFile(const Node& node) const
    {
        const std::string name = Text(node);
        if (name.empty()) return false;
        std::error_code error;
        const auto status = std::filesystem::status(ToPath(BesideOf(job.path, name)), error);
        const bool there = std::filesystem::exists(status);
        if (there && !std::filesystem::is_directory(status)) return true;
        Complain(node, BesideOf(job.path, name) + (there ? " is a folder" : " is missing"));
        return false;
    }

    void ReadMachinePart(const Node& node)
    {
        if (!node) return;
        if (!node.value->is_string()) {
            job.machine = ReadMachine(node);
        } else if (IsFile(node)) {
            JsonFile file;
            if (ReadJson(BesideOf(job.path, Text(node)), file, problems))
                job.machine = ReadMachine(Root(file, problems));
            Digest(job.digest, file.text.data(), file.text.size());
        }
        if (job.machine.axes.empty()) Complain(node, "has no axes");
        if (!job.settings.dogLeg) return;
        for (const Axis& axis : job.machine.axes)
            if (axis.rapid == 0)
                Complain(node, std::string("axis ") + axis.letter +
                                   " has no \"rapid\" speed, which dog-leg rapids need (or set "
                                   "\"rapids\" to \"straight\")");
    }

    void ReadStart(const Node& node)
    {
        for (std::size_t i = 0; i < job.machine.axes.size(); ++i)
            job.start[i] = job.machine.axes[i].home;
        if (!node || !IsObject(node, {"X", "Y", "Z", "A", "B", "C", "tool"})) return;
        ReadPosition(node, job.start);
        const Node tool = Find(node, "tool");
        if (!tool) return;
        const int number = Integer(tool, 1, 99999, 1);
        const auto at = std::find_if(job.tools.begin(), job.tools.end(),
                                     [&](const Tool& t) { return t.number == number; });
        if (at == job.tools.end()) return Complain(tool, "no tool has this number");
        job.startTool = static_cast<std::int32_t>(at - job.tools.begin());
    }

    void CheckRules(const Node& node) const
    {
        for (std::size_t i = 0; i < job.rules.size(); ++i)
            for (const std::string& name : {job.rules[i].a, job.rules[i].b}) {
                const bool known = std::find(std::begin(kGroupNames), std::end(kGroupNames),
                                             name) != std::end(kGroupNames) ||
                                   std::any_of(job.bodies.begin(), job.bodies.end(),
                                               [&](const Body& body) { return body.name == name; });
                if (!known) Complain(node, "\"" + name + "\" is neither a group nor a body");
            }
    }

    void ReadParts(const Node& root)
    {
        job.name = Text(Find(root, "name"), ToUtf8(ToPath(job.path).stem()));
        unit = UnitOf(root, 1);
        job.programUnit = unit;
        ReadSettings(root);
        ReadMachinePart(Need(root, "machine"));
        for (const Node& node : Elements(Need(root, "bodies"), 1)) ReadBody(node);
        for (const Node& node : Elements(Find(root, "tools"), 0)) ReadTool(node);
        ReadLengths(Find(root, "lengths"));
        ReadOffsets(Find(root, "offsets"));
        ReadStart(Find(root, "start"));
        job.rules = ReadRules(Find(root, "rules"));
        CheckRules(Find(root, "rules"));
        const Node gcode = Find(root, "program"), table = Find(root, "positions");
        if (!gcode == !table) return Complain(root, "needs one of \"program\" and \"positions\"");
        job.isTable = !gcode;
        if (IsFile(gcode ? gcode : table))
            job.programPath = BesideOf(job.path, Text(gcode ? gcode : table));
    }
};

/// One warning for moves that follow each other: a program may be beyond a limit a million times.
void CheckLimits(const Job& job, Problems& warnings)
{
    std::array<bool, kMaxAxes> beyond{};
    for (const Move& move : job.program.moves) {
        const Path path = PathOf(job.machine, job.program, move, false);
        for (std::size_t i = 0; i < job.machine.axes.size(); ++i) {
            const Axis& axis = job.machine.axes[i];
            const auto [low, high] = RangeOf(path, i);
            const bool before = beyond[i];
            beyond[i] = low < axis.low - 1e-9 || axis.high + 1e-9 < high;
            if (!beyond[i] || before) continue;
            const double farthest = low < axis.low ? low : high;
            warnings.push_back({job.programPath, move.line, "",
                                std::string("axis ") + axis.letter + " at " +
                                    FormatNumber(farthest) +
                                    " is beyond its limits (named until it is back)"});
        }
    }
}

} // namespace

void Digest(std::uint64_t& digest, const void* bytes, std::size_t count)
{
    const auto* at = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i < count; ++i) digest = (digest ^ at[i]) * 0x100000001b3;
}

bool ReadJob(const std::string& path, Job& job, Problems& problems)
{
    job.path = path;
    JsonFile file;
    if (!ReadJson(path, file, problems)) return false;
    const Node root = Root(file, problems);
    if (IsObject(root, {"$schema", "name", "units", "machine", "bodies", "tools", "lengths",
                        "offsets", "start", "rules", "program", "positions", "rapids",
                        "block_delete", "tolerance", "precision", "chord", "clearance"}))
        Reader{job, problems}.ReadParts(root);
    if (!problems.empty()) return false;
    const bool read = job.isTable ? ReadPositionTable(job, problems) : ReadGcode(job, problems);
    if (read) CheckLimits(job, job.program.warnings);
    Digest(job.digest, file.text.data(), file.text.size());
    Digest(job.digest, job.program.text.data(), job.program.text.size());
    return read;
}

} // namespace check
