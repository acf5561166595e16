// Calls in any order, with any slots, cursors, matrices, boxes and cylinders.
#include "api/table.h"
#include "host.h"

namespace
{

struct Caller {
    Choices choices;

    /// Mostly one of a few slots, so that calls meet.
    int Slot() { return choices.Of(8) ? choices.Of(4) : choices.Take<std::int32_t>(); }
    void Fill(float* out, int count)
    {
        for (int i = 0; i < count; ++i) out[i] = TakeFloat(choices);
    }
    void Load()
    {
        float numbers[7];
        Fill(numbers, 7);
        const int slot = Slot();
        RequireResult(choices.Of(2) ? SCAPI_LoadBox(slot, numbers)
                                    : SCAPI_LoadCylinder(slot, numbers, numbers + 3, numbers[6]),
                      {0, SCAPI_BAD_SOLID_ID, SCAPI_TOO_SMALL});
    }
    void Move()
    {
        float start[4][4], end[4][4];
        TakeMotion(choices, start, end);
        const int slot = Slot();
        const int result =
            choices.Of(4) ? SCAPI_DefSweep(slot, start, end) : SCAPI_Rotate(slot, end);
        RequireResult(result, {0, SCAPI_BAD_SOLID_ID, SCAPI_EMPTY_SLOT});
    }
    void Ask()
    {
        const int a = Slot(), b = Slot();
        RequireResult(SCAPI_DetectInterference(a, b), {1, 2, SCAPI_BAD_SOLID_ID, SCAPI_EMPTY_SLOT});
        float m[4][16];
        Fill(m[0], 64);
        RequireResult(SCAPI_BboxesInterference(a, m[0], m[1], b, m[2], m[3]), {0, 1});
    }
    void Read()
    {
        float point[9], normal[3];
        int loop[3], cursor = choices.Of(2) ? choices.Of(32) : choices.Take<std::int32_t>();
        const int slot = Slot();
        const std::initializer_list<int> possible = {0, SCAPI_BAD_SOLID_ID, SCAPI_EMPTY_SLOT};
        int copies[] = {cursor, cursor, cursor};
        RequireResult(SCAPI_GetVertex(slot, &copies[0], point), possible);
        RequireResult(SCAPI_GetLoop(slot, &copies[1], loop, point), possible);
        RequireResult(SCAPI_GetTriangles(slot, &copies[2], reinterpret_cast<float(*)[3]>(point),
                                         choices.Of(2) ? normal : nullptr),
                      possible);
        RequireResult(SCAPI_GetBbox(slot, choices.Of(2) ? point : nullptr), possible);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Caller caller{{data, size}};
    for (int calls = 0; caller.choices.left && calls < 200; ++calls) {
        const int what = caller.choices.Of(57) / 8;
        if (what < 2) caller.Load();
        if (what == 2 || what == 3) caller.Move();
        if (what == 4 || what == 5) caller.Ask();
        if (what == 6) caller.Read();
        if (what == 7) SCAPI_ReleaseSolids();
    }
    for (int slot = 0; slot < SCAPI_SLOT_COUNT; ++slot)
        if (SolidIn(slot)) RequireSound(slot);
    SCAPI_Close();
    Require(SCAPI_GetUsedRAM() == 0, "nothing is left after the end");
    return 0;
}
