#include "gcode.h"

#include <algorithm>
#include <map>

#include "arc.h"
#include "gcode_block.h"

namespace check
{
namespace
{

constexpr std::size_t kMostProblems = 20;
constexpr std::size_t kMostMoves = 20000000;
constexpr double kMostPecks = 10000;
constexpr int kNone = -1;

enum ModalGroup {
    kMotion,
    kPlane,
    kUnits,
    kDistance,
    kFeedMode,
    kCutterComp,
    kLength,
    kWork,
    kReturn,
    kOnce,
    kHarmless,
    kGroupCount
};

/// G words that are known, times ten.
struct KnownG {
    int code;
    ModalGroup group;
};
constexpr KnownG kKnownG[] = {
    {0, kMotion},     {10, kMotion},      {20, kMotion},   {30, kMotion},    {800, kMotion},
    {810, kMotion},   {820, kMotion},     {830, kMotion},  {170, kPlane},    {180, kPlane},
    {190, kPlane},    {200, kUnits},      {210, kUnits},   {900, kDistance}, {910, kDistance},
    {940, kFeedMode}, {400, kCutterComp}, {430, kLength},  {490, kLength},   {540, kWork},
    {550, kWork},     {560, kWork},       {570, kWork},    {580, kWork},     {590, kWork},
    {980, kReturn},   {990, kReturn},     {280, kOnce},    {530, kOnce},     {40, kHarmless},
    {90, kHarmless},  {610, kHarmless},   {640, kHarmless}};

/// M words that change no motion: 3 to 6 and 30 are followed, the others named once.
constexpr int kSilentM[] = {30, 40, 50, 60, 300};
/// They send the program elsewhere or move what is not modelled: never passed over.
constexpr int kRefusedM[] = {600, 960, 970, 980, 990, 1980, 1990};

std::string CodeName(char letter, int tenths)
{
    const std::string whole = letter + std::to_string(tenths / 10);
    return tenths % 10 == 0 ? whole : whole + "." + std::to_string(tenths % 10);
}

template <class Codes>
bool Has(const Codes& codes, int code)
{
    return std::find(std::begin(codes), std::end(codes), code) != std::end(codes);
}

/// What stays in force from block to block.
struct Modal {
    int motion = kNone; ///< 0 to 3, 80 to 83
    int plane = 17;
    double unit = 1; ///< mm
    bool absolute = true;
    std::size_t work = 0;  ///< into Job::offsets
    double length = 0;     ///< tool length offset along Z, mm
    bool toInitial = true; ///< G98
    bool feedGiven = false;
    std::int32_t nextTool = kNone;
    bool numbered = false;                     ///< by an O word
    bool toolSaid = false;                     ///< T was given: T0 too, for an empty spindle
    double cycleR = 0, cycleZ = 0, cycleQ = 0; ///< words, as given last, mm
    bool hasR = false, hasZ = false, hasQ = false;
    bool cycleAbsolute = true; ///< G90 or G91 when R and the depth were given
    double initial = 0;        ///< where the third axis stood when the cycle was called
};

struct Interpreter {
    Job& job;
    Problems& problems;
    Program& program;
    Modal modal{};
    Position at{};
    std::int32_t tool = kNone;
    std::int32_t line = 0;
    bool ended = false, saidUnreachable = false, blockSeen = false;
    std::array<bool, kMaxAxes> offsetChanged{}; ///< since the axis was last sent somewhere
    std::map<std::string, std::size_t> said{};  ///< warnings that are given once, with their places
    std::array<int, kGroupCount> word{};        ///< of this block, by group; kNone

    void Fail(const std::string& text) { problems.push_back({job.programPath, line, "", text}); }
    void Warn(const std::string& text)
    {
        program.warnings.push_back({job.programPath, line, "", text});
    }
    /// Only at the first line.
    void WarnOnce(const std::string& text)
    {
        if (said.emplace(text, 0).second) Warn(text + " (named once)");
    }

    // ------------------------------------------------------------------------------- moves

