/* A C99 host of the installed library: prints the version, and fails on a wrong answer. */
#include <stdio.h>

#include "scapi/scapi.h"
#include "scapi/version.h"

int main(void)
{
    float block[6] = {0, 0, 0, 9, 9, 9}, pin[6] = {0, 0, 0, 1, 1, 20};
    float through[4][4] = {{1, 0, 0, 4}, {0, 1, 0, 4}, {0, 0, 1, -5}, {0, 0, 0, 1}};
    float beside[4][4] = {{1, 0, 0, 40}, {0, 1, 0, 4}, {0, 0, 1, -5}, {0, 0, 0, 1}};
    if (SCAPI_LoadBox(0, block) || SCAPI_LoadBox(1, pin)) return 1;
    if (SCAPI_DefSweep(1, through, through) || SCAPI_DetectInterference(0, 1) != 1) return 2;
    if (SCAPI_DefSweep(1, beside, beside) || SCAPI_DetectInterference(0, 1) != 2) return 3;
    printf("%d.%d.%d\n", SCAPI_VERSION_MAJOR, SCAPI_VERSION_MINOR, SCAPI_VERSION_PATCH);
    return SCAPI_Close();
}
