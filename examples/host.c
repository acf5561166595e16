#include <stdio.h>

#include "scapi/scapi.h"

static int Load(int slot, char* path)
{
    int result = SCAPI_LoadSTL(slot, (unsigned char*)path, 0);     /* paths are only read */
    return result == SCAPI_SUCCESS || result == SCAPI_NOT_WRITTEN; /* the latter: no cache */
}

int main(int argc, char** argv)
{
    float start[4][4] = {{1, 0, 0, -90}, {0, 1, 0, 0}, {0, 0, 1, 53}, {0, 0, 0, 1}};
    float end[4][4] = {{1, 0, 0, 90}, {0, 1, 0, 0}, {0, 0, 1, 53}, {0, 0, 0, 1}};
    if (argc != 3 || !Load(0, argv[1]) || !Load(1, argv[2])) return 2; /* fixture, tool */
    SCAPI_DefSweep(1, start, end); /* equal matrices place the solid without moving it */
    puts(SCAPI_DetectInterference(0, 1) == SCAPI_INTERFERENCE ? "contact" : "clear");
    SCAPI_Close();
    return 0;
}