    void Emit(MoveKind kind, const Position& to, std::int32_t arc = kNone)
    {
        if (to == at && kind != MoveKind::kPlace && arc == kNone) return;
        for (std::size_t i = 0; i < kMaxAxes; ++i)
            if (!(std::fabs(to[i]) <= kMostLength)) return Fail("an axis would go beyond 1000 m");
        if (kind != MoveKind::kPlace && tool == kNone && !job.tools.empty())
            WarnOnce("moves without a tool in the spindle");
        if (program.moves.size() == kMostMoves) return Fail("more than 20 million moves");
        program.moves.push_back({at, to, line, tool, arc, kind});
        at = to;
    }

    double OffsetOf(std::size_t axis) const
    {
        const double length = job.machine.axes[axis].letter == 'Z' ? modal.length : 0;
        return job.offsets[modal.work][axis] + length;
    }

    double UnitOfAxis(std::size_t axis) const
    {
        return job.machine.axes[axis].rotary ? 1 : modal.unit;
    }

    /// Where the axis words of a block send the axes.
    /// @param machineCoordinates  G53
    Position Target(const Block& block, bool machineCoordinates = false)
    {
        Position to = at;
        for (const char* letter = kAxisLetters; *letter; ++letter) {
            const auto value = block.Word(*letter);
            if (!value) continue;
            const int index = AxisOf(job.machine, *letter);
            if (index < 0) {
                Fail(std::string("the machine has no axis ") + *letter);
                continue;
            }
            const auto axis = static_cast<std::size_t>(index);
            const double way = *value * UnitOfAxis(axis);
            if (machineCoordinates)
                to[axis] = way;
            else if (modal.absolute)
                to[axis] = way + OffsetOf(axis);
            else
                to[axis] = at[axis] + way;
            if (!modal.absolute && offsetChanged[axis] && way != 0)
                Warn(std::string(1, *letter) +
                     " goes by an increment after a change of offsets; it is taken from where the "
                     "axis stands, some controls add the change");
            offsetChanged[axis] = false;
        }
        return to;
    }

    static bool HasAxisWords(const Block& block)
    {
        return std::any_of(kAxisLetters, kAxisLetters + kMaxAxes,
                           [&](char letter) { return block.Word(letter).has_value(); });
    }

    /// Letters of the plane: the arc runs from the first to the second, G3 that way round; the
    /// third stands on it.
    const char* PlaneLetters() const
    {
        return modal.plane == 17 ? "XYZ" : modal.plane == 18 ? "ZXY" : "YZX";
    }

    /// Axes of the plane. @return whether the machine has them
    bool PlaneAxes(std::array<std::size_t, 3>& axes)
    {
        for (std::size_t i = 0; i < 3; ++i) {
            const int axis = AxisOf(job.machine, PlaneLetters()[i]);
            if (axis < 0) {
                Fail(std::string("the plane needs an axis ") + PlaneLetters()[i]);
                return false;
            }
            axes[i] = static_cast<std::size_t>(axis);
        }
        return true;
    }

    void TakeArc(const Block& block)
    {
        std::array<std::size_t, 3> axes{};
        if (!PlaneAxes(axes)) return;
        const char* letters = PlaneLetters();
        const char third = static_cast<char>(letters[2] - 'X' + 'I');
        if (block.Word(third)) return Fail(std::string(1, third) + " is not of the plane");
        const Position to = Target(block);
        ArcWords words;
        words.clockwise = modal.motion == 2;
        for (std::size_t i = 0; i < 2; ++i) {
            words.from[i] = at[axes[i]], words.to[i] = to[axes[i]];
            const auto offset = block.Word(static_cast<char>(letters[i] - 'X' + 'I'));
            if (offset) words.offset[i] = *offset * modal.unit;
        }
        if (const auto radius = block.Word('R')) words.radius = *radius * modal.unit;
        if (!block.Word(letters[0]) && !block.Word(letters[1]) && words.radius)
            return Fail("an arc by R needs an end in its plane");
        Arc arc;
        arc.first = axes[0], arc.second = axes[1];
        const std::string fault = ArcFromWords(words, arc);
        if (!fault.empty()) return Fail(fault);
        program.arcs.push_back(arc);
        Emit(MoveKind::kArc, to, static_cast<std::int32_t>(program.arcs.size()) - 1);
    }

