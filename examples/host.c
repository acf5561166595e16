#include <stdio.h>

#include "scapi/scapi.h"

static int Load(int slot, char* path)
{
    int result = SCAPI_LoadSTL(slot, (unsigned char*)path, 0);            /* paths are only read */
    if (result != SCAPI_SUCCESS && result != SCAPI_NOT_WRITTEN) return 0; /* latter: no cache */
    return SCAPI_GetBbox(slot, NULL) == SCAPI_SUCCESS; /* else it holds no triangles */
}

int main(int argc, char** argv)
{
    float start[4][4] = {{1, 0, 0, -90}, {0, 1, 0, 0}, {0, 0, 1, 53}, {0, 0, 0, 1}};
    float end[4][4] = {{1, 0, 0, 90}, {0, 1, 0, 0}, {0, 0, 1, 53}, {0, 0, 0, 1}};
    int result;
    if (argc != 3 || !Load(0, argv[1]) || !Load(1, argv[2])) return 2; /* fixture, tool */
    result = SCAPI_DefSweep(1, start, end); /* equal matrices place without moving */
    if (result == SCAPI_SUCCESS) result = SCAPI_DetectInterference(0, 1);
    SCAPI_Close();
    if (result != SCAPI_INTERFERENCE && result != SCAPI_NO_INTERFERENCE) return 2;
    puts(result == SCAPI_INTERFERENCE ? "contact" : "clear, this way round");
    return 0;
}
