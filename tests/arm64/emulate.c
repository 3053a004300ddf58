/* SPDX-License-Identifier: LGPL-2.1-or-later */
/* Stands in for a program of another architecture: runs ../bin/ under its own name on the emulator. Programs
 * that are preloaded are of that architecture, too, so the emulator itself must not see them: hence it is
 * linked statically. */
#include <libgen.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    static char self[PATH_MAX], program[2 * PATH_MAX], preload[2 * PATH_MAX];
    char **words = calloc((size_t)argc + 10, sizeof *words), **next = words;
    const char *preloaded = getenv("LD_PRELOAD");
    char *name = strrchr(argv[0], '/');
    if (!words || !name || readlink("/proc/self/exe", self, sizeof self - 1) < 0)
        return 126;
    snprintf(program, sizeof program, "%s/../bin/%s", dirname(self), name + 1);
    *next++ = EMULATOR;
    *next++ = "-L";
    *next++ = SYSROOT;
    if (preloaded) {
        snprintf(preload, sizeof preload, "LD_PRELOAD=%s", preloaded);
        *next++ = "-E";
        *next++ = preload;
        unsetenv("LD_PRELOAD");
    }
    *next++ = program;
    memcpy(next, argv + 1, (size_t)argc * sizeof *next);
    execvp(EMULATOR, words);
    perror(EMULATOR);
    return 126;
}