    // ---------------------------------------------------------------------- canned cycles

    void EmitAlong(MoveKind kind, std::size_t axis, double to)
    {
        Position target = at;
        target[axis] = to;
        Emit(kind, target);
    }

    /// Down and up in a hole. G83 pecks by Q and comes back to R each time.
    void Drill(std::size_t axis, double top, double bottom)
    {
        const double peck = modal.motion == 83 ? modal.cycleQ : top - bottom;
        double depth = top;
        for (int k = 1; depth > bottom; ++k) {
            if (k > 1) {
                EmitAlong(MoveKind::kRetract, axis, top);
                EmitAlong(MoveKind::kRetract, axis, std::min(top, depth + kPeckClearance));
            }
            depth = std::max(bottom, top - k * peck);
            EmitAlong(MoveKind::kFeed, axis, depth);
        }
        EmitAlong(MoveKind::kRetract, axis, top);
    }

    void TakeCycleWords(const Block& block, char third)
    {
        if (block.Word('R') && block.Word(third)) modal.cycleAbsolute = modal.absolute;
        const auto take = [&](char letter, double& value, bool& has) {
            if (const auto given = block.Word(letter)) value = *given * modal.unit, has = true;
        };
        take('R', modal.cycleR, modal.hasR);
        take(third, modal.cycleZ, modal.hasZ);
        take('Q', modal.cycleQ, modal.hasQ);
    }

    void TakeCycle(const Block& block)
    {
        std::array<std::size_t, 3> axes{};
        if (!PlaneAxes(axes)) return;
        const char third = PlaneLetters()[2];
        TakeCycleWords(block, third);
        if (!modal.hasR || !modal.hasZ)
            return Fail(std::string("a canned cycle needs R and ") + third);
        if (modal.cycleAbsolute != modal.absolute)
            return Fail(std::string("G90 or G91 within a canned cycle: R and ") + third +
                        " have to be given anew");
        const double shift = modal.absolute ? OffsetOf(axes[2]) : modal.initial;
        const double top = shift + modal.cycleR;
        const double bottom = (modal.absolute ? shift : top) + modal.cycleZ;
        if (!(bottom < top)) return Fail(std::string(1, third) + " is not below R");
        if (modal.motion == 83 && !(modal.hasQ && modal.cycleQ > 0))
            return Fail("G83 needs Q above 0");
        if (modal.motion == 83 && (top - bottom) / modal.cycleQ > kMostPecks)
            return Fail("Q makes more than 10000 pecks");
        Block across = block;
        across.word[static_cast<std::size_t>(third - 'A')].reset();
        offsetChanged[axes[2]] = false;
        const Position over = Target(across);
        if (at[axes[2]] < top)
            Warn("the cycle starts below its R; checked across first, then up to R, which not all "
                 "controls do");
        Emit(MoveKind::kRapid, over);
        EmitAlong(MoveKind::kRapid, axes[2], top);
        Drill(axes[2], top, bottom);
        if (modal.toInitial) EmitAlong(MoveKind::kRapid, axes[2], std::max(top, modal.initial));
    }

    // ------------------------------------------------------------------------------ blocks

    void TakeReference(const Block& block)
    {
        if (!HasAxisWords(block)) return Fail("G28 needs the axes that go home");
        const Position between = Target(block);
        Emit(MoveKind::kRapid, between);
        Position home = at;
        for (const char* letter = kAxisLetters; *letter; ++letter) {
            const int axis = AxisOf(job.machine, *letter);
            if (axis < 0 || !block.Word(*letter)) continue;
            home[static_cast<std::size_t>(axis)] =
                job.machine.axes[static_cast<std::size_t>(axis)].home;
        }
        Emit(MoveKind::kRapid, home);
    }

