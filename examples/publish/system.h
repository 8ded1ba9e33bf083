/* What the publisher needs from the operating system. */
#ifndef PUBLISH_SYSTEM_H
#define PUBLISH_SYSTEM_H

#include <stdbool.h>

/* The program's arguments as UTF-8, whatever the system handed over; null without memory. Never freed. */
char** Utf8Arguments(int* argc, char** argv);

/* The characters that stand between folders and names in a path. */
extern const char kPathSeparators[];

/* Notes Ctrl-C instead of dying of it, so that a running upload can be cancelled and its call can return. */
void CatchInterrupt(void);
bool Interrupted(void);

bool OutputIsTerminal(void);

/* Seconds on a clock that only moves forward. */
double Now(void);

/* Runs a function on a thread of its own. Wait tells whether it has ended, after at most so many
   milliseconds; it must be asked until it has. */
typedef struct Worker Worker;
Worker* StartWorker(void (*run)(void*), void* context);
bool WaitWorker(Worker* worker, int milliseconds);

#endif
