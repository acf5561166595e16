// G-code programs against the moves that they mean, worked out by hand.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "arc.h"
#include "gcode.h"
#include "gcode_block.h"

namespace
{

using namespace check;

/// Axes X Y Z A, home at Z 100; tools 1 and 2 of length 50 and 80; G55 is at X 10 Y 20 Z 30.
Job MakeJob(const std::string& program)
{
    Job job;
    for (const char letter : {'X', 'Y', 'Z', 'A'}) {
        Axis axis;
        axis.letter = letter, axis.rotary = letter == 'A';
        axis.home = letter == 'Z' ? 100 : 0;
        job.machine.axes.push_back(axis);
    }
    job.tools = {{1, "T1", 50}, {2, "T2", 80}};
    job.lengths = {NAN, 50, 80};
    job.offsets[1] = {10, 20, 30};
    job.start = {0, 0, 100};
    const std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    job.programPath = (std::filesystem::temp_directory_path() / ("scapi_gcode_" + name)).string();
    std::ofstream(job.programPath, std::ios::binary) << program;
    return job;
}

/// "rapid 1: X0 Y0 Z10 A0; ..." of all moves but the first, which only places.
std::string MovesOf(const std::string& program)
{
    Job job = MakeJob(program);
    Problems problems;
    ReadGcode(job, problems);
    std::ostringstream out;
    for (const Problem& problem : problems) out << problem.line << ": " << problem.text << "; ";
    for (std::size_t i = 1; i < job.program.moves.size() && problems.empty(); ++i) {
        const Move& move = job.program.moves[i];
        out << NameOf(move.kind) << ' ' << move.line;
        for (std::size_t axis = 0; axis < 4; ++axis)
            if (move.to[axis] != move.from[axis])
                out << ' ' << job.machine.axes[axis].letter << FormatNumber(move.to[axis]);
        out << "; ";
    }
    std::filesystem::remove(job.programPath);
    return out.str();
}

struct Row {
    const char* fault; ///< what would be wrong if the row failed
    const char* program;
    const char* moves;
};

constexpr Row kRows[] = {
    {"MotionIsNotModal", "G0 X1\nY2\nG1 Z3 F9\nX4",
     "rapid 1 X1; rapid 2 Y2; feed 3 Z3; feed 4 X4; "},
    {"LowerCaseOrBlanksOrNumbersOfBlocks", "n10 g 0 x 1 . 5y-.5\r\nN20Y+3\r\n",
     "rapid 1 X1.5 Y-0.5; rapid 2 Y3; "},
    {"LineEndsOfAnOldMacSwallowLines", "G0 X1 ; a\rX2\rX3\r\nX4",
     "rapid 1 X1; rapid 2 X2; rapid 3 X3; "
     "rapid 4 X4; "},
    {"ByteOrderMarkIsAWord", "\xef\xbb\xbfG0 X1", "rapid 1 X1; "},
    {"DwellOfXIsAMotion", "G0 X1\nG4 X2",
     "2: G4 takes its time by P; axis words beside it could be a time or a motion; "},
    {"DwellAsTheTextHasIt", "G0 X1\nG4 P2\nX3", "rapid 1 X1; rapid 3 X3; "},
    {"CommentsAreRead", "(G0 X5)G0 X1(mm) Y2;Z9\n; X7", "rapid 1 X1 Y2; "},
    {"LeadingZeros", "G00 X1\nG01 Y1 F1", "rapid 1 X1; feed 2 Y1; "},
    {"InchesAreNotConverted", "G20 G0 X1 A90\nG21 Y1", "rapid 1 X25.4 A90; rapid 2 Y1; "},
    {"IncrementsAreAbsolute", "G91 G0 X1\nX1\nG90 X1", "rapid 1 X1; rapid 2 X2; rapid 3 X1; "},
    {"WorkOffsetsAreLost", "G55 G0 X0 Y0 Z0\nG54 X0", "rapid 1 X10 Y20 Z30; rapid 2 X0; "},
    {"MachineCoordinatesStayInForce", "G55 G53 G0 Z7\nZ7", "rapid 1 Z7; rapid 2 Z37; "},
    {"LengthIsNotAdded", "T1 M6\nG43 H1 G0 Z5\nG49 Z5", "place 1; rapid 2 Z55; rapid 3 Z5; "},
    {"LengthIsInMachineCoordinates", "T1 M6\nG43 H1 G0 Z5\nG53 Z0",
     "place 1; rapid 2 Z55; rapid 3 Z0; "},
    {"ReferenceSkipsTheWayPoint", "G0 X9 Z20\nG28 X5 Z50\nX9",
     "rapid 1 X9 Z20; rapid 2 X5 Z50; rapid 2 "
     "X0 Z100; rapid 3 X9; "},
    {"ReferenceByIncrement", "G0 Z20 X3\nG91 G28 Z0", "rapid 1 X3 Z20; rapid 2 Z100; "},
    {"CycleG81", "G0 Z20\nG81 X5 Z-3 R2 F9\nY7\nG80",
     "rapid 1 Z20; rapid 2 X5; rapid 2 Z2; feed 2 Z-3; retract 2 Z2; rapid 2 Z20; "
     "rapid 3 Y7; rapid 3 Z2; feed 3 Z-3; retract 3 Z2; rapid 3 Z20; "},
    {"CycleG82StaysAtR", "G0 Z20\nG99 G82 X5 Z-3 R2 P100 F9\nX6",
     "rapid 1 Z20; rapid 2 X5; rapid 2 Z2; feed 2 Z-3; retract 2 Z2; rapid 3 X6; feed 3 Z-3; "
     "retract 3 Z2; "},
    {"CycleG83Pecks", "G0 Z20\nG83 Z-5 R1 Q4 F9",
     "rapid 1 Z20; rapid 2 Z1; feed 2 Z-3; retract 2 Z1; retract 2 Z-2.75; feed 2 Z-5; retract 2 "
     "Z1; "
     "rapid 2 Z20; "},
    {"CycleByIncrements", "G0 Z20\nG91 G81 X5 Z-3 R-8 F9",
     "rapid 1 Z20; rapid 2 X5; rapid 2 Z12; feed 2 Z9; retract 2 Z12; rapid 2 Z20; "},
    {"CycleInAnotherPlane", "G0 Y20\nG18 G81 X5 Y-3 R2 F9",
     "rapid 1 Y20; rapid 2 X5; rapid 2 Y2; feed 2 Y-3; retract 2 Y2; rapid 2 Y20; "},
    {"DepthsOfACycleAreReadAnotherWay", "G0 Z20\nG81 Z-3 R2 F9\nG91 X5",
     "3: G90 or G91 within a canned cycle: R and Z have to be given anew; "},
    {"DepthsGivenAnewInIncrements", "G0 Z20\nG99 G81 Z-3 R2 F9\nG91 X5 Z-4 R-19",
     "rapid 1 Z20; rapid 2 Z2; feed 2 Z-3; retract 2 Z2; rapid 3 X5; rapid 3 Z1; feed 3 Z-3; "
     "retract 3 Z1; "},
    {"PlaneTurnsUnderACycle", "G0 Z20\nG81 Z-3 R2 F9\nG18 X5",
     "3: the plane changes within a canned cycle; "},
    {"CycleOfANewPlaneKeepsTheOldOnesWords", "G0 Z20 Y20\nG81 Z-3 R2 F9\nG18 G81 X5 R2",
     "3: a canned cycle needs R and Y; "},
    {"G0DoesNotEndACycle", "G0 Z20\nG81 Z-3 R2 F9\nG0 X5",
     "rapid 1 Z20; rapid 2 Z2; feed 2 Z-3; retract 2 Z2; rapid 2 Z20; rapid 3 X5; "},
    {"GoesOnBehindTheEnd", "%\nG0 X1\nM30\nX2\n%", "rapid 2 X1; "},
    {"SecondMarkIsNoEnd", "%\nG0 X1\n%\nX2", "rapid 2 X1; "},
    {"UnknownG", "G0 X1\nG68 X0 Y0 R45", "2: G68 is not known; "},
    {"DecimalsOfGAreCut", "G43.4 H1", "1: G43.4 is not known; "},
    {"CutterCompensation", "G41 D1", "1: G41 is not known; "},
    {"Subprogram", "M98 P1000",
     "1: P belongs to G4 and G82; 1: M98 is not followed, and it may move something; "},
    {"UnknownAxis", "G0 W1", "1: W is not known; "},
    {"AxisThatTheMachineHasNot", "G0 B1", "1: the machine has no axis B; "},
    {"TwoOfAGroup", "G0 G1 X1", "1: G0 and G1 exclude each other in one block; "},
    {"TwoOfALetter", "G0 X1 X2", "1: a second X in one block; "},
    {"AxesWithoutMotion", "X1", "1: axis words, but no motion such as G0 or G1 is in force; "},
    {"Expression", "G0 X[1+2]",
     "1: X has no number: \"X[1+2]\"; variables, expressions and calls are not followed; "},
    {"Variable", "#1=5",
     "1: no word of a letter and a number: \"#1=5\"; variables, expressions and calls are not "
     "followed; "},
    {"ProgramsFollowEachOther", "O1\nG0 X1\nO2\nX2",
     "3: a second program begins before the first ends; "},
    {"TerminalObeysAProgram", "\x1b[31m",
     "1: no word of a letter and a number: \"?[31M\"; variables, expressions and calls are not "
     "followed; "},
    {"NotANumber", "G0 Xnan", "1: X has no number: \"XNAN\"; "},
    {"Exponent", "G0 X1E5", "1: E is not known; "},
    {"HugeNumber", "G0 X99999999", "1: X99999999 is out of range; "},
    {"CommentWithoutEnd", "G0 X1 (oops", "1: a comment has no end; "},
    {"ToolThatIsNotThere", "T7 M6", "1: the job has no tool 7; "},
    {"ToolOfNoNumber", "M6", "1: M6 without a T before it; "},
    {"LengthThatIsNotThere", "G43 H9", "1: the job has no length H9; "},
    {"ZOfACycleAboveR", "G81 Z5 R2 F9", "1: Z is not below R; "},
    {"PeckOfNothing", "G83 Z-5 R2 Q0 F9", "1: G83 needs Q above 0; "},
    {"EndlessPecks", "G83 Z-5 R2 Q0.0001 F9", "1: Q makes more than 10000 pecks; "},
    {"ArcWithoutCentre", "G1 X0 F9\nG2 X1 Y1", "2: an arc needs R, or I, J, K of its plane; "},
    {"ArcOfRadius0", "G2 X1 Y1 I0 J0 F9", "1: the arc has radius 0; "},
    {"ArcThatDoesNotClose", "G2 X10 Y0 I4 F9",
     "1: the arc does not close: its start is 4 mm from the centre, its end 6; "},
    {"RTooSmall", "G2 X10 Y0 R4.9 F9", "1: R4.9 mm is too small for ends 10 mm apart; "},
    {"FullTurnByR", "G2 X0 Y0 R5 F9", "1: an arc by R needs an end that differs from its start; "},
    {"CentreOfAnotherPlane", "G17 G2 X1 Y1 I1 K1 F9", "1: K is not of the plane; "},
};

TEST(CheckGcode, ProgramsMeanTheirMoves)
{
    for (const Row& row : kRows) {
        EXPECT_EQ(MovesOf(row.program), row.moves) << row.fault;
    }
}

struct ArcRow {
    const char* fault;
    const char* words; ///< of the block, from X10 Y0 Z0 on
    double middle[3];  ///< half way
    double sweep;      ///< degrees
};

constexpr ArcRow kArcs[] = {
    {"G2RunsTheOtherWay", "G17 G2 X-10 Y0 I-10", {0, -10, 0}, -180},
    {"G3", "G17 G3 X-10 Y0 I-10", {0, 10, 0}, 180},
    {"FullTurn", "G17 G3 I-10", {-10, 0, 0}, 360},
    {"FullTurnIsLostByRounding",
     "G20 G91 X.1\nX.2\nX-.3\nG21 G90 G17 G3 X10 Y0 I-10",
     {-10, 0, 0},
     360},
    {"HelixDoesNotRise", "G17 G3 I-10 Z6", {-10, 0, 3}, 360},
    {"MinorArcByR", "G17 G3 X0 Y10 R10", {7.0710678, 7.0710678, 0}, 90},
    {"MajorArcByR", "G17 G3 X20 Y10 R-10", {27.0710678, -7.0710678, 0}, 270},
    {"G18IsSeenFromBelow", "G18 G3 X-10 Z0 I-10", {0, 0, -10}, 180},
    {"G18G2", "G18 G2 X-10 Z0 I-10", {0, 0, 10}, -180},
    {"G19", "G19 G3 Y-10 Z0 J-5", {10, -5, 5}, 180},
};

TEST(CheckGcode, ArcsOfAllPlanes)
{
    for (const ArcRow& row : kArcs) {
        Job job = MakeJob(std::string("G0 X10 Y0 Z0\nF9 ") + row.words + "\nM30");
        Problems problems;
        ASSERT_TRUE(ReadGcode(job, problems)) << row.fault << Describe(problems.at(0));
        const Path path = PathOf(job.machine, job.program, job.program.moves.back(), true);
        const Position at = At(path, 0.5);
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(at[i], row.middle[i], 1e-6) << row.fault << i;
        EXPECT_NEAR(path.arc->sweep / kRadians, row.sweep, 1e-9) << row.fault;
        std::filesystem::remove(job.programPath);
    }
}

/// A table, straight and by hand: X needs 10 s, Y 5 s.
TEST(CheckGcode, DogLegsEndAxisByAxis)
{
    Machine machine;
    machine.axes.resize(2);
    machine.axes[0].rapid = 60, machine.axes[1].rapid = 240;
    Program program;
    const Move move{{0, 0}, {10, 20}, 1, -1, -1, MoveKind::kRapid};
    const Path path = PathOf(machine, program, move, true);
    EXPECT_EQ(path.breaks, (std::vector<double>{0, 0.5, 1}));
    EXPECT_EQ(At(path, 0.5), (Position{5, 20}));
    EXPECT_EQ(At(path, 0.75), (Position{7.5, 20}));
    EXPECT_EQ(At(PathOf(machine, program, move, false), 0.5), (Position{5, 10}));
}

TEST(CheckGcode, EveryBeginningOfAProgramIsRead)
{
    const std::string program =
        "%\nO1 (a)\nG21 G0 X1 Y-2.5\nG3 X5 I2 F9\nG83 Z-9 R1 Q2\n/N5 X1;b\nM30\n%\n";
    for (std::size_t length = 0; length <= program.size(); ++length) {
        Job job = MakeJob(program.substr(0, length));
        Problems problems;
        const bool read = ReadGcode(job, problems);
        EXPECT_EQ(read, problems.empty()) << length;
        std::filesystem::remove(job.programPath);
    }
}

} // namespace