    void TakeMotion(const Block& block)
    {
        const bool arc = modal.motion == 2 || modal.motion == 3;
        const bool arcWords = block.Word('I') || block.Word('J') || block.Word('K');
        if (Has(block.g, 40) && HasAxisWords(block))
            return Fail("G4 takes its time by P; axis words beside it could be a time or a motion");
        if (word[kOnce] == 280) return TakeReference(block);
        if (arcWords && !arc) return Fail("I, J, K belong to G2 and G3");
        if (word[kOnce] == 530) {
            if (modal.motion != 0 && modal.motion != 1) return Fail("G53 needs G0 or G1");
            if (!modal.absolute) return Fail("G53 needs G90");
            return Emit(modal.motion == 0 ? MoveKind::kRapid : MoveKind::kFeed,
                        Target(block, true));
        }
        const bool cycle = modal.motion > 80;
        if (!HasAxisWords(block) && !(arc && arcWords) && !(cycle && word[kMotion] != kNone)) {
            if (arc && block.Word('R')) Fail("an arc by R needs an end in its plane");
            return;
        }
        if (modal.motion == kNone || modal.motion == 80)
            return Fail("axis words, but no motion such as G0 or G1 is in force");
        if (modal.motion != 0 && !modal.feedGiven) WarnOnce("a feed move before any F");
        if (arc) return TakeArc(block);
        if (cycle) return TakeCycle(block);
        Emit(modal.motion == 0 ? MoveKind::kRapid : MoveKind::kFeed, Target(block));
    }

    /// Sorts the G words of a block into their groups. @return whether all are known
    bool SortWords(const Block& block)
    {
        word.fill(kNone);
        for (const int code : block.g) {
            const auto known = std::find_if(std::begin(kKnownG), std::end(kKnownG),
                                            [&](const KnownG& k) { return k.code == code; });
            if (known == std::end(kKnownG)) {
                Fail(CodeName('G', code) + " is not known");
                return false;
            }
            if (word[known->group] != kNone && known->group != kHarmless) {
                Fail(CodeName('G', word[known->group]) + " and " + CodeName('G', code) +
                     " exclude each other in one block");
                return false;
            }
            word[known->group] = code;
            if (known->group == kHarmless)
                WarnOnce(CodeName('G', code) + " is taken to move nothing");
        }
        return true;
    }

    /// Letters with a meaning that the block does not give them are named.
    void CheckLetters(const Block& block)
    {
        const bool cycle = modal.motion > 80, arc = modal.motion == 2 || modal.motion == 3;
        for (const char letter : {'E', 'L', 'U', 'V', 'W'})
            if (block.Word(letter)) Fail(std::string(1, letter) + " is not known");
        if (block.Word('Q') && !cycle) Fail("Q belongs to G83");
        if (block.Word('R') && !cycle && !arc) Fail("R belongs to G2, G3 and canned cycles");
        if (block.Word('P') && !cycle && !Has(block.g, 40)) Fail("P belongs to G4 and G82");
        if (block.Word('H') && word[kLength] != 430) Fail("H belongs to G43");
        if (block.Word('O') && modal.numbered)
            Fail("a second program begins before the first ends");
        modal.numbered |= block.Word('O').has_value();
        if (block.Word('D')) WarnOnce("D is not used: cutter compensation is not followed");
    }

    void TakeTool(const Block& block)
    {
        if (const auto number = block.Word('T')) {
            modal.nextTool = kNone, modal.toolSaid = true;
            for (std::size_t i = 0; i < job.tools.size(); ++i)
                if (job.tools[i].number == *number) modal.nextTool = static_cast<std::int32_t>(i);
            if (modal.nextTool == kNone && *number != 0)
                Fail("the job has no tool " + FormatNumber(*number));
        }
        if (!Has(block.m, 60)) return;
        if (!modal.toolSaid) return Fail("M6 without a T before it");
        tool = modal.nextTool;
        Emit(MoveKind::kPlace, at);
    }

    void TakeLength(const Block& block)
    {
        if (word[kLength] == kNone) return;
        const double before = modal.length;
        const auto number = block.Word('H');
        if (word[kLength] == 490) {
            modal.length = 0;
        } else if (!number) {
            return Fail("G43 needs H");
        } else {
            const double h = *number;
            const bool known = h >= 0 && h < static_cast<double>(job.lengths.size()) &&
                               h == std::floor(h) &&
                               !std::isnan(job.lengths[static_cast<std::size_t>(h)]);
            if (!known && h != 0) return Fail("the job has no length H" + FormatNumber(h));
            modal.length = known ? job.lengths[static_cast<std::size_t>(h)] : 0;
            const bool fits = tool >= 0 && job.tools[static_cast<std::size_t>(tool)].number == h;
            if (!fits)
                Warn('H' + FormatNumber(h) + " is not the length of the tool in the spindle");
        }
        const int z = AxisOf(job.machine, 'Z');
        if (z >= 0 && modal.length != before) offsetChanged[static_cast<std::size_t>(z)] = true;
    }

    void TakeModes(const Block& block)
    {
        if (word[kUnits] != kNone) modal.unit = word[kUnits] == 200 ? 25.4 : 1;
        const bool newPlane = word[kPlane] != kNone && word[kPlane] / 10 != modal.plane;
        if (newPlane && modal.motion > 80 && word[kMotion] == kNone)
            Fail("the plane changes within a canned cycle");
        if (newPlane) modal.plane = word[kPlane] / 10;
        if (word[kDistance] != kNone) modal.absolute = word[kDistance] == 900;
        if (word[kReturn] != kNone) modal.toInitial = word[kReturn] == 980;
        if (word[kWork] != kNone) {
            modal.work = static_cast<std::size_t>(word[kWork] / 10 - 54);
            offsetChanged.fill(true);
        }
        TakeLength(block);
        if (word[kMotion] == kNone) return;
        const int motion = word[kMotion] / 10;
        if (motion > 80 && (modal.motion <= 80 || newPlane)) {
            modal.hasR = modal.hasZ = modal.hasQ = false;
            const int third = AxisOf(job.machine, PlaneLetters()[2]);
            if (third >= 0) modal.initial = at[static_cast<std::size_t>(third)];
        }
        modal.motion = motion;
    }

    void TakeM(const Block& block)
    {
        for (const int code : block.m) {
            if (Has(kRefusedM, code) || code % 10 != 0)
                Fail(CodeName('M', code) + " is not followed, and it may move something");
            else if (!Has(kSilentM, code))
                WarnOnce(CodeName('M', code) + " is taken to move nothing");
            ended |= code == 20 || code == 300;
        }
    }

    void TakeBlock(const Block& block)
    {
        if (!SortWords(block)) return;
        if (const auto feed = block.Word('F')) {
            modal.feedGiven = true;
            if (!(*feed > 0)) Fail("F must be above 0");
        }
        TakeTool(block);
        TakeModes(block);
        CheckLetters(block);
        TakeMotion(block);
        TakeM(block);
    }

    void TakeLine(std::string_view text)
    {
        Block block;
        const std::string fault = ReadBlock(text, block);
        if (ended) {
            if (!saidUnreachable && (!fault.empty() || !block.IsEmpty())) {
                Warn("blocks behind the end of the program are not checked");
                saidUnreachable = true;
            }
            return;
        }
        if (!fault.empty()) return Fail(fault);
        if (block.programMark) {
            ended = blockSeen;
            return;
        }
        if (block.deletable) {
            WarnOnce(job.settings.blockDelete ? "blocks with / are left out"
                                              : "blocks with / are checked");
            if (job.settings.blockDelete) return;
        }
        if (block.IsEmpty()) return;
        blockSeen = true;
        TakeBlock(block);
    }

    void Run()
    {
        Emit(MoveKind::kPlace, at);
        const std::string_view text = program.text;
        for (std::size_t i = 0; i < program.lines.size() && problems.size() < kMostProblems; ++i) {
            const std::size_t begin = program.lines[i];
            const std::size_t end =
                i + 1 < program.lines.size() ? program.lines[i + 1] : text.size();
            line = static_cast<std::int32_t>(i + 1);
            TakeLine(text.substr(begin, end - begin));
        }
        if (!ended && problems.empty()) Warn("the program has no end: M30, M2 or %");
    }
};

} // namespace

bool ReadGcode(Job& job, Problems& problems)
{
    if (!ReadText(job.programPath, job.program, problems)) return false;
    Interpreter interpreter{job, problems, job.program};
    interpreter.modal.unit = job.programUnit;
    interpreter.at = job.start;
    interpreter.tool = job.startTool;
    interpreter.Run();
    return problems.empty();
}

} // namespace check
